#include "cli/CliKit.h"

namespace velloria
{

namespace
{

const std::string kSpoken = "/usr/share/sounds/alsa/";

/// info, decode and convert.
class FilesTest : public test::CliTest
{
protected:
    /// The samples of a file as ffmpeg reads them.
    std::vector<float> decodedByFfmpeg(const std::string& name) const
    {
        return floatsOf(run(QStringLiteral("ffmpeg"),
                            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                             name.starts_with('/') ? QString::fromStdString(name) : argument(name),
                             QStringLiteral("-f"), QStringLiteral("f32le"), QStringLiteral("-")}));
    }
};

} // namespace

TEST_F(FilesTest, TellsEverythingInJson)
{
    makeNoise("in.wav", 1000);
    ASSERT_EQ(cli({"run", "in.wav", "-o", "tagged.wav", "insert marker Frame=700 Name=\"Verse 2\"",
                   "insert marker Frame=20 Name=Intro", "set metadata title=Füße \"track number=3/12\""})
                  .status,
              0);
    const QJsonObject info = infoOf("tagged.wav");
    EXPECT_EQ(info.keys(),
              (QStringList{QStringLiteral("bitRate"), QStringLiteral("bitsPerSample"),
                           QStringLiteral("channels"), QStringLiteral("dataFormat"), QStringLiteral("frames"),
                           QStringLiteral("inPlace"), QStringLiteral("isFloat"), QStringLiteral("markers"),
                           QStringLiteral("metadata"), QStringLiteral("path"), QStringLiteral("pictures"),
                           QStringLiteral("sampleRate"), QStringLiteral("type"), QStringLiteral("uti")}));
    EXPECT_EQ(info[QStringLiteral("path")], QStringLiteral("tagged.wav"));
    EXPECT_EQ(info[QStringLiteral("uti")], QStringLiteral("com.microsoft.waveform-audio"));
    EXPECT_EQ(info[QStringLiteral("type")], QStringLiteral("WAVE Audio"));
    EXPECT_EQ(info[QStringLiteral("channels")], 2);
    EXPECT_EQ(info[QStringLiteral("sampleRate")], 44100);
    EXPECT_EQ(info[QStringLiteral("bitsPerSample")], 16);
    EXPECT_EQ(info[QStringLiteral("frames")], 1000);
    EXPECT_EQ(info[QStringLiteral("isFloat")], false);
    EXPECT_EQ(info[QStringLiteral("inPlace")], true);
    EXPECT_EQ(info[QStringLiteral("dataFormat")].toString().size(), 4);
    const QJsonArray markers = info[QStringLiteral("markers")].toArray();
    ASSERT_EQ(markers.size(), 2);
    EXPECT_EQ(markers[1][QStringLiteral("name")], QStringLiteral("Verse 2"));
    EXPECT_EQ(markers[1][QStringLiteral("position")], 700);
    const QJsonObject metadata = info[QStringLiteral("metadata")].toObject();
    EXPECT_EQ(metadata[QStringLiteral("title")], QStringLiteral("Füße"));
    EXPECT_EQ(metadata[QStringLiteral("track number")], QStringLiteral("3/12"));

    const QByteArray text = cli({"info", "tagged.wav"}).output;
    for (const char* words :
         {"tagged.wav\n", "WAVE Audio, 16-bit", "2 (stereo)", "1000 frames", "Verse 2", "Füße"})
        EXPECT_TRUE(text.contains(words)) << words;
}

TEST_F(FilesTest, GoesOnAfterAFileThatFails)
{
    makeNoise("a.wav", 10);
    makeNoise("b.wav", 10);
    makeFile("text.wav", "not a sound\n");
    const test::Outcome outcome = cli({"info", "--json", "a.wav", "missing.wav", "text.wav", ".", "b.wav"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output.count('\n'), 2);
    EXPECT_EQ(outcome.errorLines().size(), 3);
    for (const QByteArray& line : outcome.errorLines())
        EXPECT_TRUE(line.startsWith("velloria-cli: ")) << line.toStdString();
}

TEST_F(FilesTest, DecodesRealRecordingsAsOtherProgramsDo)
{
    for (const char* name : {"Front_Center.wav", "Noise.wav", "Side_Right.wav"}) {
        EXPECT_EQ(decoded(kSpoken + name), decodedByFfmpeg(kSpoken + name));
        ASSERT_EQ(cli({"decode", kSpoken + name, "-o", "out.raw"}).status, 0);
        EXPECT_EQ(floatsOf(bytesOf("out.raw")), decodedByFfmpeg(kSpoken + name));
    }
    struct Layout {
        int numChannels;
        int bits;
    };
    for (const auto& [numChannels, bits] : {Layout{1, 8}, {2, 24}, {3, 32}, {6, 16}}) {
        makeFile("noise.wav", test::wave({1, numChannels, 44100, bits},
                                         test::noiseBytes(30'000L * numChannels * bits / 8, 5)));
        EXPECT_EQ(decoded("noise.wav"), decodedByFfmpeg("noise.wav")) << numChannels << "x" << bits;
    }
}

TEST_F(FilesTest, ConvertsPartsOfASound)
{
    makeNoise("in.wav", 44'100, 3);
    const std::vector<float> all = decoded("in.wav");
    ASSERT_EQ(
        cli({"convert", "in.wav", "out.wav", "--start", "0.25", "--end", "0.5", "--tracks", "1:2"}).status,
        0);
    std::vector<float> expected;
    for (size_t frame = 11'025; frame < 22'050; ++frame)
        expected.insert(expected.end(), {all[3 * frame + 1], all[3 * frame + 2]});
    EXPECT_EQ(decoded("out.wav"), expected);
    EXPECT_EQ(decodedByFfmpeg("out.wav"), expected);

    ASSERT_EQ(
        cli({"convert", "in.wav", "whole.bin", "--type", "wave", "--option", "24", "--end", "99"}).status, 0);
    const std::vector<float> whole = decoded("whole.bin");
    ASSERT_EQ(whole.size(), all.size());
    for (size_t i = 0; i < all.size(); ++i)
        ASSERT_NEAR(whole[i], all[i], 2.0 / (1 << 23)) << i;
    EXPECT_EQ(infoOf("whole.bin")[QStringLiteral("bitsPerSample")], 24);
    expectFailure({"convert", "in.wav", "no.wav", "--tracks", "2:2"}, 1, "there are no tracks 2:2");
    expectFailure({"convert", "in.wav", "no.wav", "--start", "1"}, 1, "no sound in that range");
    EXPECT_FALSE(std::filesystem::exists(path("no.wav")));
}

TEST_F(FilesTest, MayReplaceItsInput)
{
    makeNoise("in.wav", 44'100);
    const std::vector<float> all = decoded("in.wav");
    ASSERT_EQ(cli({"convert", "in.wav", "in.wav", "--start", "0.5"}).status, 0);
    EXPECT_EQ(decoded("in.wav"), std::vector<float>(all.begin() + 44'100, all.end()));
    ASSERT_EQ(cli({"decode", "in.wav", "-o", "in.wav"}).status, 0);
    EXPECT_EQ(floatsOf(bytesOf("in.wav")), std::vector<float>(all.begin() + 44'100, all.end()));
    EXPECT_EQ(fileNames(), std::vector<std::string>{"in.wav"});
}

TEST_F(FilesTest, KeepsTheTypeOfItsInputUnderTheSameExtension)
{
    makeNoise("in.wav", 20'000);
    ASSERT_EQ(cli({"convert", "in.wav", "in.m4a", "--type", "ALAC"}).status, 0);
    const auto formatOf = [this](const std::string& name) {
        return infoOf(name)[QStringLiteral("dataFormat")].toString();
    };
    struct Case {
        std::vector<std::string> arguments;
        const char* format;
    };
    const Case cases[] = {
        {{"convert", "in.m4a", "out.M4A"}, "alac"},
        {{"convert", "in.m4a", "out.m4a", "--start", "0.1"}, "alac"},
        {{"run", "in.m4a", "reverse", "-o", "out.m4a"}, "alac"},
        {{"run", "in.m4a", "reverse", "save Path=out.m4a"}, "alac"},
        // What only the other type has says otherwise.
        {{"convert", "in.m4a", "out.m4a", "--option", "128000"}, "aac "},
        {{"convert", "in.m4a", "out.m4a", "--type", "AAC"}, "aac "},
        {{"run", "in.m4a", "save Path=out.m4a Option=128000"}, "aac "},
        {{"run", "in.m4a", "save Path=out.m4a Type=AAC"}, "aac "},
        {{"convert", "in.wav", "out.m4a"}, "aac "},
    };
    for (const Case& convert : cases) {
        const test::Outcome outcome = cli(convert.arguments);
        ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        const std::string name = convert.arguments[2] == "out.M4A" ? "out.M4A" : "out.m4a";
        EXPECT_EQ(formatOf(name), QLatin1String(convert.format)) << convert.arguments.back();
    }
    expectFailure({"convert", "in.m4a", "out.m4a", "--option", "7"}, 2, "offer the options 16, 24");
}

TEST_F(FilesTest, SaysWhatASaveLoses)
{
    makeFile("in.wav", test::wave({1, 1, 44100, 24}, test::noiseBytes(3000, 1)));
    const test::Outcome outcome = cli({"convert", "in.wav", "out.wav", "--option", "16"});
    EXPECT_EQ(outcome.status, 0);
    ASSERT_EQ(outcome.errorLines().size(), 1);
    EXPECT_TRUE(outcome.errors.contains("24 bits are rounded to 16 bits"));
    // What a container of another encoding becomes is said, beside what its sound becomes.
    shell("ffmpeg -v error -i in.wav -c:a libmp3lame mp3.wav");
    EXPECT_EQ(cli({"run", "mp3.wav", "set metadata title=kept", "save"}).errors, QByteArray());
    const test::Outcome changed = cli({"run", "mp3.wav", "amplify Gain=-1", "save"});
    EXPECT_EQ(changed.status, 0);
    EXPECT_TRUE(changed.errors.contains("The encoding changes from MP3 to 16-bit integer."))
        << changed.errors.toStdString();
    // Of a save that fails only the reason is of interest.
    makeFile("nine.wav", test::wave({1, 9, 44100, 24}, test::noiseBytes(2700, 1)));
    expectFailure({"convert", "nine.wav", "out.flac", "--option", "16"}, 1, "at most 8");
    expectFailure({"convert", "in.wav", "gone/out.wav", "--option", "16"}, 1, "gone");
    expectFailure({"run", "in.wav", "save Path=gone/out.wav Option=16"}, 1, "gone");
    expectFailure({"run", "in.wav", "amplify Gain=-1", "-o", "gone/out.mp3"}, 1, "gone");
    // What one that went well lost is said, whatever comes behind it.
    const test::Outcome partly =
        cli({"run", "in.wav", "save Path=out.wav Option=16", "save Path=gone/out.wav Option=16"});
    EXPECT_EQ(partly.status, 1);
    ASSERT_EQ(partly.errorLines().size(), 2);
    EXPECT_TRUE(partly.errorLines()[0].contains("24 bits are rounded to 16 bits"));
    EXPECT_TRUE(partly.errorLines()[1].contains("gone"));
}

TEST_F(FilesTest, TakesNamesOfAnyBytes)
{
    const std::string name = "n\xFF\xFE \n%1.wav";
    makeNoise(name, 100);
    const QJsonObject info = infoOf(name);
    EXPECT_EQ(info[QStringLiteral("path")], QStringLiteral("n\uFFFD\uFFFD \n%1.wav"));
    EXPECT_EQ(QByteArray::fromBase64(info[QStringLiteral("pathBytes")].toString().toLatin1()).toStdString(),
              name);
    EXPECT_EQ(decoded(name).size(), 200U);
    const std::string script = "copy File=\"" + name + '"';
    EXPECT_EQ(cli({"run", name, "-o", "o\xFF.wav", script, "paste", "save Path=\"p\xFE q.wav\""}).status, 0);
    EXPECT_EQ(bytesOf("o\xFF.wav"), bytesOf(name));
    EXPECT_EQ(bytesOf("p\xFE q.wav"), bytesOf(name));
    expectFailure({"info", "missing\xFF\n.wav"}, 1, "missing\uFFFD?.wav");
    makeNoise("-o", 100);
    EXPECT_EQ(cli({"info", "--", "-o"}).status, 0);
}

} // namespace velloria
