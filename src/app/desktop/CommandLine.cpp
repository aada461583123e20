#include "app/desktop/CommandLine.h"

#include "app/desktop/FileUrls.h"
#include "platform/FileHandle.h"

#include <QCoreApplication>
#include <QUrl>
#include <optional>
#include <string_view>

namespace velloria
{

namespace
{

struct Option {
    const char* shortName;
    const char* longName;
    const char* summaryId;
    CommandLine::Action action;
    bool isHidden;
};

constexpr Option kOptions[] = {
    //% "Open a new, empty document as well."
    {"-n", "--new", QT_TRID_NOOP("command-line-new"), CommandLine::Action::run, false},
    //% "Print this text and exit."
    {"-h", "--help", QT_TRID_NOOP("command-line-help"), CommandLine::Action::help, false},
    //% "Print the version and exit."
    {"-v", "--version", QT_TRID_NOOP("command-line-version"), CommandLine::Action::version, false},
    //% "Print the manual page and exit."
    {"", "--man", QT_TRID_NOOP("command-line-man"), CommandLine::Action::manual, true},
};

const Option* optionNamed(std::string_view name)
{
    for (const Option& option : kOptions) {
        if (!name.empty() && (name == option.shortName || name == option.longName))
            return &option;
    }
    return nullptr;
}

QString summaryOf(const Option& option)
{
    return qtTrId(option.summaryId);
}

std::filesystem::path absolutePath(std::string_view argument, const std::filesystem::path& workingFolder)
{
    std::filesystem::path path(argument);
    if (argument.rfind("file://", 0) == 0)
        path = FileUrls::localPath(
            QUrl::fromEncoded(QByteArray(argument.data(), static_cast<qsizetype>(argument.size()))));
    return path.is_absolute() ? path : workingFolder / path;
}

QString escapedForRoff(QString text)
{
    return text.replace(u'\\', QLatin1String("\\e")).replace(u'-', QLatin1String("\\-"));
}

QString introduction()
{
    //% "Opens sound files in the editor, each in a window of its own. When Velloria is already running on "
    //% "this desktop, its windows open there."
    return qtTrId("command-line-introduction");
}

} // namespace

CommandLine CommandLine::parse(int argc, const char* const* argv, const std::filesystem::path& workingFolder)
{
    CommandLine line;
    line.workingFolder = workingFolder;
    bool takesOptions = true;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (takesOptions && argument == "--") {
            takesOptions = false;
        } else if (takesOptions && argument == "-session") {
            ++i; // a session manager's own note
        } else if (!takesOptions || argument.size() < 2 || argument.front() != '-') {
            line.files.push_back(absolutePath(argument, workingFolder));
        } else if (const Option* const option = optionNamed(argument)) {
            line.wantsNewDocument = line.wantsNewDocument || option->action == Action::run;
            if (option->action != Action::run)
                line.action = option->action;
        } else {
            line.action = Action::wrongUsage;
            line.unknownOption = displayPath(argument);
            return line;
        }
    }
    return line;
}

QString CommandLine::problemText() const
{
    //% "Unknown option: %1"
    return qtTrId("command-line-unknown").arg(unknownOption) + u'\n';
}

QString CommandLine::helpText()
{
    //% "Usage: velloria [OPTION...] [FILE...]"
    QString text =
        qtTrId("command-line-usage") + QStringLiteral("\n\n") + introduction() + QStringLiteral("\n\n");
    for (const Option& option : kOptions) {
        if (option.isHidden)
            continue;
        const QString names =
            QStringLiteral("%1, %2").arg(QLatin1String(option.shortName), QLatin1String(option.longName));
        text += QStringLiteral("  %1 %2\n").arg(names, -16).arg(summaryOf(option));
    }
    return text;
}

QString CommandLine::versionText()
{
    return QStringLiteral("Velloria ") + QCoreApplication::applicationVersion() + u'\n';
}

QString CommandLine::manualText()
{
    QString text =
        QStringLiteral(".TH VELLORIA 1 \"\" \"Velloria %1\"\n").arg(QCoreApplication::applicationVersion());
    //% "edit sound recordings"
    text += QStringLiteral(".SH NAME\nvelloria \\- %1\n").arg(escapedForRoff(qtTrId("command-line-name")));
    text += QStringLiteral(".SH SYNOPSIS\n.B velloria\n[\\fIOPTION\\fR...] [\\fIFILE\\fR...]\n");
    text += QStringLiteral(".SH DESCRIPTION\n%1\n").arg(escapedForRoff(introduction()));
    text += QStringLiteral(".SH OPTIONS\n");
    for (const Option& option : kOptions) {
        if (option.isHidden)
            continue;
        text += QStringLiteral(".TP\n\\fB%1\\fR, \\fB%2\\fR\n%3\n")
                    .arg(escapedForRoff(QLatin1String(option.shortName)),
                         escapedForRoff(QLatin1String(option.longName)), escapedForRoff(summaryOf(option)));
    }
    //% "0 when the program ran or handed its files to the one that is running, 2 when an option is unknown."
    text += QStringLiteral(".SH EXIT STATUS\n%1\n").arg(escapedForRoff(qtTrId("command-line-status")));
    text += QStringLiteral(".SH SEE ALSO\n.BR velloria\\-cli (1)\n");
    return text;
}

} // namespace velloria
