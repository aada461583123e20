#include "cli/CliKit.h"

#include <cmath>

namespace velloria
{

namespace
{

class RunTest : public test::CliTest
{
};

} // namespace

TEST_F(RunTest, RunsCommandsInTheOrderInWhichTheyStand)
{
    makeNoise("in.wav", 1000, 1);
    const std::vector<float> all = decoded("in.wav");
    makeFile("more.txt",
             "\xEF\xBB\xBF# a comment\r\n\r\n  delete # the rest of the line\nselect EndFrame=100\n"
             "insert marker Name=\"#1\" Frame=7 # \"x\"");
    const test::Outcome outcome = cli({"run", "in.wav", "select StartFrame=200 EndFrame=900", "--commands",
                                       "more.txt", "cut", "-o", "out.wav", "select StartFrame=100", "paste"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    // Frames 200 to 899 go, 0 to 99 move behind 100 to 199, and the marker with what it stands in.
    std::vector<float> expected(all.begin() + 100, all.begin() + 200);
    expected.insert(expected.end(), all.begin(), all.begin() + 100);
    EXPECT_EQ(decoded("out.wav"), expected);
    const QJsonArray markers = infoOf("out.wav")[QStringLiteral("markers")].toArray();
    ASSERT_EQ(markers.size(), 1);
    EXPECT_EQ(markers[0][QStringLiteral("position")], 107);
    EXPECT_EQ(markers[0][QStringLiteral("name")], QStringLiteral("#1"));
}

TEST_F(RunTest, ReadsCommandsFromStandardInputAndPipes)
{
    makeNoise("in.wav", 1000, 1);
    EXPECT_EQ(shell("echo 'select EndFrame=400' | $CLI run in.wav --commands - delete -o out.wav").status, 0);
    EXPECT_EQ(decoded("out.wav").size(), 600U);
    EXPECT_EQ(shell("$CLI run in.wav --commands <(echo 'select EndFrame=300') delete -o out.wav").status, 0);
    EXPECT_EQ(decoded("out.wav").size(), 700U);
    expectFailure({"run", "in.wav", "--commands", "missing.txt"}, 1, "missing.txt");
    expectFailure({"run", "in.wav", "--commands", "/dev/zero"}, 1, "more than 256 MB");
}

TEST_F(RunTest, FadesAndUndoesARealRecording)
{
    const std::string spoken = "/usr/share/sounds/alsa/Front_Center.wav";
    ASSERT_EQ(cli({"run", spoken, "-o", "out.wav", "amplify Gain=-6", "select End=0.25", "fade in", "undo",
                   "select Start=1", "reverse"})
                  .status,
              0);
    const std::vector<float> before = decoded(spoken);
    const std::vector<float> after = decoded("out.wav");
    ASSERT_EQ(after.size(), before.size());
    const float gain = std::pow(10.0F, -0.3F);
    for (size_t i = 0; i < 48'000; ++i)
        ASSERT_NEAR(after[i], gain * before[i], 2.0 / 32768.0) << i;
    for (size_t i = 48'000; i < after.size(); ++i)
        ASSERT_NEAR(after[i], gain * before[before.size() - 1 - (i - 48'000)], 2.0 / 32768.0) << i;
}

TEST_F(RunTest, WritesNothingUnlessAsked)
{
    makeNoise("in.wav", 1000);
    const QByteArray before = bytesOf("in.wav");
    EXPECT_EQ(cli({"run", "in.wav", "amplify Gain=-6", "reverse"}).status, 0);
    EXPECT_EQ(bytesOf("in.wav"), before);
    EXPECT_EQ(fileNames(), std::vector<std::string>{"in.wav"});
    EXPECT_EQ(scratchFiles(), std::vector<std::filesystem::path>());
    EXPECT_EQ(cli({"run", "in.wav", "select StartFrame=10", "delete", "save"}).status, 0);
    EXPECT_EQ(decoded("in.wav").size(), 20U);
    EXPECT_EQ(cli({"run", "in.wav", "undo", "-o", "in.wav", "redo", "select StartFrame=5", "delete"}).status,
              0);
    EXPECT_EQ(decoded("in.wav").size(), 10U);
}

TEST_F(RunTest, StopsAtTheFirstCommandThatFails)
{
    makeNoise("in.wav", 1000);
    const QByteArray before = bytesOf("in.wav");
    expectFailure({"run", "in.wav", "-o", "out.wav", "reverse", "save Path=first.wav", "select FirstTrack=2",
                   "save Path=second.wav"},
                  1, "command 3 “select FirstTrack=2”: There is no track 2");
    EXPECT_EQ(fileNames(), (std::vector<std::string>{"first.wav", "in.wav"}));
    expectFailure({"run", "in.wav", "save", "amplify Gain=nan"}, 2, "command 2 “amplify Gain=nan”");
    expectFailure({"run", "in.wav", "save", "save Path=x.mid"}, 2, "command 2 “save Path=x.mid”");
    expectFailure({"run", "missing.wav", "save"}, 1, "missing.wav");
    expectFailure({"run", "in.wav", "copy File=missing.wav"}, 1, "missing.wav");
    expectFailure({"run", "in.wav", "save Path=/nowhere/x.wav"}, 1, "/nowhere");
    EXPECT_EQ(bytesOf("in.wav"), before);
}

TEST_F(RunTest, SavesNothingThatIsNoFiniteNumber)
{
    makeNoise("in.wav", 1000);
    const QByteArray before = bytesOf("in.wav");
    const std::vector<std::string> loud(4, "amplify Gain=200");
    expectFailure({"run", "in.wav", loud[0], loud[1], loud[2], loud[3], "save", "-o", "out.wav"}, 1,
                  "command 4 “amplify Gain=200”: The result holds samples that are infinite");
    EXPECT_EQ(bytesOf("in.wav"), before);
    EXPECT_EQ(fileNames(), std::vector<std::string>{"in.wav"});
    expectFailure({"run", "in.wav", "amplify Gain=200.1", "-o", "out.wav"}, 2, "from -200 to 200");
}

TEST_F(RunTest, ComputesAndWritesNothingThatTheDiskHasNoRoomFor)
{
    makeNoise("in.wav", 1000);
    const std::string silence = "insert silence Duration=1e9";
    // The last one before a save would be computed as it is written.
    for (const char* command : {"amplify Gain=-1", "mixdown Channels=1", "resample Rate=22050", "mix paste"})
        expectFailure({"run", "in.wav", silence, "copy", command, "undo"}, 1, "no room");
    for (const char* command : {"reverse", "undo"}) {
        const bool isUndone = command == std::string("undo");
        const auto outcome = cli({"run", "in.wav", silence, command, "-o", "out.wav"});
        EXPECT_EQ(outcome.status, isUndone ? 0 : 1);
        EXPECT_EQ(outcome.errors.contains("the disk has room for"), !isUndone)
            << outcome.errors.toStdString();
        EXPECT_EQ(std::filesystem::exists(path("out.wav")), isUndone);
    }
}

TEST_F(RunTest, SaysWhichTracksAPasteDidNotReach)
{
    makeNoise("mono.wav", 100, 1);
    makeNoise("stereo.wav", 100, 2);
    const struct {
        const char* target;
        const char* copied;
        const char* words;
    } cases[] = {{"stereo.wav", "copy File=mono.wav", "they went to the first ones"},
                 {"mono.wav", "copy File=stereo.wav", "the last ones were left out"},
                 {"stereo.wav", "copy", ""}};
    for (const auto& each : cases) {
        const test::Outcome outcome = cli({"run", each.target, each.copied, "paste"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.errorLines().size(), each.words[0] ? 1 : 0) << outcome.errors.toStdString();
        EXPECT_TRUE(outcome.errors.contains(each.words)) << outcome.errors.toStdString();
    }
}

TEST_F(RunTest, SaysInALineWhatAnEffectDidNotDo)
{
    makeFile("silent.wav", test::wave({1, 2, 44'100, 16}, QByteArray(400'000, '\0')));
    makeNoise("noise.wav", 50'000);
    const struct {
        const char* file;
        const char* command;
        const char* words;
    } cases[] = {
        {"silent.wav", "normalize", "velloria-cli: normalize: The selection is silent"},
        {"silent.wav", "normalize loudness", "velloria-cli: normalize loudness: The selection is silent"},
        {"noise.wav", "high pass Frequency=30000",
         "30000 Hz lies above what a sample rate of 44100 Hz can hold"},
        {"noise.wav", "equalize 3 LowGain=-3 HighGain=-3 HighFrequency=21000", "was left out"},
        {"noise.wav", "normalize", ""},
    };
    for (const auto& each : cases) {
        const test::Outcome outcome =
            cli({"run", each.file, "amplify Gain=-20", each.command, "-o", "out.wav"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.errorLines().size(), each.words[0] ? 1 : 0) << outcome.errors.toStdString();
        EXPECT_TRUE(outcome.errors.contains(each.words)) << outcome.errors.toStdString();
    }
    EXPECT_EQ(decoded("silent.wav"), std::vector<float>(200'000));
}

TEST_F(RunTest, SaysThatLoudSoundIsClipped)
{
    makeNoise("in.wav", 1000);
    const auto loud = cli({"run", "in.wav", "amplify Gain=40", "-o", "out.wav"});
    EXPECT_EQ(loud.status, 0);
    EXPECT_TRUE(loud.errors.contains("louder than full scale is clipped in 16-bit integers"))
        << loud.errors.toStdString();
    const auto quiet = cli({"run", "in.wav", "amplify Gain=40", "amplify Gain=-40", "-o", "out.wav"});
    EXPECT_EQ(quiet.errors, QByteArray());
}

TEST_F(RunTest, ConvertsBetweenSampleRates)
{
    makeNoise("in.wav", 1000);
    makeFile("fast.wav", test::wave({1, 2, 96000, 16}, test::noiseBytes(400, 1)));
    EXPECT_EQ(
        cli({"run", "in.wav", "copy File=fast.wav", "paste", "resample Rate=22050", "-o", "out.wav"}).status,
        0);
    // ceil(100 x 44100 / 96000) frames are pasted over everything, half as many are saved.
    EXPECT_EQ(infoOf("out.wav")[QStringLiteral("frames")].toInt(), 23);
    EXPECT_EQ(infoOf("out.wav")[QStringLiteral("sampleRate")].toInt(), 22'050);
}

TEST_F(RunTest, SplitsAtTheMarkersThatItPut)
{
    makeNoise("in.wav", 44'100);
    std::filesystem::create_directory(path("pieces"));
    expectFailure({"split", "in.wav", "--to", "pieces", "--type", "AIFF", "--option", "8"}, 1, "no markers");
    EXPECT_EQ(cli({"run", "in.wav", "insert markers at gridlines Spacing=0.25",
                   "split Folder=pieces Type=AIFF", "save"})
                  .status,
              0);
    EXPECT_EQ(infoOf("pieces/001-4.aif")[QStringLiteral("frames")].toInt(), 11'025);
    const auto outcome =
        cli({"split", "in.wav", "--to", "pieces", "--type", "WAVE", "--option", "24", "--prefix"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_EQ(outcome.output.count('\n'), 4);
    EXPECT_EQ(infoOf("pieces/03 001-3.wav")[QStringLiteral("bitsPerSample")].toInt(), 24);
    expectFailure({"split", "in.wav", "--to", "gone", "--type", "WAVE"}, 1, "gone");
    expectFailure({"split", "in.wav", "--to", "pieces", "--type", "none"}, 2, "none");
    expectFailure({"split", "in.wav", "--to", "pieces"}, 2, "--type");
}

TEST_F(RunTest, GetsThroughTenThousandCommands)
{
    makeNoise("in.wav", 441'000);
    QByteArray script;
    std::mt19937 generator(1);
    for (int i = 0; i < 10'000; ++i) {
        const int start = static_cast<int>(generator() % 400'000);
        const char* const edits[] = {"copy", "paste", "delete", "clear", "cut", "undo", "redo"};
        script += "select StartFrame=" + QByteArray::number(start) +
                  " EndFrame=" + QByteArray::number(start + 20) + '\n' +
                  (i == 0 ? "copy" : edits[generator() % std::size(edits)]) + '\n';
    }
    makeFile("script.txt", script);
    EXPECT_EQ(cli({"run", "in.wav", "--commands", "script.txt", "-o", "out.wav"}).status, 0);
    EXPECT_GT(infoOf("out.wav")[QStringLiteral("frames")].toInt(), 300'000);
}

} // namespace velloria
