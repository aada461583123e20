#include "formats/aiff/AiffFile.h"

#include "formats/kit/SavingTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

class AiffFileOtherProgramsTest : public SavingTest
{
};

TEST_F(AiffFileOtherProgramsTest, ReadWhatItWrites)
{
    for (const int bits : {8, 16, 24, 32}) {
        // Two channels of the same noise, so that every sample size meets sign and byte order; an odd length.
        const QByteArray stored = noiseBytes(qsizetype{3001} * 2 * bits / 8, 7);
        makeFile("in.aif", aiff({2, 0, bits, bytes("\x40\x0E\xBB\x80\0\0\0\0\0\0")}, stored));
        AudioMetadata metadata;
        metadata.setTitle("Käse");
        metadata.setArtist("Ж");
        AiffFile file(48000.0, static_cast<uint32_t>(bits), 2);
        file.setMetadata(metadata);
        file.setMarkers(markerList({{10, "m"}, {20, "long " + QString(300, 'x')}}));
        save(file, "out.aif", documentOf(opened("in.aif")));

        EXPECT_EQ(run("sox", {argument("out.aif"), "-t", "raw", "-B", "-e", "signed-integer", "-"}), stored)
            << bits;
        const QString format = bits == 8 ? "s8" : QString("s%1be").arg(bits);
        EXPECT_EQ(run("ffmpeg", {"-v", "error", "-i", argument("out.aif"), "-f", format, "-"}), stored)
            << bits;
        const QJsonObject tags = probed("out.aif")["format"].toObject()["tags"].toObject();
        EXPECT_EQ(tags["title"].toString(), "Käse");
        EXPECT_EQ(tags["artist"].toString(), "Ж");
        const QByteArray info = run("sndfile-info", {argument("out.aif")});
        EXPECT_TRUE(info.contains("Frames      : 3001")) << info.toStdString();
        EXPECT_TRUE(info.contains("Sample Rate : 48000")) << info.toStdString();
    }
}

TEST_F(AiffFileOtherProgramsTest, FindMarkersOfItsPublicChunk)
{
    AiffFile file(44100.0, 16, 1);
    file.setMarkers(markerList({{10, "first"}, {20, "two"}}));
    save(file, "out.aif", silence(30));
    const QByteArray info = run("sndfile-info", {argument("out.aif")});
    EXPECT_TRUE(info.contains("Count : 2")) << info.toStdString();
    EXPECT_TRUE(info.contains("first")) << info.toStdString();
}

TEST_F(AiffFileOtherProgramsTest, WriteWhatItReads)
{
    for (const int bits : {8, 16, 24, 32}) {
        run("sox", {"-R", "-n", "-r", "22050", "-c", "2", "-b", QString::number(bits), "--comment", "Grüße",
                    argument("sox.aiff"), "synth", "0.05", "noise"});
        run("ffmpeg",
            {"-v", "error", "-y", "-i", argument("sox.aiff"), "-metadata", "title=T", "-write_id3v2", "1",
             "-c:a", bits == 8 ? "pcm_s8" : QString("pcm_s%1be").arg(bits), argument("ffmpeg.aiff")});
        const QString subtype = bits == 8 ? "-pcms8" : QString("-pcm%1").arg(bits);
        run("sndfile-convert", {subtype, argument("sox.aiff"), argument("sndfile.aiff")});
        const QByteArray expected =
            run("sox", {argument("sox.aiff"), "-t", "raw", "-L", "-e", "signed-integer", "-"});
        for (const std::string name : {"sox.aiff", "ffmpeg.aiff", "sndfile.aiff"}) {
            const auto file = opened(name);
            ASSERT_TRUE(file);
            EXPECT_FALSE(file->requiresConversion());
            EXPECT_EQ(file->sampleRate(), 22050.0);
            EXPECT_EQ(file->numberOfFrames(), 1103) << name;
            EXPECT_EQ(file->bitsPerSample(), static_cast<uint32_t>(bits));
            EXPECT_TRUE(signedSamples(*file) == expected) << name << bits;
            EXPECT_EQ(file->warnings() + file->chunksNotKept(), QStringList()) << name;
        }
        EXPECT_EQ(opened("ffmpeg.aiff")->metadata().title(), "T");
    }
}

TEST_F(AiffFileOtherProgramsTest, MayLeaveTheirHeadersUnfinished)
{
    // Written into a pipe, a header has no room to be completed.
    makeFile("pipe.aif", run("sox", {"-R", "-n", "-r", "8000", "-b", "16", "-t", "aiff", "-", "synth", "0.1",
                                     "sine", "440"}));
    EXPECT_EQ(opened("pipe.aif")->numberOfFrames(), 800);
    EXPECT_EQ(opened("pipe.aif")->warnings().size(), 1);
    makeFile("pipe.aif", run("ffmpeg", {"-v", "error", "-f", "lavfi", "-i",
                                        "sine=duration=0.1:sample_rate=8000", "-f", "aiff", "-"}));
    EXPECT_EQ(opened("pipe.aif")->numberOfFrames(), 800);
    EXPECT_EQ(opened("pipe.aif")->warnings().size(), 1);
}

} // namespace
} // namespace velloria
