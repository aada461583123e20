#include "cli/CliKit.h"

#include <cmath>

using namespace velloria;
using namespace velloria::test;

namespace
{

class MeasureTest : public CliTest
{
protected:
    QJsonObject measured(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> words = {"measure", "--json"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const Outcome outcome = cli(words);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return QJsonDocument::fromJson(outcome.output).object();
    }
};

TEST_F(MeasureTest, AgreesWithAnotherMeter)
{
    ASSERT_EQ(
        shell("sox -R -n -r 48000 -c 2 -b 24 sound.wav synth 12 pinknoise synth 12 sine amod 0.2 vol 0.6")
            .status,
        0);
    const Outcome judge =
        shell("ffmpeg -nostats -i sound.wav -af ebur128=peak=true:framelog=verbose -f null - 2>&1 | "
              "sed -n '/Summary/,$p' | tr -s ' ' | grep -E '^ (I|LRA|Peak):' | cut -d' ' -f3");
    const QList<QByteArray> figures = judge.output.trimmed().split('\n');
    ASSERT_EQ(figures.size(), 3) << judge.output.toStdString();
    const QJsonObject object = measured({"sound.wav"});
    EXPECT_NEAR(object[QStringLiteral("integratedLoudness")].toDouble(), figures[0].toDouble(), 0.11);
    EXPECT_NEAR(object[QStringLiteral("loudnessRange")].toDouble(), figures[1].toDouble(), 0.3);
    // Meters of true peak may differ by so much (EBU Tech 3341); the judge interpolates with a longer filter.
    EXPECT_NEAR(object[QStringLiteral("truePeak")].toDouble(), figures[2].toDouble(), 0.4);
    EXPECT_EQ(object[QStringLiteral("frames")].toInteger(), 576000);
    EXPECT_EQ(object[QStringLiteral("channels")].toArray().size(), 2);
    EXPECT_EQ(measured({"--start", "1", "--end", "3", "sound.wav"})[QStringLiteral("frames")].toInteger(),
              96000);
}

TEST_F(MeasureTest, GoesOnAfterABadFileAndKnowsSilence)
{
    ASSERT_EQ(shell("sox -n -r 44100 silence.wav trim 0 2").status, 0);
    makeFile("broken.wav", "RIFF");
    const Outcome outcome = cli({"measure", "--json", "broken.wav", "silence.wav", "missing.wav"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errorLines().size(), 2);
    const QJsonObject silence = QJsonDocument::fromJson(outcome.output).object();
    EXPECT_TRUE(silence[QStringLiteral("integratedLoudness")].isNull());
    EXPECT_TRUE(silence[QStringLiteral("peak")].isNull());
    EXPECT_EQ(silence[QStringLiteral("clippedSamples")].toInt(-1), 0);

    const Outcome text = cli({"measure", "silence.wav"});
    EXPECT_TRUE(text.output.contains("Integrated loudness"));
    EXPECT_TRUE(text.output.contains("-inf LUFS"));
    expectFailure({"measure", "--start", "5", "silence.wav"}, 1, "no sound in that range");
}

TEST_F(MeasureTest, NormalizesLoudnessInAScript)
{
    ASSERT_EQ(shell("sox -n -r 44100 -c 2 -b 16 tone.wav synth 5 sine 1000 vol -40dB").status, 0);
    ASSERT_EQ(cli({"run", "tone.wav", "-o", "loud.wav", "normalize loudness Loudness=-16"}).status, 0);
    EXPECT_NEAR(measured({"loud.wav"})[QStringLiteral("integratedLoudness")].toDouble(), -16.0, 0.1);
}

} // namespace
