#include "formats/flac/FLACFile.h"
#include "formats/kit/DecodingTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

constexpr int64_t framesPerBlock = 4096;
constexpr int64_t numFrames = 40 * framesPerBlock + 100;

/// Files made from a sound one of two channels and 41 blocks, whose frames are nearly of one size.
class FLACFileDamageTest : public DecodingTest
{
protected:
    FLACFileDamageTest()
        : mChannels(noiseChannels(2, numFrames))
    {
        FLACFile file(44100.0, 16, 2);
        save(file, "whole.flac", documentOfChannels(mChannels));
        mWhole = bytesOf("whole.flac");
        mChannels = decoded("whole.flac");
    }

    std::shared_ptr<AudioFile> openFlac(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.flac", bytes), error);
    }

    QByteArray with(qsizetype offset, char byte) const
    {
        QByteArray bytes = mWhole;
        bytes[offset] = byte;
        return bytes;
    }

    /// The file with the total number of frames gone.
    QByteArray withoutTotal() const
    {
        QByteArray bytes = mWhole;
        bytes[21] = static_cast<char>(bytes[21] & 0xF0);
        return bytes.replace(22, 4, QByteArray(4, '\0'));
    }

    QByteArray mWhole;
    Channels mChannels;
};

const QString cutShort = "“in.flac” ends before its sound does; what it holds was opened.";
const QString damaged =
    "Some of the sound of “in.flac” is damaged; there is silence in its place, or it is missing.";
const QString changed = "“in.flac” goes on with another sample rate, sample size or number of channels; what "
                        "comes before that was opened.";
const QString wrongSum =
    "The sound of “in.flac” does not agree with the checksum in the file; it may be damaged.";

TEST_F(FLACFileDamageTest, OpensAsFarAsTheSoundGoes)
{
    FLACFile mono(44100.0, 16, 1);
    save(mono, "mono.flac", silence(5000));
    const QByteArray other = bytesOf("mono.flac");
    const QByteArray id3 = QByteArray("ID3\x04\0\0\0\0\x02\0", 10) + QByteArray(256, 'x');
    const QByteArray id3v1 = "TAG" + QByteArray(125, 'x');
    const int64_t half = numFrames / 2;
    const struct {
        const char* what;
        QByteArray file;
        int64_t fewest;
        int64_t most;
        QStringList warnings;
    } cases[] = {
        {"behind an ID3v2 tag", id3 + mWhole, numFrames, numFrames, {}},
        {"before an ID3v1 tag", mWhole + id3v1, numFrames, numFrames, {}},
        {"without a total", withoutTotal(), numFrames, numFrames, {}},
        {"without a total, with a tag", withoutTotal() + id3v1, numFrames, numFrames, {}},
        {"with a wrong checksum", with(30, static_cast<char>(~mWhole[30])), numFrames, numFrames, {wrongSum}},
        {"with half missing", mWhole.left(mWhole.size() / 2), half - framesPerBlock, half, {cutShort}},
        {"with half missing, no total",
         withoutTotal().left(mWhole.size() / 2),
         half - framesPerBlock,
         half,
         {wrongSum}},
        {"going on in mono",
         withoutTotal() + other.mid(other.indexOf("\xFF\xF8")),
         numFrames,
         numFrames,
         {changed}},
    };
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openFlac(c.file, &error);
        ASSERT_TRUE(file) << c.what << error->message.toStdString();
        const Channels channels = channelsOf(*file);
        EXPECT_TRUE(file->numberOfFrames() >= c.fewest && file->numberOfFrames() <= c.most)
            << c.what << file->numberOfFrames();
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
        ASSERT_EQ(channels.size(), 2U);
        EXPECT_TRUE(std::equal(channels[1].begin(), channels[1].end(), mChannels[1].begin())) << c.what;
    }
}

TEST_F(FLACFileDamageTest, SilenceStandsWhereFramesAreLost)
{
    const qsizetype middle = mWhole.size() / 2;
    const qsizetype frameSize = mWhole.size() / 40;
    QByteArray hole = mWhole;
    hole.remove(middle, 10 * frameSize);
    QByteArray zeros = mWhole;
    zeros.replace(middle, 10 * frameSize, QByteArray(10 * frameSize, '\0'));
    const struct {
        const char* what;
        QByteArray file;
        int mostBlocksLost;
    } cases[] = {{"a flipped byte", with(middle, static_cast<char>(~mWhole[middle])), 2},
                 {"bytes that are missing", hole, 12},
                 {"bytes that are zero", zeros, 12}};
    for (const auto& c : cases) {
        const auto file = openFlac(c.file);
        const Channels channels = channelsOf(*file);
        EXPECT_EQ(file->warnings(), QStringList(damaged)) << c.what;
        ASSERT_EQ(channels[0].size(), static_cast<size_t>(numFrames)) << c.what;
        int64_t numSilent = 0;
        for (size_t i = 0; i < channels[0].size(); ++i) {
            if (channels[0][i] == 0.0F && channels[1][i] == 0.0F && mChannels[1][i] != 0.0F)
                ++numSilent;
            else
                ASSERT_EQ(channels[1][i], mChannels[1][i]) << c.what << i;
        }
        EXPECT_TRUE(numSilent > framesPerBlock - 100 && numSilent <= c.mostBlocksLost * framesPerBlock)
            << c.what << numSilent;
    }
}

TEST_F(FLACFileDamageTest, PagesOfOggThatAreLostAreTold)
{
    // The second is long enough to be decoded in sections.
    FLACFile mono(44100.0, 16, 1);
    save(mono, "long.flac", documentOfChannels(noiseChannels(1, 3'300'000)));
    for (const std::string name : {"whole", "long"}) {
        run("flac", {"-s", "--no-md5-sum", "--ogg", argument(name + ".flac"), "-o", argument(name + ".oga")});
        QByteArray bytes = bytesOf(name + ".oga");
        bytes.replace(bytes.size() / 2, 10, QByteArray(10, '\0'));
        const auto whole = opened(name + ".oga");
        const auto file = openFlac(bytes);
        ASSERT_TRUE(whole && file);
        const Channels expected = channelsOf(*whole);
        EXPECT_EQ(whole->warnings(), QStringList());
        const Channels channels = channelsOf(*file);
        EXPECT_EQ(file->warnings(), QStringList(damaged));
        ASSERT_EQ(channels[0].size(), expected[0].size());
        for (size_t i = 0; i < channels[0].size(); ++i)
            ASSERT_TRUE(channels[0][i] == expected[0][i] || channels[0][i] == 0.0F) << i;
    }
}

TEST_F(FLACFileDamageTest, OneFlippedByteIsToldWhicheverPageOfOggItHits)
{
    // One knows its length and its sum, the other was streamed and knows neither.
    run("flac", {"-s", "--ogg", argument("whole.flac"), "-o", argument("told.oga")});
    run("ffmpeg", {"-v", "error", "-i", argument("whole.flac"), "-c:a", "flac", argument("streamed.oga")});
    for (const std::string name : {"told.oga", "streamed.oga"}) {
        const QByteArray whole = bytesOf(name);
        const std::vector<qsizetype> pages = pageOffsets(whole);
        ASSERT_GT(pages.size(), 5U);
        const auto undamaged = opened(name);
        channelsOf(*undamaged);
        EXPECT_EQ(undamaged->warnings(), QStringList());
        // Pages of metadata end at position 0.
        size_t firstOfSound = 0;
        while (whole.mid(pages[firstOfSound] + 6, 8) == QByteArray(8, '\0'))
            ++firstOfSound;
        for (const qsizetype where : {0, 18, 22, 27, 400}) {
            for (const size_t page : {firstOfSound, pages.size() / 2, pages.size() - 1}) {
                SCOPED_TRACE(QStringLiteral("page %1, byte %2").arg(page).arg(where).toStdString() + name);
                QByteArray bytes = whole;
                bytes[pages[page] + where] = static_cast<char>(~bytes[pages[page] + where]);
                const auto file = openFlac(bytes);
                ASSERT_TRUE(file);
                channelsOf(*file);
                EXPECT_TRUE(file->warnings().contains(damaged));
                EXPECT_TRUE(file->chunksNotKept().contains("damaged sound"));
            }
        }
    }
    run("ffmpeg",
        {"-v", "error", "-i", argument("whole.flac"), "-t", "0.02", "-c:a", "flac", argument("brief.oga")});
    QByteArray brief = bytesOf("brief.oga");
    ASSERT_EQ(pageOffsets(brief).size(), 3U);
    brief[brief.size() / 2] = static_cast<char>(~brief[brief.size() / 2]);
    const auto file = openFlac(brief);
    ASSERT_TRUE(file);
    SilentProgress progress;
    MaybeError error;
    EXPECT_TRUE(file->convertedAudioClips(progress, &error).empty());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, "“in.flac” cannot be read: none of its sound can be decoded.");
}

TEST_F(FLACFileDamageTest, RefusesWhatHoldsNoSoundWithOneSentence)
{
    QByteArray fourBits = mWhole;
    fourBits[20] = static_cast<char>((mWhole[20] & 0xFE));
    fourBits[21] = static_cast<char>(0x30 | (mWhole[21] & 0x0F));
    QByteArray noRate = mWhole;
    noRate.replace(18, 2, QByteArray(2, '\0'));
    noRate[20] = static_cast<char>(noRate[20] & 0x0F);
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {"fLaC", "“in.flac” cannot be read: its description of the sound is missing."},
        {mWhole.left(30), "“in.flac” cannot be read: its description of the sound is missing."},
        {"fLaC" + noiseBytes(5000, 3), "“in.flac” cannot be read: its description of the sound is missing."},
        {fourBits, "“in.flac” cannot be read: its samples have only 4 bits."},
        {noRate, "“in.flac” cannot be read: its header gives a sample rate of 0 Hz."},
        {"fLaX", "“in.flac” is not a sound file that Velloria can read."},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openFlac(c.file, &error)) << c.message.toStdString();
        EXPECT_EQ(error ? error->message : QString(), c.message);
    }
    SilentProgress progress;
    MaybeError error;
    for (const QByteArray& bytes : {QByteArray(mWhole.left(200) + QByteArray(5000, 'x')), mWhole.left(43)}) {
        const auto file = openFlac(bytes);
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->convertedAudioClips(progress, &error).empty());
        EXPECT_EQ(error->message, "“in.flac” cannot be read: none of its sound can be decoded.");
    }
}

TEST_F(FLACFileDamageTest, MetadataThatTheDecoderCannotReadIsNotEdited)
{
    constexpr qsizetype behindDescription = 4 + 4 + 34;
    QByteArray twice = mWhole;
    // A second description, of no bytes.
    twice.insert(behindDescription, QByteArray(4, '\0'));
    for (const bool isWhole : {true, false}) {
        const auto file = openFlac(isWhole ? mWhole : twice);
        ASSERT_TRUE(file);
        FLACFile writer(44100.0, 16, 2);
        writer.setOpenedFile(file);
        writer.setDataFormat(file->dataFormat());
        writer.setFilePath(path("out.flac"));
        writer.validateAndCorrectParameters();
        writer.offerSound(file);
        EXPECT_EQ(writer.keptSound() != nullptr, isWhole);
    }
}

TEST_F(FLACFileDamageTest, CommentsThatClaimMoreThanTheFileHasAreHarmless)
{
    const auto block = [](const QByteArray& comments) {
        return QByteArray("\x84\0", 2) + bigEndian16(comments.size()) + comments;
    };
    const qsizetype commentBlock = 4 + 4 + 34;
    const qsizetype frames = mWhole.indexOf("\xFF\xF8");
    const QByteArray title = littleEndian32(10) + "TITLE=Song";
    const struct {
        const char* what;
        QByteArray comments;
        QString title;
    } cases[] = {
        {"whole", littleEndian32(0) + littleEndian32(1) + title, "Song"},
        {"entry of 4 GB", littleEndian32(0) + littleEndian32(2) + title + littleEndian32(0xFFFFFFF0), "Song"},
        {"vendor of 4 GB", littleEndian32(0xFFFFFFF0) + littleEndian32(1) + title, ""},
        {"4 billion entries", littleEndian32(0) + littleEndian32(0xFFFFFFFF) + title, ""},
    };
    for (const auto& c : cases) {
        const auto file = openFlac(mWhole.left(commentBlock) + block(c.comments) + mWhole.mid(frames));
        ASSERT_TRUE(file) << c.what;
        EXPECT_EQ(file->metadata().title(), c.title) << c.what;
        EXPECT_EQ(channelsOf(*file)[0], mChannels[0]) << c.what;
    }
}

TEST_F(FLACFileDamageTest, OpensOrRefusesWhateverIsCutOffOrFlipped)
{
    for (qsizetype length = 0; length < 400; ++length) {
        const auto file = openFlac(mWhole.left(length));
        ASSERT_FALSE(file && file->numberOfChannels() != 2) << length;
    }
    std::mt19937 generator(7);
    for (int i = 0; i < 60; ++i) {
        QByteArray bytes = mWhole;
        for (int flips = 0; flips < 3; ++flips) {
            const auto range = flips == 0 ? 100U : static_cast<unsigned>(bytes.size());
            bytes[generator() % range] = static_cast<char>(generator());
        }
        const auto file = openFlac(bytes);
        if (!file)
            continue;
        SilentProgress progress;
        MaybeError error;
        const auto clips = file->convertedAudioClips(progress, &error);
        ASSERT_TRUE(clips.size() == file->numberOfChannels() || error) << i;
    }
}

} // namespace
} // namespace velloria
