#include "document/SeamsKit.h"

namespace velloria::kit
{

namespace
{

class AacCropTest : public SeamsTest
{
protected:
    /// Without noise that the decoder makes up, which differs with the place.
    void makeFile(const QString& arguments, size_t numChannels, double rate) const
    {
        makeSource(numChannels, rate, 100001);
        ffmpeg("-i source64.wav -c:a aac -aac_pns 0 " + arguments + " a.m4a");
    }

    static std::vector<float> interleaved(const TrackSamples& samples)
    {
        std::vector<float> all;
        for (size_t frame = 0; frame < samples.front().size(); ++frame)
            for (const FloatBuffer& track : samples)
                all.push_back(track[frame]);
        return all;
    }

    QByteArrayList packetSums(const QString& name) const
    {
        QByteArrayList sums;
        for (const QByteArray& line :
             run("ffmpeg", {"-v", "error", "-i", name, "-c", "copy", "-f", "framemd5", "-"}).split('\n')) {
            if (!line.isEmpty() && !line.startsWith('#'))
                sums.append(line.split(',').value(5));
        }
        return sums;
    }
};

} // namespace

TEST_F(AacCropTest, ACropIsMadeOfPacketsAndExact)
{
    const struct {
        const char* arguments;
        size_t numChannels;
        double rate;
    } cases[] = {{"-b:a 128k", 2, 44100.0},
                 {"-b:a 64k", 1, 48000.0},
                 {"-b:a 320k", 6, 48000.0},
                 {"-b:a 48k -movflags +frag_keyframe+empty_moov", 2, 22050.0}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.arguments);
        makeFile(each.arguments, each.numChannels, each.rate);
        for (unsigned seed = 0; seed < 4; ++seed) {
            EditedSound edited(open("a.m4a"), 16, seed);
            const int64_t numBehind = edited.random(0, 40000);
            edited.cut(edited.length() - numBehind, numBehind);
            edited.cut(0, edited.random(numBehind == 0 ? 1 : 0, 40000));
            const SaveRequest request = copyTo(edited.document(), "b.m4a");
            EXPECT_FALSE(edited.document().lossesWhenSaving(request).join(u' ').contains(u"encoded"));
            save(edited.document(), request);
            EXPECT_EQ(EditedSound(open("b.m4a"), 16, 0).samples(), edited.samples());
            // ffmpeg gives what the last packet has behind the end, too.
            const QByteArray raw = run("ffmpeg", {"-v", "error", "-i", "b.m4a", "-f", "f32le", "-"});
            std::vector<float> theirs(static_cast<size_t>(raw.size()) / sizeof(float));
            std::memcpy(theirs.data(), raw.constData(), theirs.size() * sizeof(float));
            const std::vector<float> wanted = interleaved(edited.samples());
            ASSERT_GE(theirs.size(), wanted.size());
            EXPECT_LT(theirs.size(), wanted.size() + 1024 * each.numChannels);
            EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), theirs.begin()));
            const QByteArrayList sums = packetSums("a.m4a");
            for (const QByteArray& sum : packetSums("b.m4a"))
                EXPECT_TRUE(sums.contains(sum));
        }
    }
}

/// An end without its start comes back at its length when it is cropped once more.
TEST_F(AacCropTest, CropsWhatItCropped)
{
    makeFile("-b:a 128k", 2, 44100.0);
    std::string name = "a.m4a";
    for (int i = 1; i <= 3; ++i) {
        EditedSound edited(open(name), 16, 1);
        edited.cut(0, 10007);
        edited.cut(edited.length() - 5003, 5003);
        name = std::to_string(i) + ".m4a";
        save(edited.document(), copyTo(edited.document(), name));
        EXPECT_EQ(EditedSound(open(name), 16, 0).samples(), edited.samples());
    }
}

TEST_F(AacCropTest, EncodesAndTellsAllElse)
{
    makeFile("-b:a 128k", 2, 44100.0);
    EditedSound edited(open("a.m4a"), 16, 1);
    edited.cut(40000, 10240);
    EXPECT_TRUE(edited.document()
                    .lossesWhenSaving(copyTo(edited.document(), "b.m4a"))
                    .join(u' ')
                    .contains(u"encoded once more"));
    const auto document = open("a.m4a");
    document->replaceDataAtOffset(0, 1000, 0, ClipList());
    document->replaceDataAtOffset(0, 1000, 1, ClipList());
    SaveRequest request = copyTo(*document, "b.m4a");
    EXPECT_EQ(document->lossesWhenSaving(request), QStringList());
    request.seams = SeamMode::none;
    EXPECT_NE(document->lossesWhenSaving(request), QStringList());
    request.seams.reset();
    request.optionTag = 192000;
    EXPECT_NE(document->lossesWhenSaving(request), QStringList());
}

} // namespace velloria::kit
