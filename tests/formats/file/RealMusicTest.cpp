#include "formats/kit/CompressedFileKit.h"

namespace velloria::test
{

/// Music as people have it, through every encoding that loses something.
class RealMusicTest : public CompressedFileTest
{
protected:
    /// Some seconds out of the middle of a piece.
    Sound music(double sampleRate) const
    {
        ffmpeg(QStringLiteral("-ss 30 -t 8 -i /usr/share/games/asc/music/frontiers.mp3 -map a:0 -ac 2 -ar %1 "
                              "-af volume=-3dB -c:a pcm_f32le music.wav")
                   .arg(sampleRate));
        return {sampleRate, 2, floatsFromFfmpeg("music.wav")};
    }
};

TEST_F(RealMusicTest, ComesBackAtItsLengthPlaceAndLevel)
{
    const struct {
        const char* uti;
        int option;
        double sampleRate;
        /// Frames that may follow.
        int64_t slack;
    } cases[] = {
        {"public.mp3", 128000, 44100.0, 0},
        {"public.mp3", 320000, 48000.0, 0},
        {"public.mp3", 192000, 32000.0, 0},
        {"public.mpeg-4-audio.aac", 128000, 44100.0, 0},
        {"public.mpeg-4-audio.aac", 256000, 48000.0, 0},
        {"public.aac-audio", 192000, 44100.0, 2048},
        {"org.videolan.ogg-audio", 106, 44100.0, 0},
        {"org.videolan.ogg-audio", 192000, 48000.0, 0},
        {"public.aifc-audio", static_cast<int>(fourCharCode("ima4")), 44100.0, 63},
        {"public.aifc-audio", static_cast<int>(fourCharCode("ulaw")), 44100.0, 0},
        {"com.apple.coreaudio-format", static_cast<int>(fourCharCode("ima4")), 44100.0, 63},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.uti << " " << each.option << " at " << each.sampleRate);
        const Sound source = music(each.sampleRate);
        ASSERT_GT(source.numFrames(), static_cast<int64_t>(7.9 * each.sampleRate));
        const QString uti = QString::fromLatin1(each.uti);
        const auto writer = AudioFileRegistry::audioFileWithUTI(uti, each.sampleRate, 16, 2);
        writer->configureWithPopUpTag(each.option);
        const std::string name = "out." + writer->defaultFileExtension().toStdString();
        save(name, source, *writer);
        const auto file = open(name);
        ASSERT_TRUE(file);
        const Sound got = decoded(*file);
        EXPECT_GE(got.numFrames(), source.numFrames());
        EXPECT_LE(got.numFrames(), source.numFrames() + each.slack);
        EXPECT_EQ(file->warnings(), QStringList());
        for (size_t c = 0; c < 2; ++c) {
            const std::vector<float> expected = source.channel(c);
            std::vector<float> found = got.channel(c);
            found.resize(expected.size());
            EXPECT_LE(std::abs(lagOf(found, expected, 300)), 1);
            EXPECT_NEAR(20.0 * std::log10(rmsOf(found) / rmsOf(expected)), 0.0, 0.1);
        }
    }
}

} // namespace velloria::test
