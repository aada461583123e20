#include "cli/ManPage.h"

#include "cli/subcommands/HelpText.h"
#include "cli/subcommands/Subcommand.h"

namespace velloria::ManPage
{

namespace
{

/// A text as roff takes it: no line begins with a control character, hyphens are minus signs.
QString escaped(const QString& text)
{
    QString roff = text;
    roff.replace(u'\\', QStringLiteral("\\e"));
    roff.replace(u'-', QStringLiteral("\\-"));
    roff.replace(QStringLiteral("“"), QStringLiteral("\\(lq"));
    roff.replace(QStringLiteral("”"), QStringLiteral("\\(rq"));
    if (roff.startsWith(u'.') || roff.startsWith(u'\''))
        roff.prepend(QStringLiteral("\\&"));
    return roff;
}

QString bold(const QString& text)
{
    return QStringLiteral("\\fB%1\\fR").arg(escaped(text));
}

QString line(const QString& text)
{
    return text + u'\n';
}

QString section(const char* title)
{
    return QStringLiteral(".SH %1\n").arg(QString::fromLatin1(title));
}

/// A term with its explanation beside it.
QString item(const QString& term, const QString& text)
{
    return QStringLiteral(".TP\n%1\n%2\n").arg(term, escaped(text));
}

QString synopsis()
{
    QString roff = section("SYNOPSIS");
    for (const Subcommand& subcommand : subcommands())
        roff += QStringLiteral("%1 %2\n.br\n")
                    .arg(bold(QStringLiteral("velloria-cli ") + QString::fromLatin1(subcommand.name)),
                         escaped(subcommand.synopsis));
    return roff;
}

QString commandsSection()
{
    QString roff = section("COMMANDS");
    for (const Subcommand& subcommand : subcommands()) {
        roff += QStringLiteral(".SS %1\n").arg(QString::fromLatin1(subcommand.name));
        roff += line(escaped(subcommand.summary));
        for (const QString& paragraph : subcommand.description)
            roff += QStringLiteral(".PP\n") + line(escaped(paragraph));
        for (const OptionDescription& option : subcommand.options)
            roff += item(bold(QString::fromLatin1(option.name)) + u' ' + escaped(option.valueName),
                         option.summary);
    }
    return roff;
}

QString scriptingSection()
{
    QString roff = section("SCRIPTING COMMANDS");
    for (const CommandDescription& command : CommandDictionary::commands()) {
        roff += QStringLiteral(".SS %1\n").arg(escaped(command.name));
        roff += line(escaped(command.summary));
        for (const CommandParameter& parameter : command.parameters) {
            const QString values = HelpText::valueSummary(parameter);
            const QString summary = values.isEmpty()
                                        ? parameter.summary
                                        : QStringLiteral("%1 (%2)").arg(parameter.summary, values);
            roff += item(bold(parameter.key + u'='), summary);
        }
    }
    return roff;
}

QString closingSections()
{
    QString roff = section("EXIT STATUS");
    roff += item(QStringLiteral("0"), QStringLiteral("Done."));
    roff += item(QStringLiteral("1"),
                 QStringLiteral("The work failed or was cancelled; one line on standard error says "
                                "what and why. No file was left half written."));
    roff += item(QStringLiteral("2"), QStringLiteral("The arguments are wrong; nothing was done."));
    roff += section("ENVIRONMENT");
    roff +=
        item(bold(QStringLiteral("TMPDIR")),
             QStringLiteral(
                 "Where computed sound is kept meanwhile, in the folder Velloria_Temp; /tmp when unset."));
    roff += item(bold(QStringLiteral("VELLORIA_LOG")),
                 QStringLiteral("Set to 1, log lines appear on standard error."));
    roff += section("EXAMPLES");
    const auto example = [&roff](const char* command) {
        roff += QStringLiteral(".PP\n.nf\n%1\n.fi\n").arg(escaped(QString::fromLatin1(command)));
    };
    example("velloria-cli info interview.wav");
    example("velloria-cli run interview.wav -o louder.wav 'normalize Peak=-1' 'select End=0.5' 'fade in'");
    example("velloria-cli run a.wav -o ab.wav 'copy File=b.wav' 'select Start=99999' paste");
    example("velloria-cli convert take.wav cd.wav --option 16 --start 3 --end 63.5");
    example("velloria-cli waveform interview.wav -o interview.png --width 1600 --height 400");
    roff += section("SEE ALSO");
    roff += line(QStringLiteral(".BR velloria (1)"));
    return roff;
}

} // namespace

QString ofProgram()
{
    QString roff = QStringLiteral(".TH VELLORIA\\-CLI 1 \"\" \"%1\" \"Velloria\"\n").arg(HelpText::version());
    roff += section("NAME");
    roff += QStringLiteral("velloria\\-cli \\- edit, convert and describe sound files\n");
    roff += synopsis();
    roff += section("DESCRIPTION");
    roff += line(
        escaped(QStringLiteral("velloria-cli does what the editor Velloria does, without a window: it needs "
                               "neither a display nor a sound device. Options may stand anywhere; -- ends "
                               "them. On a terminal, long work shows a progress bar on standard error.")));
    roff += commandsSection();
    roff += scriptingSection();
    roff += closingSections();
    return roff;
}

} // namespace velloria::ManPage
