#include "document/clips/MutableAudioClip.h"

#include "MemorySource.h"
#include "document/clips/AudioTrack.h"

#include <QProcess>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace velloria
{
namespace
{

QByteArray contentsOf(const std::filesystem::path& path)
{
    const auto file = FileHandle::openForReading(path);
    return file ? file->readAt(0, file->length()) : QByteArray();
}

QByteArray output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

QByteArray bytesOf(const FloatBuffer& samples)
{
    return {reinterpret_cast<const char*>(samples.data()), static_cast<qsizetype>(4 * samples.size())};
}

/// Lets files grow to a size and no further, as a full disk would.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &mBefore);
        const rlimit limit = {bytes, mBefore.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &mBefore); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit mBefore = {};
};

TEST(TempFile, HeaderIsThatOfAGrowingCafFile)
{
    const QByteArray expected = QByteArray::fromHex("63616666" // caff
                                                    "0001"
                                                    "0000"             // version, flags
                                                    "64657363"         // desc
                                                    "0000000000000020" // 32 bytes
                                                    "40E5888000000000" // 44100.0
                                                    "6C70636D"         // lpcm
                                                    "00000003"         // float, little-endian
                                                    "00000004"
                                                    "00000001" // bytes, frames a packet
                                                    "00000001"
                                                    "00000020"         // channels, bits
                                                    "64617461"         // data
                                                    "FFFFFFFFFFFFFFFF" // to the end of the file
                                                    "00000000");       // edit count
    EXPECT_EQ(expected.size(), 68);
    EXPECT_EQ(TempFile::headerWithSampleRate(44100.0), expected);
}

TEST(TempFile, AnotherProgramReadsItWhileItGrows)
{
    const FloatBuffer samples = randomFloats(24000, 1.0F, 1);
    MutableAudioClip clip(48000.0);
    ASSERT_FALSE(clip.appendData(samples));
    const QString path = displayPath(clip.tempFile()->path());
    EXPECT_EQ(output(QStringLiteral("ffprobe"),
                     {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                      QStringLiteral("csv=p=0"), QStringLiteral("-show_entries"),
                      QStringLiteral("stream=codec_name,sample_rate,channels"), path})
                  .trimmed(),
              QByteArray("pcm_f32le,48000,1"));
    const QByteArray decoded = output(
        QStringLiteral("ffmpeg"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), path,
                                   QStringLiteral("-f"), QStringLiteral("f32le"), QStringLiteral("-")});
    ASSERT_EQ(decoded.size(), 4 * 24000);
    EXPECT_EQ(decoded, bytesOf(samples).first(decoded.size()));
}

TEST(TempFile, IsRemovedWithTheLastClipThatRefersToIt)
{
    auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
    ASSERT_FALSE(clip->appendData(std::vector<float>(10)));
    const auto path = clip->tempFile()->path();
    AudioClipPtr cut = clip->subdataWithOffset(2, 3);
    clip.reset();
    EXPECT_TRUE(std::filesystem::exists(path));
    cut.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(MutableAudioClip, TheFirstAppendMakesTheFile)
{
    MutableAudioClip clip;
    EXPECT_EQ(clip.sampleRate(), 44100.0);
    EXPECT_EQ(clip.tempFile(), nullptr);
    EXPECT_EQ(clip.numFrames(), 0);
    EXPECT_EQ(clip.subdataWithOffset(0, 10)->sampleDataAtOffset(0, 10), FloatBuffer());
    const FloatBuffer samples = randomFloats(1000, 1.0F, 1);
    ASSERT_FALSE(clip.appendData(samples));
    EXPECT_EQ(clip.headerLength(), 68);
    EXPECT_EQ(clip.tempFile()->length(), 68 + 4000);
    EXPECT_EQ(clip.numFrames(), 1000);
    EXPECT_EQ(clip.waveformCache().length(), 1);
    clip.finalizeCache();
    EXPECT_EQ(clip.waveformCache().length(), 2);
    const QByteArray contents = contentsOf(clip.tempFile()->path());
    ASSERT_EQ(contents.size(), 4068);
    EXPECT_EQ(contents.sliced(68), bytesOf(samples).first(4000));
}

TEST(MutableAudioClip, ReadsAndCutsBySampleOfTheFile)
{
    MutableAudioClip clip;
    const FloatBuffer samples = randomFloats(1000, 1.0F, 2);
    for (size_t i = 0; i < samples.size(); i += 125)
        ASSERT_FALSE(clip.appendData(std::span(samples).subspan(i, 125)));
    clip.finalizeCache();
    const auto part = [&](std::ptrdiff_t first, std::ptrdiff_t end) {
        return FloatBuffer(samples.begin() + first, samples.begin() + end);
    };
    EXPECT_EQ(clip.sampleDataAtOffset(100, 50), part(100, 150));
    EXPECT_EQ(clip.sampleDataAtOffset(990, 50), part(990, 1000));
    EXPECT_TRUE(clip.sampleDataAtOffset(1000, 50).empty());
    const AudioClipPtr cut = clip.subdataWithOffset(900, 500);
    EXPECT_EQ(cut->numFrames(), 100);
    EXPECT_EQ(cut->sampleDataAtOffset(0, 100), part(900, 1000));
    const AudioClipPtr inner = cut->subdataWithOffset(10, 20);
    EXPECT_EQ(inner->sourceOffset(), 910);
    EXPECT_EQ(inner->sampleDataAtOffset(5, 3), part(915, 918));
    EXPECT_EQ(dynamic_cast<const MutableAudioClip&>(*inner).tempFile(), clip.tempFile());
    EXPECT_EQ(dynamic_cast<const MutableAudioClip&>(*inner).sampleRate(), 44100.0);
    FloatBuffer out(4, 9.0F);
    EXPECT_EQ(clip.readSamples(998, out), 2);
    EXPECT_EQ(out[2], 0.0F);
    EXPECT_EQ(out[3], 0.0F);
}

TEST(MutableAudioClip, AFailedWriteKeepsWhatIsThere)
{
    MutableAudioClip clip;
    const FloatBuffer samples = randomFloats(1000, 1.0F, 3);
    ASSERT_FALSE(clip.appendData(samples));
    {
        const FileSizeLimit limit(5000);
        const MaybeError error = clip.appendData(samples);
        ASSERT_TRUE(error);
        EXPECT_FALSE(error->message.isEmpty());
    }
    EXPECT_EQ(clip.numFrames(), 1000);
    EXPECT_EQ(contentsOf(clip.tempFile()->path()).size(), 4068);
    EXPECT_TRUE(clip.appendData(samples));
    EXPECT_EQ(clip.sampleDataAtOffset(0, 2000), samples);
    EXPECT_EQ(clip.waveformCache().length(), 1);
}

TEST(MutableAudioClip, AScratchFileThatCannotBeMadeIsAnError)
{
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/proc");
    MutableAudioClip clip;
    const MaybeError error = clip.appendData(std::vector<float>(10));
    qputenv("TMPDIR", before);
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->message.isEmpty());
    EXPECT_EQ(clip.numFrames(), 0);
    EXPECT_EQ(clip.tempFile(), nullptr);
    EXPECT_TRUE(clip.appendData(std::vector<float>(10)));
}

TEST(MutableAudioClip, ATrackGrowsWithItsClip)
{
    // A take is recorded into a clip that is in the track already, among many others.
    const auto clip = std::make_shared<MutableAudioClip>();
    AudioTrack track;
    for (int i = 0; i < 100; ++i)
        track.addClip(std::make_shared<AudioClip>(int64_t{10}));
    track.insertClip(clip, 500);
    EXPECT_EQ(track.length(), 1000);
    for (int block = 1; block <= 3; ++block) {
        ASSERT_FALSE(clip->appendData(std::vector<float>(200, 0.5F)));
        EXPECT_EQ(track.length(), 1000 + 200 * block);
        const FloatBuffer read = track.sampleDataAtOffset(490, 20 + 200 * block);
        EXPECT_EQ(std::count(read.begin(), read.end(), 0.5F), 200 * block);
        EXPECT_EQ(read[9], 0.0F);
        EXPECT_EQ(read[10], 0.5F);
    }
    clip->finalizeCache();
    EXPECT_EQ(track.clips().find(1099).startFrame, 500);
    EXPECT_EQ(track.clips().find(1100).startFrame, 1100);
    track.removeDataAtOffset(600, 500);
    EXPECT_EQ(track.length(), 1100);
    EXPECT_EQ(track.sampleDataAtOffset(599, 2), (FloatBuffer{0.5F, 0.0F}));
}

TEST(MutableAudioClip, OthersReadWhileTheProducerAppends)
{
    const auto clip = std::make_shared<MutableAudioClip>();
    const AudioTrack track{ClipList(AudioClipPtr(clip))};
    std::thread producer([&] {
        FloatBuffer block(300);
        for (int i = 0; i < 500; ++i) {
            std::fill(block.begin(), block.end(), static_cast<float>(i) / 1024.0F);
            if (clip->appendData(block))
                return;
        }
        clip->finalizeCache();
    });
    bool consistent = true;
    while (clip->isGrowing()) {
        const int64_t length = track.length();
        const FloatBuffer read = track.sampleDataAtOffset(0, length);
        double min = 0;
        double max = 0;
        track.getMin(min, max, 0, length);
        for (int64_t i = 0; i < length; i += 97) {
            const int64_t block = i / 300;
            consistent = consistent && read[static_cast<size_t>(i)] == static_cast<float>(block) / 1024.0F;
        }
    }
    producer.join();
    EXPECT_TRUE(consistent);
    EXPECT_EQ(track.length(), 150'000);
}

} // namespace
} // namespace velloria
