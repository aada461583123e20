#include "app/desktop/CommandLine.h"

#include "app/kit/AppTestKit.h"

#include <QDirIterator>
#include <QRegularExpression>

namespace velloria::test
{

namespace
{

CommandLine parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "velloria");
    return CommandLine::parse(static_cast<int>(arguments.size()), arguments.data(), "/home/me");
}

} // namespace

TEST(CommandLineTest, FilesBecomeAbsoluteAndKeepTheirBytes)
{
    const CommandLine line = parse({"a.wav", "--new", "/b\xff.wav", "file:///c%20%FF.wav", "--", "--help"});
    EXPECT_EQ(line.action, CommandLine::Action::run);
    EXPECT_TRUE(line.wantsNewDocument);
    const std::vector<std::filesystem::path> expected = {"/home/me/a.wav", "/b\xff.wav", "/c \xff.wav",
                                                         "/home/me/--help"};
    EXPECT_EQ(line.files, expected);
}

TEST(CommandLineTest, OptionsChooseWhatToDo)
{
    EXPECT_EQ(parse({"--help", "a.wav"}).action, CommandLine::Action::help);
    EXPECT_EQ(parse({"-v"}).action, CommandLine::Action::version);
    EXPECT_EQ(parse({"--man"}).action, CommandLine::Action::manual);
    const CommandLine wrong = parse({"--wrong"});
    EXPECT_EQ(wrong.action, CommandLine::Action::wrongUsage);
    EXPECT_TRUE(wrong.problemText().contains(QStringLiteral("--wrong")));
    EXPECT_TRUE(parse({}).files.empty());
}

TEST(CommandLineTest, HelpAndManualTellTheSameOptionsButNotTheHiddenOne)
{
    const QString help = CommandLine::helpText();
    const QString manual = CommandLine::manualText().remove(u'\\');
    for (const char* option : {"--new", "--help", "--version"}) {
        EXPECT_TRUE(help.contains(QLatin1String(option))) << option;
        EXPECT_TRUE(manual.contains(QLatin1String(option))) << option;
    }
    EXPECT_FALSE(help.contains(QStringLiteral("--man")));
    EXPECT_FALSE(manual.contains(QStringLiteral("--man")));
}

TEST(TranslationsTest, EveryTextOfTheProgramIsInTheCatalogue)
{
    static const QRegularExpression use(QStringLiteral("(?:qtTrId|QT_TRID_NOOP)\\(\"([^\"]+)\"\\)"));
    int numTexts = 0;
    QDirIterator sources(QStringLiteral(VELLORIA_APP_SOURCES), {QStringLiteral("*.cpp")}, QDir::Files,
                         QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        QFile file(sources.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        auto matches = use.globalMatch(QString::fromUtf8(file.readAll()));
        while (matches.hasNext()) {
            const QByteArray id = matches.next().captured(1).toLatin1();
            EXPECT_NE(qtTrId(id.constData()), QString::fromLatin1(id))
                << id.constData() << " in " << file.fileName().toStdString();
            ++numTexts;
        }
    }
    EXPECT_GT(numTexts, 150);
}

} // namespace velloria::test
