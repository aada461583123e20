#include "cli/ArgumentParser.h"
#include "cli/CliKit.h"

namespace velloria
{

namespace
{

class ArgumentsTest : public test::CliTest
{
};

/// "subcommand option=value word ...", or "error: why".
std::string parsed(const std::vector<QByteArray>& words)
{
    QString error;
    const auto commandLine = parseCommandLine(words, &error);
    if (!commandLine)
        return "error: " + error.toStdString();
    std::string text = commandLine->subcommand ? commandLine->subcommand->name.toStdString() : "program";
    if (commandLine->request == ParsedCommandLine::Request::help)
        return text + " help";
    for (const Arguments::Item& item : commandLine->arguments.items())
        text +=
            ' ' + item.option.toStdString() + (item.option.isEmpty() ? "" : "=") + item.value.toStdString();
    return text;
}

} // namespace

TEST_F(ArgumentsTest, TakesOptionsAnywhere)
{
    const std::pair<std::vector<QByteArray>, const char*> cases[] = {
        {{"info", "a", "--json", "b"}, "info a --json= b"},
        {{"--json", "info", "a"}, "info --json= a"},
        {{"-o", "info", "decode", "a"}, "decode -o=info a"},
        {{"decode", "-oout", "a"}, "decode -o=out a"},
        {{"convert", "--type=WAVE", "a", "b", "--start", "-1"}, "convert --type=WAVE a b --start=-1"},
        {{"convert", "--type=", "a", "b"}, "convert --type= a b"},
        {{"info", "--", "--json", "--"}, "info --json --"},
        {{"info", "-"}, "info -"},
        {{"run", "a", "x", "--commands", "f", "y", "--commands", "-"}, "run a x --commands=f y --commands=-"},
        {{"info", "--json", "-h"}, "info help"},
        {{"--help"}, "program help"},
        {{"--help", "--nonsense"}, "program help"},
        {{"info", "--", "--help"}, "info --help"},
    };
    for (const auto& [words, expected] : cases)
        EXPECT_EQ(parsed(words), expected);
}

TEST_F(ArgumentsTest, RefusesWhatIsWrongInOneLine)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "no command is given"},
        {{"louder"}, "there is no command “louder”"},
        {{"info"}, "something is missing"},
        {{"info", "--loud", "x"}, "there is no option --loud"},
        {{"info", "--json=1", "x"}, "--json takes no value"},
        {{"info", "--json", "--json", "x"}, "--json is given twice"},
        {{"decode", "a", "b"}, "“b” is too much"},
        {{"decode", "a", "-o"}, "-o needs a value"},
        {{"commands", "x"}, "“x” is too much"},
        {{"convert", "a"}, "something is missing"},
        {{"convert", "a", "b"}, "no extension"},
        {{"convert", "a", "b.xyz"}, "“.xyz”"},
        {{"convert", "a", "b.wav", "--type", "tape"}, "no file type “tape”"},
        {{"convert", "a", "b.wav", "--type", ""}, "--type is empty"},
        {{"convert", "a", "b.wav", "--option", "13"}, "offer the options 8, 16, 24, 32"},
        {{"convert", "a", "b.wav", "--option", "verywide"}, "four-character code"},
        {{"convert", "a", "b.wav", "--start", "inf"}, "“inf” is not a number"},
        {{"convert", "a", "b.wav", "--start", "2", "--end", "1"}, "--start must come before --end"},
        {{"convert", "a", "b.wav", "--tracks", "1"}, "FIRST:COUNT"},
        {{"convert", "a", "b.wav", "--tracks", "0:0"}, "FIRST:COUNT"},
        {{"run", "a", "-o", "b"}, "no extension"},
        {{"run", "a", "amplify Gain=loud", "reverse"},
         "command 1 “amplify Gain=loud”: Gain=loud is not a number"},
        {{"waveform", "a", "-o", "b.jpg"}, ".png"},
        {{"waveform", "a", "--width", "0"}, "from 1 to"},
        {{"waveform", "a", "--height", "1e3"}, "from 1 to"},
    };
    for (const auto& [arguments, words] : cases)
        expectFailure(arguments, 2, words);
    EXPECT_TRUE(fileNames().empty());
}

TEST_F(ArgumentsTest, HelpsWithEverySubcommandAndOption)
{
    const test::Outcome all = cli({"--help"});
    EXPECT_EQ(all.status, 0);
    for (const Subcommand& subcommand : subcommands()) {
        EXPECT_TRUE(all.output.contains("velloria-cli " + subcommand.name)) << subcommand.name.toStdString();
        const test::Outcome one = cli({subcommand.name.toStdString(), "--help"});
        EXPECT_EQ(one.status, 0);
        EXPECT_TRUE(one.output.contains(subcommand.summary.left(30).toUtf8()));
        for (const OptionDescription& option : subcommand.options)
            EXPECT_TRUE(one.output.contains("  " + option.name)) << option.name.toStdString();
        for (const QByteArray& line : one.output.split('\n'))
            EXPECT_LE(QString::fromUtf8(line).size(), 80) << line.toStdString();
    }
    EXPECT_TRUE(cli({"--version"}).output.startsWith("velloria-cli 0."));
}

TEST_F(ArgumentsTest, PrintsAManPageThatManAccepts)
{
    const test::Outcome page = cli({"--man"});
    EXPECT_EQ(page.status, 0);
    makeFile("velloria-cli.1", page.output);
    const test::Outcome shown = shell("MANWIDTH=200 LC_ALL=C.UTF-8 man --warnings -l ./velloria-cli.1");
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.errors.toStdString(), "");
    for (const char* words : {"--tracks FIRST:COUNT", "normalize", "Peak=", "EXIT STATUS", "album artist="})
        EXPECT_TRUE(shown.output.contains(words)) << words;
}

TEST_F(ArgumentsTest, ListsTheScriptingCommandsAsJson)
{
    const test::Outcome outcome = cli({"commands", "--json"});
    const QJsonArray commands = QJsonDocument::fromJson(outcome.output).array();
    ASSERT_FALSE(commands.isEmpty());
    const QStringList parameterKeys = {
        QStringLiteral("default"), QStringLiteral("key"),  QStringLiteral("max"), QStringLiteral("min"),
        QStringLiteral("summary"), QStringLiteral("type"), QStringLiteral("unit")};
    QStringList names;
    for (const QJsonValue& command : commands) {
        names += command[QStringLiteral("name")].toString();
        EXPECT_EQ(
            command.toObject().keys(),
            (QStringList{QStringLiteral("name"), QStringLiteral("parameters"), QStringLiteral("summary")}));
        for (const QJsonValue& parameter : command[QStringLiteral("parameters")].toArray())
            EXPECT_EQ(parameter.toObject().keys(), parameterKeys);
    }
    for (const char* name :
         {"select", "paste", "insert marker", "set metadata", "save", "amplify", "fade in"})
        EXPECT_TRUE(names.contains(QLatin1String(name))) << name;
}

} // namespace velloria
