#include "cli/subcommands/ArgumentValues.h"

#include "cli/terminal/Terminal.h"
#include "scripting/ScriptText.h"

#include <cmath>

namespace velloria::ArgumentValues
{

namespace
{

bool fail(const QByteArray& option, const QByteArray& value, const QString& wanted)
{
    Terminal::say(QStringLiteral("%1 “%2” is not %3").arg(QString::fromLatin1(option), text(value), wanted));
    return false;
}

} // namespace

std::filesystem::path path(const QByteArray& bytes)
{
    return bytes.toStdString();
}

QString text(const QByteArray& bytes)
{
    return ScriptText::forDisplay(ScriptText::fromBytes(bytes));
}

bool readNumber(const Arguments& arguments, const QByteArray& option, std::optional<double>& number)
{
    const std::optional<QByteArray> value = arguments.value(option);
    if (!value)
        return true;
    bool isNumber = false;
    const double parsed = value->toDouble(&isNumber);
    if (!isNumber || !std::isfinite(parsed))
        return fail(option, *value, QStringLiteral("a number"));
    number = parsed;
    return true;
}

bool readInteger(const Arguments& arguments, const QByteArray& option, int minimum, int maximum, int& number)
{
    const std::optional<QByteArray> value = arguments.value(option);
    if (!value)
        return true;
    bool isNumber = false;
    const int parsed = value->toInt(&isNumber);
    if (!isNumber || parsed < minimum || parsed > maximum)
        return fail(option, *value, QStringLiteral("a whole number from %1 to %2").arg(minimum).arg(maximum));
    number = parsed;
    return true;
}

bool readTimeRange(const Arguments& arguments, TimeRange& range)
{
    if (!readNumber(arguments, "--start", range.start) || !readNumber(arguments, "--end", range.end))
        return false;
    if (!range.start || !range.end || *range.start < *range.end)
        return true;
    Terminal::say(QStringLiteral("--start must come before --end"));
    return false;
}

std::vector<OptionDescription> timeRangeOptions()
{
    return {
        {"--start", QStringLiteral("S"), QStringLiteral("Start of the range in seconds; 0 when left out.")},
        {"--end", QStringLiteral("S"),
         QStringLiteral("End of the range in seconds; the file's end when left out.")}};
}

} // namespace velloria::ArgumentValues
