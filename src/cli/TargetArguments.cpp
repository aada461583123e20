#include "cli/TargetArguments.h"

#include "cli/ArgumentValues.h"
#include "cli/Terminal.h"
#include "scripting/SaveArguments.h"

namespace velloria::TargetArguments
{

namespace
{

bool readType(const Arguments& arguments, SaveRequest& request)
{
    QString problem;
    const std::optional<QByteArray> name = arguments.value("--type");
    const AudioFileType* type =
        name && name->isEmpty()
            ? nullptr
            : SaveArguments::type(ArgumentValues::text(name.value_or(QByteArray())), request.path, &problem);
    if (type)
        request.uti = type->uti;
    else
        Terminal::say(problem.isEmpty() ? QStringLiteral("--type is empty") : problem);
    return type != nullptr;
}

bool readOption(const Arguments& arguments, SaveRequest& request)
{
    const std::optional<QByteArray> value = arguments.value("--option");
    if (!value)
        return true;
    const std::optional<int> tag = SaveArguments::optionTag(ArgumentValues::text(*value));
    const QString problem = tag ? SaveArguments::optionProblem(request.uti, *tag)
                                : QStringLiteral("it is neither a number nor a four-character code");
    request.optionTag = tag.value_or(0);
    if (!problem.isEmpty())
        Terminal::say(QStringLiteral("--option “%1”: %2").arg(ArgumentValues::text(*value), problem));
    return problem.isEmpty();
}

} // namespace

bool read(const Arguments& arguments, const QByteArray& out, SaveRequest& request)
{
    request.path = ArgumentValues::path(out);
    request.operation = SaveOperation::saveTo;
    return readType(arguments, request) && readOption(arguments, request);
}

bool fits(const Arguments& arguments, const SaveRequest& request, const SoundDocument& document)
{
    if (!arguments.has("--option"))
        return true;
    const QString problem = SaveArguments::optionProblem(request.uti, request.optionTag, document);
    if (!problem.isEmpty())
        Terminal::say(QStringLiteral("--option: ") + problem);
    return problem.isEmpty();
}

std::vector<OptionDescription> options()
{
    return {
        {"--type", QStringLiteral("NAME"),
         QStringLiteral("File type of OUT, as “WAVE”; left out, the extension of OUT tells it.")},
        {"--option", QStringLiteral("TAG"),
         QStringLiteral(
             "Sample size in bits or bit rate from the type's list, as a number or a four-character code.")}};
}

} // namespace velloria::TargetArguments
