#include "cli/subcommands/TargetArguments.h"

#include "cli/subcommands/ArgumentValues.h"
#include "cli/terminal/Terminal.h"

namespace velloria::TargetArguments
{

namespace
{

bool readType(const Arguments& arguments, const std::filesystem::path& source, const SaveRequest& request,
              SaveArguments::TargetType& type)
{
    const std::optional<QByteArray> name = arguments.value("--type");
    if (name && name->isEmpty()) {
        Terminal::say(QStringLiteral("--type is empty"));
        return false;
    }
    QString problem;
    const auto target = SaveArguments::targetType(ArgumentValues::text(name.value_or(QByteArray())),
                                                  request.path, source, &problem);
    if (!target)
        Terminal::say(problem);
    type = target.value_or(SaveArguments::TargetType());
    return target.has_value();
}

bool readOption(const Arguments& arguments, const SaveArguments::TargetType& type, SaveRequest& request)
{
    const std::optional<QByteArray> value = arguments.value("--option");
    if (!value)
        return true;
    const std::optional<int> tag = SaveArguments::optionTag(ArgumentValues::text(*value));
    QString problem;
    if (!tag || *tag == 0)
        problem = QStringLiteral("it is neither a number above 0 nor a four-character code");
    else if (!type.followsDocument)
        problem = SaveArguments::optionProblem(type.uti, *tag);
    request.optionTag = tag.value_or(0);
    if (!problem.isEmpty())
        Terminal::say(QStringLiteral("--option “%1”: %2").arg(ArgumentValues::text(*value), problem));
    return problem.isEmpty();
}

} // namespace

bool read(const Arguments& arguments, const QByteArray& out, const std::filesystem::path& source,
          SaveRequest& request, SaveArguments::TargetType& type)
{
    request.path = ArgumentValues::path(out);
    request.operation = SaveOperation::saveTo;
    return readType(arguments, source, request, type) && readOption(arguments, type, request);
}

bool complete(const SaveArguments::TargetType& type, const SoundDocument& document, SaveRequest& request)
{
    request.uti = SaveArguments::utiOf(type, document, request.optionTag);
    if (request.optionTag == 0)
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
         QStringLiteral(
             "File type of OUT, as “WAVE”; left out, the extension of OUT tells it, and that of IN keeps "
             "the type of IN.")},
        {"--option", QStringLiteral("TAG"),
         QStringLiteral(
             "Sample size in bits or bit rate from the type's list, as a number or a four-character code.")}};
}

} // namespace velloria::TargetArguments
