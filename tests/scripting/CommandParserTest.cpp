#include "scripting/CommandParser.h"
#include "scripting/CommandDictionary.h"
#include "scripting/ScriptText.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace velloria
{

namespace
{

/// "name {arguments as JSON}", or "error: why".
std::string parsed(const char* text)
{
    QString error;
    const auto command = CommandDictionary::parse(QString::fromUtf8(text), &error);
    if (!command)
        return "error: " + error.toStdString();
    const QJsonObject arguments = QJsonObject::fromVariantMap(command->arguments);
    return command->description->name.toStdString() + ' ' +
           QJsonDocument(arguments).toJson(QJsonDocument::Compact).toStdString();
}

struct Case {
    const char* text;
    const char* expected;
};

} // namespace

TEST(CommandParserTest, ParsesNamesKeysAndValues)
{
    const Case cases[] = {
        {"reverse", R"(reverse {})"},
        {"  Fade \t IN ", R"(fade in {})"},
        {"amplify Gain=-6.5", R"(amplify {"Gain":-6.5})"},
        {"amplify Gain=+1e1", R"(amplify {"Gain":10})"},
        {"AMPLIFY gain=3", R"(amplify {"Gain":3})"},
        {"normalize Peak=-1 Independently=1 rms=0", R"(normalize {"Independently":1,"Peak":-1,"rms":0})"},
        {"normalize Independently=yes", R"(normalize {"Independently":1})"},
        {"normalize Independently=OFF", R"(normalize {"Independently":0})"},
        {"select StartFrame=10 End=2.5", R"(select {"End":2.5,"StartFrame":10})"},
        {"insert marker Name=\"Verse 1\" Position=2", R"(insert marker {"Name":"Verse 1","Position":2})"},
        {"insert marker Name=\"\"", R"(insert marker {"Name":""})"},
        {"insert marker Name=", R"(insert marker {"Name":""})"},
        {"insert marker Name=a=b", R"(insert marker {"Name":"a=b"})"},
        {R"(insert marker Name="say \"a\\b\" \n")", R"(insert marker {"Name":"say \"a\\b\" \\n"})"},
        {"insert marker Name=Füße", "insert marker {\"Name\":\"Füße\"}"},
        {"set metadata title=A album artist=\"B C\" year=1999",
         R"(set metadata {"album artist":"B C","title":"A","year":"1999"})"},
        {"set metadata album artist=B", R"(set metadata {"album artist":"B"})"},
        {"set metadata \"album artist=B C\"", R"(set metadata {"album artist":"B C"})"},
        {"set metadata AlbumArtist=B tempo=120", R"(set metadata {"album artist":"B","tempo":120})"},
        {"fade Direction=OUT", R"(fade {"Direction":"out"})"},
        {"copy File=\"a b.wav\" FirstTrack=1", R"(copy {"File":"a b.wav","FirstTrack":1})"},
        {"save", R"(save {})"},
        {"save Path=x.wav Option=24", R"(save {"Option":"24","Path":"x.wav"})"},
        {"save Path=x.any Type=wave", R"(save {"Path":"x.any","Type":"wave"})"},
        {"save seams=NONE", R"(save {"Seams":"none"})"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(parsed(each.text), each.expected) << each.text;
}

TEST(CommandParserTest, SaysWhatIsWrong)
{
    const Case cases[] = {
        {"", "there is no command in it"},
        {"louder", "there is no command “louder”"},
        {"fade sideways", "there is no command “fade sideways”"},
        {"fade in now", "there is no command “fade in now”"},
        {"reverse it Gain=1", "there is no command “reverse it”"},
        {"amplify Loudness=3", "“amplify” has no key “Loudness”"},
        {"amplify Gain=3 Gain=4", "Gain= is given twice"},
        {"amplify Gain=3 gain=4", "Gain= is given twice"},
        {"amplify Gain=loud", "Gain=loud is not a number"},
        {"amplify Gain=", "Gain= is not a number"},
        {"amplify Gain=nan", "Gain=nan is not a number"},
        {"amplify Gain=-inf", "Gain=-inf is not a number"},
        {"amplify Gain=1e999", "Gain=1e999 is not a number"},
        {"amplify Gain=1,5", "Gain=1,5 is not a number"},
        {"amplify Gain=3 more", "“more” is no Key=value"},
        {"amplify =3", "“amplify” has no key “”"},
        {"select StartFrame=1.5", "StartFrame=1.5 is not a whole number"},
        {"select StartFrame=99999999999999999999", "StartFrame=99999999999999999999 is not a whole number"},
        {"select Start=1 StartFrame=1", "Start= and StartFrame= exclude each other"},
        {"copy End=1 EndFrame=1", "End= and EndFrame= exclude each other"},
        {"change pitch Semitones=3 Tempo=90 Length=10", "Tempo= and Length= exclude each other"},
        {"change pitch Length=10 BeatsAfter=90", "Length= and BeatsAfter= exclude each other"},
        {"change pitch Tempo=90 BeatsBefore=120 BeatsAfter=90", "Tempo= and BeatsAfter= exclude each other"},
        {"change pitch BeatsBefore=120", "BeatsBefore= means nothing without BeatsAfter="},
        {"normalize rms=maybe", "rms=maybe is not 0 or 1"},
        {"fade Direction=up", "Direction=up is not one of in, out"},
        {"fade", "Direction=in or Direction=out is missing"},
        {"insert marker Name=\"open", "a quote does not end"},
        {"insert marker Position=1 Frame=1", "Position= and Frame= exclude each other"},
        {"rename marker Index=0", "Name= is missing"},
        {"rename marker Name=x", "either Index= or Position= must tell which marker"},
        {"move marker Index=0", "Position= or Frame= is missing"},
        {"move marker Index=0 Name=x Frame=1", "either Index= or Name= must tell which marker"},
        {"delete marker", "one of Index=, Position= and Name= must tell which marker"},
        {"set tracks", "Count= is missing"},
        {"set tracks Count=0", "Count= must be from 1 to 65535"},
        {"amplify Gain=201", "Gain= must be from -200 to 200"},
        {"delete marker Index=-1", "Index= must be at least 0"},
        {"mix paste Into=2", "Into=2 is not 0 or 1"},
        {"normalize Independently=7", "Independently=7 is not 0 or 1"},
        {"set metadata", "no tag is named"},
        {"set metadata mood=x", "“set metadata” has no key “mood”"},
        {"set metadata track number=0/12",
         "track number= must be a number, or a number and a total as in 3/12"},
        {"set metadata disc number=A1", "disc number= must be a number, or a number and a total as in 3/12"},
        {"set metadata track number=3/x",
         "track number= must be a number, or a number and a total as in 3/12"},
        {"set metadata track number=1/2/3",
         "track number= must be a number, or a number and a total as in 3/12"},
        {"save Type=WAVE", "Type= needs a Path="},
        {"save Path=", "Path= is empty"},
        {"save Path=x", "“x” has no extension that tells its type"},
        {"save Path=x.wav Type=cassette", "there is no file type “cassette”"},
        {"save Path=x.wav Option=17", "WAVE Audio files offer the options 8, 16, 24, 32"},
        {"save Path=x.wav Option=lpcmx", "Option=lpcmx is neither a number nor a four-character code"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(parsed(each.text), std::string("error: ") + each.expected) << each.text;
}

// What the dictionary tells of a number holds for every command: its limits may be given, nothing beyond
// them.
TEST(CommandParserTest, KeepsEveryNumberWithinTheRangeThatIsDeclared)
{
    using Type = CommandParameter::Type;
    int numLimits = 0;
    for (const CommandDescription& command : CommandDictionary::commands()) {
        for (const CommandParameter& parameter : command.parameters) {
            SCOPED_TRACE(command.name.toStdString() + ' ' + parameter.key.toStdString());
            const bool isWhole = parameter.type == Type::integer || parameter.type == Type::boolean;
            if (!isWhole && parameter.type != Type::number)
                continue;
            const auto takes = [&parameter](const QString& text) {
                QString error;
                const bool isTaken = CommandParser::value(parameter, text, &error).has_value();
                EXPECT_EQ(error.isEmpty(), isTaken) << text.toStdString();
                return isTaken;
            };
            const auto step = [isWhole](double limit) {
                return isWhole ? 1.0 : std::max(1e-9, std::abs(limit) * 1e-9);
            };
            const auto textOf = [](double value) { return QString::number(value, 'g', 15); };
            if (parameter.minimum.isValid()) {
                const double minimum = parameter.minimum.toDouble();
                EXPECT_TRUE(takes(textOf(minimum)));
                EXPECT_FALSE(takes(textOf(minimum - step(minimum))));
                ++numLimits;
            }
            if (parameter.maximum.isValid()) {
                const double maximum = parameter.maximum.toDouble();
                EXPECT_TRUE(takes(textOf(maximum)));
                EXPECT_FALSE(takes(textOf(maximum + step(maximum))));
                ++numLimits;
            }
            if (parameter.defaultValue.isValid()) {
                EXPECT_TRUE(takes(parameter.defaultValue.toString()));
            }
            for (const char* const wrong : {"nan", "-nan", "inf", "-inf", "infinity", "1e400", "", "0x"})
                EXPECT_FALSE(takes(QString::fromLatin1(wrong))) << wrong;
        }
    }
    EXPECT_GT(numLimits, 30);
}

TEST(CommandParserTest, ReadsListsAndNumberedChoices)
{
    CommandParameter list;
    list.key = QStringLiteral("DataPoints");
    list.type = CommandParameter::Type::numberList;
    QString error;
    EXPECT_EQ(CommandParser::value(list, QStringLiteral("0,0.5,1,-2"), &error),
              std::optional<QVariant>(QVariantList{0.0, 0.5, 1.0, -2.0}));
    for (const char* text : {"", "0,", "0,,1", "0;1", "0,nan"})
        EXPECT_FALSE(CommandParser::value(list, QString::fromLatin1(text), &error)) << text;

    CommandParameter choice;
    choice.type = CommandParameter::Type::integer;
    choice.choices = {QStringLiteral("Sine"), QStringLiteral("Saw")};
    EXPECT_EQ(CommandParser::value(choice, QStringLiteral("saw"), &error)->toInt(), 1);
    EXPECT_EQ(CommandParser::value(choice, QStringLiteral("0"), &error)->toInt(), 0);
    for (const char* text : {"2", "-1", "square", "0.5"})
        EXPECT_FALSE(CommandParser::value(choice, QString::fromLatin1(text), &error)) << text;
}

TEST(ScriptTextTest, CarriesEveryByteOfAPath)
{
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    const std::string paths[] = {"plain.wav", "Füße/😀.wav",   "\xFF\xFE", "a\xC3",
                                 "\xE2\x82",  "\xED\xB2\x80", bytes};
    for (const std::string& path : paths) {
        const QString text = ScriptText::fromBytes(QByteArray::fromStdString(path));
        EXPECT_EQ(ScriptText::toPath(text).native(), path);
        EXPECT_TRUE(ScriptText::forDisplay(text).isValidUtf16());
    }
    EXPECT_EQ(ScriptText::forDisplay(ScriptText::fromBytes("a\xFFz")), QStringLiteral("a\uFFFDz"));

    QString error;
    const QString text = ScriptText::fromBytes("copy File=\"\xFF \xC3.wav\"");
    const auto command = CommandDictionary::parse(text, &error);
    ASSERT_TRUE(command) << error.toStdString();
    // What is kept as text must be some.
    EXPECT_FALSE(CommandDictionary::parse(ScriptText::fromBytes("set metadata title=a\xFF"), &error));
    EXPECT_EQ(error, QStringLiteral("title=a\uFFFD is not a text in UTF-8"));
    EXPECT_EQ(ScriptText::toPath(command->arguments.value(QStringLiteral("File")).toString()).native(),
              "\xFF \xC3.wav");
}

} // namespace velloria
