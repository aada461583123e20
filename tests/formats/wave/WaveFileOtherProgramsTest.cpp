#include "formats/kit/FileTestKit.h"
#include "formats/wave/WaveFile.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace velloria
{
namespace
{

using namespace test;

/// Ours read by other programs, and theirs by us.
class WaveFileOtherPrograms : public FileTest
{
};

TEST_F(WaveFileOtherPrograms, IsReadByOtherPrograms)
{
    for (const int bits : {8, 16, 24, 32}) {
        // Two channels of the same noise, so that every sample size meets sign and byte order.
        const QByteArray stored = noiseBytes(6000 * bits / 8, 7);
        const auto source = openBytes(wave({1, 2, 48000, bits}, stored));
        std::vector<ClipList> tracks;
        for (const AudioClipPtr& clip : AudioFile::pcmAudioClips(source))
            tracks.emplace_back(clip);
        WaveFile file(48000.0, static_cast<uint32_t>(bits), 2);
        file.setFileHandle(newFile("out.wav"));
        AudioMetadata metadata;
        metadata.setTitle("Käse");
        file.setMetadata(metadata);
        file.setMarkers(markerList({{10, "m"}}));
        SilentProgress progress;
        ASSERT_TRUE(file.saveDocument(TrackDocument(tracks, 48000.0), nullptr, progress, nullptr));

        const QString encoding = bits == 8 ? "unsigned-integer" : "signed-integer";
        EXPECT_EQ(run("sox", {argument("out.wav"), "-t", "raw", "-e", encoding, "-"}), stored) << bits;
        const QString codec = bits == 8 ? "pcm_u8" : QString("pcm_s%1le").arg(bits);
        EXPECT_EQ(
            run("ffmpeg", {"-v", "error", "-i", argument("out.wav"), "-f", codec.mid(4), "-c:a", codec, "-"}),
            stored)
            << bits;
        const QJsonObject format =
            QJsonDocument::fromJson(
                run("ffprobe", {"-v", "error", "-show_format", "-of", "json", argument("out.wav")}))
                .object()["format"]
                .toObject();
        EXPECT_EQ(format["tags"].toObject()["title"].toString(), "Käse");
        const QByteArray info = run("sndfile-info", {argument("out.wav")});
        EXPECT_TRUE(info.contains("Frames      : 3000")) << info.toStdString();
    }
}

TEST_F(WaveFileOtherPrograms, ReadsWhatOtherProgramsWrite)
{
    const struct {
        int bits;
        QString soxEncoding;
        QString codec;
    } cases[] = {{8, "unsigned-integer", "pcm_u8"},
                 {16, "signed-integer", "pcm_s16le"},
                 {24, "signed-integer", "pcm_s24le"},
                 {32, "signed-integer", "pcm_s32le"}};
    const LogCapture log;
    for (const auto& c : cases) {
        // A plain header for each size: sox would choose the extensible one above 16 bits.
        run("sox", {"-R", "-n", "-r", "22050", "-c", "2", "-b", QString::number(c.bits), "-e", c.soxEncoding,
                    "-t", "wavpcm", argument("sox.wav"), "synth", "0.05", "noise"});
        run("ffmpeg", {"-v", "error", "-y", "-i", argument("sox.wav"), "-c:a", c.codec, "-metadata",
                       "title=T", "-write_bext", "1", argument("ffmpeg.wav")});
        for (const std::string name : {"sox.wav", "ffmpeg.wav"}) {
            MaybeError error;
            const auto file = AudioFileRegistry::audioFileWithPath(path(name), &error);
            ASSERT_TRUE(file) << name << error->message.toStdString();
            EXPECT_EQ(file->sampleRate(), 22050.0);
            EXPECT_EQ(file->encodingDescription(), name == "sox.wav" || c.bits <= 16
                                                       ? QString("%1-bit integer").arg(c.bits)
                                                       : QString("extensible (%1-bit integer)").arg(c.bits));
            if (file->requiresConversion())
                continue;
            EXPECT_EQ(file->numberOfFrames(), 1103) << name;
            const QByteArray expected =
                run("sox", {argument(name), "-t", "raw", "-e", "signed-integer", "-"});
            EXPECT_EQ(signedSamples(*file), expected) << name << c.bits;
        }
    }
}

} // namespace
} // namespace velloria
