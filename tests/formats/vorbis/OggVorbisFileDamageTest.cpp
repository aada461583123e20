#include "formats/kit/DecodingTestKit.h"
#include "formats/vorbis/OggVorbisFile.h"

namespace velloria
{
namespace
{

using namespace test;

const QString cutShort = "“in.ogg” ends before its sound does; what it holds was opened.";
const QString damaged =
    "Some of the sound of “in.ogg” is damaged; there is silence in its place, or it is missing.";
const QString changed = "“in.ogg” goes on with another sample rate, sample size or number of channels; what "
                        "comes before that was opened.";

constexpr int64_t numFrames = 200000;

class OggVorbisFileDamageTest : public DecodingTest
{
protected:
    OggVorbisFileDamageTest()
        : mWhole(encoded(2, numFrames))
    {
        makeFile("in.ogg", mWhole);
        mChannels = decoded("in.ogg");
    }

    QByteArray encoded(size_t numChannels, size_t length, double rate = 44100.0) const
    {
        OggVorbisFile file(rate, 16, static_cast<uint32_t>(numChannels));
        save(file, "made.ogg", documentOfChannels(noiseChannels(numChannels, length), rate));
        return bytesOf("made.ogg");
    }

    std::shared_ptr<AudioFile> openOgg(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.ogg", bytes), error);
    }

    QByteArray mWhole;
    Channels mChannels;
};

TEST_F(OggVorbisFileDamageTest, StreamsThatFollowOneAnotherAreJoinedWhileTheyAreAlike)
{
    const QByteArray alike = encoded(2, 30000);
    const struct {
        const char* what;
        QByteArray file;
        int64_t length;
        QStringList warnings;
    } cases[] = {
        {"alike", mWhole + alike + encoded(2, 30001), numFrames + 60001, {}},
        {"other channels", mWhole + encoded(1, 30000), numFrames, {changed}},
        {"other rate", mWhole + encoded(2, 30000, 22050.0) + alike, numFrames, {changed}},
        {"rubbish between", mWhole + QByteArray(3000, 'x') + alike, numFrames + 30000, {}},
    };
    for (const auto& c : cases) {
        const auto file = openOgg(c.file);
        ASSERT_TRUE(file) << c.what;
        EXPECT_EQ(file->numberOfFrames(), c.length) << c.what;
        const Channels channels = channelsOf(*file);
        EXPECT_EQ(file->numberOfFrames(), c.length) << c.what;
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
        EXPECT_TRUE(std::equal(mChannels[1].begin(), mChannels[1].end(), channels[1].begin())) << c.what;
    }
}

TEST_F(OggVorbisFileDamageTest, OpensAsFarAsTheSoundGoes)
{
    const auto half = openOgg(mWhole.left(mWhole.size() / 2));
    ASSERT_TRUE(half);
    const Channels channels = channelsOf(*half);
    EXPECT_TRUE(half->numberOfFrames() > numFrames / 3 && half->numberOfFrames() < 2 * numFrames / 3);
    EXPECT_EQ(half->warnings(), QStringList(cutShort));
    EXPECT_TRUE(std::equal(channels[0].begin(), channels[0].end(), mChannels[0].begin()));

    QByteArray hole = mWhole;
    hole.replace(mWhole.size() / 2, 20000, QByteArray(20000, '\0'));
    const auto file = openOgg(hole);
    const Channels holed = channelsOf(*file);
    EXPECT_EQ(file->warnings(), QStringList(damaged));
    ASSERT_EQ(holed[0].size(), static_cast<size_t>(numFrames));
    // The sound behind the hole is where it was.
    EXPECT_TRUE(std::equal(holed[0].end() - 40000, holed[0].end(), mChannels[0].end() - 40000));
    EXPECT_TRUE(std::equal(holed[0].begin(), holed[0].begin() + 60000, mChannels[0].begin()));
}

TEST_F(OggVorbisFileDamageTest, OneFlippedByteIsToldWhicheverPageItHits)
{
    const std::vector<qsizetype> pages = pageOffsets(mWhole);
    ASSERT_GT(pages.size(), 5U);
    const size_t firstOfSound = 2;
    // In the name of the page, its number, its checksum, the lengths and the sound.
    for (const qsizetype where : {0, 18, 22, 27, 400}) {
        for (const size_t page : {firstOfSound, pages.size() / 2, pages.size() - 1}) {
            SCOPED_TRACE(QStringLiteral("page %1, byte %2").arg(page).arg(where).toStdString());
            QByteArray bytes = mWhole;
            bytes[pages[page] + where] = static_cast<char>(~bytes[pages[page] + where]);
            const auto file = openOgg(bytes);
            ASSERT_TRUE(file);
            channelsOf(*file);
            EXPECT_TRUE(file->warnings().contains(damaged));
            EXPECT_TRUE(file->chunksNotKept().contains("damaged sound"));
        }
    }
    // What was recorded from a broadcast begins anywhere.
    const auto later = openOgg(mWhole.left(pages[2]) + mWhole.mid(pages[4]));
    ASSERT_TRUE(later);
    EXPECT_FALSE(channelsOf(*later)[0].empty());
    EXPECT_EQ(later->warnings(), QStringList());
    const auto without = openOgg(mWhole.left(pages[4]) + mWhole.mid(pages[5]));
    ASSERT_TRUE(without);
    channelsOf(*without);
    EXPECT_EQ(without->warnings(), QStringList(damaged));
}

TEST_F(OggVorbisFileDamageTest, TellsOfWhatPromisesSoundAndHasNone)
{
    const QByteArray brief = encoded(1, 3000);
    const std::vector<qsizetype> pages = pageOffsets(brief);
    ASSERT_EQ(pages.size(), 3U);
    QByteArray flipped = brief;
    flipped[pages[2] + 100] = static_cast<char>(~flipped[pages[2] + 100]);
    for (const QByteArray& bytes : {flipped, QByteArray(brief.left(pages[2] + 100))}) {
        const auto file = openOgg(bytes);
        ASSERT_TRUE(file);
        EXPECT_TRUE(channelsOf(*file)[0].empty());
        EXPECT_FALSE(file->warnings().isEmpty());
        EXPECT_TRUE(file->chunksNotKept().contains("damaged sound"));
    }
    const auto empty = openOgg(encoded(1, 0));
    ASSERT_TRUE(empty);
    EXPECT_EQ(channelsOf(*empty).size(), 1U);
    EXPECT_EQ(empty->warnings(), QStringList());
}

TEST_F(OggVorbisFileDamageTest, RefusesWhatHoldsNoVorbisWithOneSentence)
{
    run("ffmpeg",
        {"-v", "error", "-f", "lavfi", "-i", "sine=d=0.5", "-c:a", "libopus", argument("opus.ogg")});
    QByteArray damagedHeader = mWhole;
    damagedHeader.replace(28, 30, QByteArray(30, '\xFF'));
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {bytesOf("opus.ogg"), "“in.ogg” cannot be read: it holds Opus, not Vorbis."},
        {damagedHeader, "“in.ogg” cannot be read: it holds no Vorbis sound."},
        {mWhole.left(200), "“in.ogg” cannot be read: its Vorbis headers are damaged."},
        {"OggS", "“in.ogg” is not a sound file that Velloria can read."},
        {noiseBytes(50000, 3), "“in.ogg” is not a sound file that Velloria can read."},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openOgg(c.file, &error)) << c.message.toStdString();
        EXPECT_EQ(error ? error->message : QString(), c.message);
    }
}

TEST_F(OggVorbisFileDamageTest, FlacAmongOtherStreamsIsFound)
{
    run("ffmpeg",
        {"-v", "error", "-f", "lavfi", "-i", "testsrc=d=1:s=32x32:r=5", "-f", "lavfi", "-i",
         "sine=d=1:r=8000", "-c:v", "libtheora", "-c:a", "flac", "-f", "ogg", argument("flac.ogg")});
    run("ffmpeg",
        {"-v", "error", "-f", "lavfi", "-i", "testsrc=d=1:s=32x32:r=5", "-f", "lavfi", "-i",
         "sine=d=1:r=8000", "-c:v", "libtheora", "-c:a", "libvorbis", "-f", "ogg", argument("vorbis.ogg")});
    const auto flac = opened("flac.ogg");
    ASSERT_TRUE(flac);
    EXPECT_EQ(flac->fileFormatUTI(), "org.videolan.flac");
    EXPECT_EQ(channelsOf(*flac)[0].size(), 8000U);
    const auto vorbis = opened("vorbis.ogg");
    ASSERT_TRUE(vorbis);
    EXPECT_EQ(vorbis->fileFormatUTI(), "org.videolan.ogg-audio");
    EXPECT_EQ(channelsOf(*vorbis)[0].size(), 8000U);
}

TEST_F(OggVorbisFileDamageTest, OpensOrRefusesWhateverIsCutOffOrFlipped)
{
    const QByteArray small = encoded(2, 20000);
    for (qsizetype length = 0; length < small.size(); length += length < 200 ? 1 : 997) {
        const auto file = openOgg(small.left(length));
        SilentProgress progress;
        MaybeError error;
        ASSERT_TRUE(!file || !file->convertedAudioClips(progress, &error).empty() || error) << length;
    }
    std::mt19937 generator(7);
    for (int i = 0; i < 100; ++i) {
        QByteArray bytes = small;
        for (int flips = 0; flips < 3; ++flips)
            bytes[generator() % static_cast<unsigned>(bytes.size())] = static_cast<char>(generator());
        const auto file = openOgg(bytes);
        SilentProgress progress;
        MaybeError error;
        ASSERT_TRUE(!file || file->convertedAudioClips(progress, &error).size() == file->numberOfChannels() ||
                    error)
            << i;
    }
}

} // namespace
} // namespace velloria
