#include "formats/kit/DecodingTestKit.h"
#include "formats/vorbis/OggVorbisFile.h"

namespace velloria
{
namespace
{

using namespace test;

class OggVorbisFileLinksTest : public DecodingTest
{
protected:
    QByteArray encoded(size_t numChannels, size_t length, unsigned seed = 1) const
    {
        OggVorbisFile file(44100.0, 16, static_cast<uint32_t>(numChannels));
        Channels channels;
        for (size_t c = 0; c < numChannels; ++c)
            channels.push_back(noise(length, seed + static_cast<unsigned>(c)));
        save(file, "made.ogg", documentOfChannels(channels));
        return bytesOf("made.ogg");
    }

    /// What a file holds when nothing is missing and nothing is told.
    Channels soundOf(const QByteArray& bytes) const
    {
        makeFile("in.ogg", bytes);
        const auto file = opened("in.ogg");
        if (!file)
            return {};
        const int64_t promised = file->numberOfFrames();
        Channels channels = channelsOf(*file);
        EXPECT_EQ(file->numberOfFrames(), promised);
        EXPECT_EQ(file->warnings(), QStringList());
        EXPECT_EQ(file->chunksNotKept(), QStringList());
        return channels;
    }

    void ffmpeg(const QString& arguments) const
    {
        run("ffmpeg",
            QStringList{"-v", "error", "-y"} + arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }
};

TEST_F(OggVorbisFileLinksTest, ShortStreamsOneBehindTheOtherAreAllThere)
{
    for (const size_t length : {1, 44, 882, 4410, 13230, 100000}) {
        SCOPED_TRACE(length);
        const QByteArray first = encoded(2, length);
        const QByteArray second = encoded(2, length + 7, 5);
        const struct {
            const char* what;
            QList<QByteArray> files;
        } cases[] = {
            {"two", {first, second}},
            // One number for two streams.
            {"the same twice", {first, first}},
            {"five", {first, second, first, second, second}},
        };
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            Channels expected(2);
            for (const QByteArray& each : c.files) {
                const Channels sound = soundOf(each);
                ASSERT_EQ(sound.size(), 2U);
                for (size_t channel = 0; channel < 2; ++channel)
                    expected[channel].insert(expected[channel].end(), sound[channel].begin(),
                                             sound[channel].end());
            }
            EXPECT_TRUE(soundOf(c.files.join()) == expected);
        }
    }
}

TEST_F(OggVorbisFileLinksTest, SoundBesideOtherStreamsIsThereAndTheyAreTold)
{
    const QString tones = "-f lavfi -i sine=440:d=%1 -f lavfi -i sine=880:d=%1 -map 0 -map 1 ";
    const struct {
        const char* what;
        QString arguments;
        QString stream;
        QString told;
    } cases[] = {
        {"FLAC first", tones + "-c:a:0 flac -c:a:1 libvorbis", "0:a:1", "FLAC sound"},
        {"Opus behind", tones + "-c:a:0 libvorbis -c:a:1 libopus", "0:a:0", "Opus sound"},
        {"another Vorbis", tones + "-c:a:0 libvorbis -c:a:1 libvorbis", "0:a:0", "Vorbis sound"},
        {"picture",
         "-f lavfi -i sine=440:d=%1 -f lavfi -i testsrc=d=%1:s=32x32 -c:a libvorbis -c:v libtheora", "0:a:0",
         "Theora picture"},
    };
    for (const char* const seconds : {"0.05", "0.3", "4"}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(QStringLiteral("%1, %2 s").arg(c.what, seconds).toStdString());
            ffmpeg(c.arguments.arg(seconds) + " -f ogg " + argument("made.ogg"));
            const Channels ours = soundOf(bytesOf("made.ogg"));
            const auto file = opened("made.ogg");
            ASSERT_TRUE(file);
            EXPECT_EQ(file->ledger().namesNotKept(ItemKind::stream), QStringList(c.told));
            const Channels theirs =
                channelsOfFloats(run("ffmpeg", {"-v", "error", "-i", argument("made.ogg"), "-map", c.stream,
                                                "-c:a", "pcm_f32le", "-f", "f32le", "-"}),
                                 1);
            ASSERT_EQ(ours.size(), 1U);
            EXPECT_EQ(std::ssize(ours[0]), std::llround(44100.0 * QByteArray(seconds).toDouble()));
            // The other decoder loses the start of very short streams.
            if (theirs[0].size() == ours[0].size()) {
                EXPECT_LT(difference(ours[0], theirs[0]), 1e-6);
            }
        }
    }
}

TEST_F(OggVorbisFileLinksTest, TheIndexOfASkeletonHidesNothing)
{
    ffmpeg("-f lavfi -i sine=440:d=0.1 " + argument("in.wav"));
    run("oggenc", {"-Q", "-k", "-o", argument("made.ogg"), argument("in.wav")});
    const Channels sound = soundOf(bytesOf("made.ogg"));
    ASSERT_EQ(sound.size(), 1U);
    EXPECT_EQ(sound[0].size(), 4410U);
}

TEST_F(OggVorbisFileLinksTest, StreamsOfAnotherKindBehindDoNotCloseTheFile)
{
    ffmpeg("-f lavfi -i sine=440:d=0.3 -c:a libopus " + argument("opus.ogg"));
    const QByteArray sound = encoded(1, 30000);
    for (const QByteArray& bytes :
         {sound + bytesOf("opus.ogg"), bytesOf("opus.ogg") + sound, sound + bytesOf("opus.ogg") + sound}) {
        const size_t expected = bytes.endsWith(sound) && bytes.startsWith(sound) ? 60000 : 30000;
        EXPECT_EQ(soundOf(bytes)[0].size(), expected);
        EXPECT_EQ(opened("in.ogg")->ledger().namesNotKept(ItemKind::stream), QStringList("Opus sound"));
    }
}

TEST_F(OggVorbisFileLinksTest, AStreamWhoseHeadersAreDamagedIsToldAndWhatComesBeforeIsThere)
{
    const QByteArray sound = encoded(1, 30000);
    QByteArray broken = encoded(1, 20000, 9);
    const std::vector<qsizetype> pages = pageOffsets(broken);
    broken.replace(pages[1] + 200, 50, QByteArray(50, '\0'));
    makeFile("in.ogg", sound + broken);
    const auto file = opened("in.ogg");
    ASSERT_TRUE(file);
    EXPECT_EQ(channelsOf(*file)[0].size(), 30000U);
    EXPECT_TRUE(file->chunksNotKept().contains("damaged sound"));
}

TEST_F(OggVorbisFileLinksTest, WhatWasCutOutOfALongerStreamTellsThatItWillStartAtZero)
{
    ffmpeg("-f lavfi -i sine=440:d=3 -c:a libvorbis " + argument("whole.ogg"));
    ffmpeg("-ss 1.013 -i " + argument("whole.ogg") + " -c copy -copyts " + argument("late.ogg"));
    EXPECT_EQ(opened("whole.ogg")->ledger().namesNotKept(ItemKind::value), QStringList());
    const auto late = opened("late.ogg");
    const double start = 3.0 - static_cast<double>(late->numberOfFrames()) / 44100.0;
    EXPECT_EQ(late->ledger().namesNotKept(ItemKind::value),
              QStringList(QStringLiteral("the start of the sound at %1 s becomes 0").arg(start, 0, 'f', 3)));
}

} // namespace
} // namespace velloria
