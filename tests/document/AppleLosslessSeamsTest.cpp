#include "document/SeamsKit.h"

namespace velloria::kit
{

namespace
{

/// A packet as ffmpeg tells of it, without decoding.
struct Packet {
    int64_t frame = 0;
    int64_t numFrames = 0;
    QByteArray sum;
};

class AppleLosslessSeamsTest : public SeamsTest
{
protected:
    void makeFile(const QString& arguments, int bits, size_t numChannels, size_t frames = 60001) const
    {
        makeSource(numChannels, 44100.0, frames);
        ffmpeg(QStringLiteral("-i source64.wav -c:a alac -sample_fmt %1 %2 a.m4a")
                   .arg(bits == 16 ? QStringLiteral("s16p") : QStringLiteral("s32p"), arguments));
    }

    std::vector<Packet> packetsOf(const std::string& name) const
    {
        std::vector<Packet> packets;
        for (const QByteArray& line : run("ffmpeg", {"-v", "error", "-i", QString::fromStdString(name),
                                                     "-map", "0:a:0", "-c", "copy", "-f", "framemd5", "-"})
                                          .split('\n')) {
            const QByteArrayList fields = line.split(',');
            if (fields.size() == 6 && !line.startsWith('#'))
                packets.push_back(
                    {fields[1].trimmed().toLongLong(), fields[3].trimmed().toLongLong(), fields[5]});
        }
        // Fragments do not tell durations without decoding.
        for (size_t i = 0; i + 1 < packets.size(); ++i)
            packets[i].numFrames = packets[i + 1].frame - packets[i].frame;
        return packets;
    }

    /// Packets of the source that lie whole in what no edit touched and do not stand there in the result.
    static int64_t numNotKept(const std::vector<Packet>& source, const std::vector<Packet>& result,
                              const std::vector<int64_t>& origins, int64_t* numKept)
    {
        std::map<int64_t, const Packet*> places;
        for (const Packet& packet : result)
            places[packet.frame] = &packet;
        int64_t numLost = 0;
        for (const Packet& packet : source)
            for (int64_t at = 0; packet.numFrames > 0 && at + packet.numFrames <= std::ssize(origins); ++at) {
                bool isWhole = true;
                for (int64_t i = 0; isWhole && i < packet.numFrames; ++i)
                    isWhole = origins[static_cast<size_t>(at + i)] == packet.frame + i;
                if (!isWhole)
                    continue;
                const auto place = places.find(at);
                const bool isThere = place != places.end() && place->second->sum == packet.sum;
                ++(isThere ? *numKept : numLost);
            }
        return numLost;
    }

    void saveAndCompare(EditedSound& sound, int bits, const std::vector<Packet>& source,
                        int64_t* numKept) const
    {
        EXPECT_THAT(losses(sound.document(), copyTo(sound.document(), "b.m4a")), testing::IsEmpty());
        save(sound.document(), copyTo(sound.document(), "b.m4a"));
        EXPECT_TRUE(decodedByFfmpeg("b.m4a", bits) == integersOf(sound.samples(), bits));
        const auto again = open("b.m4a");
        ASSERT_TRUE(again);
        EXPECT_TRUE(samplesOf(*again) == sound.samples());
        EXPECT_TRUE(again->openWarnings().isEmpty());
        const std::vector<Packet> result = packetsOf("b.m4a");
        EXPECT_EQ(numNotKept(source, result, sound.origins(), numKept), 0);
        EXPECT_EQ(result.front().frame, 0);
        // The last one of fragments does not tell how long it is.
        const int64_t rest = sound.length() - result.back().frame;
        EXPECT_EQ(result.back().numFrames == 0 ? rest : result.back().numFrames, rest);
    }
};

TEST_F(AppleLosslessSeamsTest, PacketsThatNoEditTouchedAreCopied)
{
    struct Source {
        const char* arguments;
        int bits;
        size_t numChannels;
    };
    const Source sources[] = {{"", 16, 2},
                              {"-movflags +faststart", 24, 1},
                              {"-movflags +frag_keyframe+empty_moov -frag_duration 300000", 24, 2},
                              {"", 16, 6}};
    for (const Source& each : sources) {
        SCOPED_TRACE(each.arguments);
        makeFile(QString::fromLatin1(each.arguments), each.bits, each.numChannels);
        const std::vector<Packet> source = packetsOf("a.m4a");
        int64_t numKept = 0;
        for (unsigned round = 0; round < 8 && !HasFailure(); ++round) {
            SCOPED_TRACE(round);
            EditedSound sound(open("a.m4a"), each.bits, round);
            for (unsigned i = 0; i <= round % 5; ++i)
                sound.editAtRandom(round % 3 == 0 ? 40 : 9000);
            saveAndCompare(sound, each.bits, source, &numKept);
        }
        EXPECT_GT(numKept, 25);
    }
}

TEST_F(AppleLosslessSeamsTest, WhatASaveWroteIsEditedOnceMore)
{
    // So long that several cores decode it, with packets of one frame, too.
    makeFile(QString(), 16, 2, 500'000);
    std::vector<Packet> source = packetsOf("a.m4a");
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        EditedSound sound(open("a.m4a"), 16, 1);
        for (int64_t cut = 1; cut < 30; ++cut)
            sound.cut(cut * 10'000, cut % 3 == 0 ? 4096 - 1 : 7 * cut);
        sound.paste(100, 1, 30'000);
        int64_t numKept = 0;
        saveAndCompare(sound, 16, source, &numKept);
        EXPECT_GT(numKept, 25);
        run("mv", {"b.m4a", "a.m4a"});
        source = packetsOf("a.m4a");
    }
}

TEST_F(AppleLosslessSeamsTest, AnEffectOnAPartOfAFilmKeepsItsOtherPackets)
{
    makeSource(2, 44100.0, 90'000);
    ffmpeg(
        "-f lavfi -i testsrc=duration=2:size=64x64:rate=5 -i source64.wav -c:v mpeg4 -c:a alac -sample_fmt "
        "s16p a.mov");
    const std::vector<Packet> source = packetsOf("a.mov");
    const QByteArray pictures =
        run("ffmpeg", {"-v", "error", "-i", "a.mov", "-map", "0:v:0", "-c", "copy", "-f", "framemd5", "-"});
    EditedSound sound(open("a.mov"), 16, 1);
    sound.compute(20'000, 333);
    sound.compute(50'001, 5'000);
    save(sound.document(), requestFor(sound.document()));
    EXPECT_TRUE(decodedByFfmpeg("a.mov", 16) == integersOf(sound.samples(), 16));
    EXPECT_TRUE(samplesOf(*open("a.mov")) == sound.samples());
    int64_t numKept = 0;
    EXPECT_EQ(numNotKept(source, packetsOf("a.mov"), sound.origins(), &numKept), 0);
    EXPECT_GE(numKept, 17);
    EXPECT_EQ(
        run("ffmpeg", {"-v", "error", "-i", "a.mov", "-map", "0:v:0", "-c", "copy", "-f", "framemd5", "-"}),
        pictures);
}

TEST_F(AppleLosslessSeamsTest, PacketsOfAnotherKindAreEncoded)
{
    makeFile(QString(), 16, 2);
    // The cookie says that other parameters of the coding count: then the packets mean something else. Its
    // third parameter stands behind frames, version, width and two others.
    QByteArray bytes = readBytes("a.m4a");
    const qsizetype cookie = bytes.lastIndexOf("alac") + 8;
    ASSERT_EQ(bytes.sliced(cookie, 4), QByteArray::fromHex("00001000"));
    bytes[cookie + 8] = 13;
    writeBytes("a.m4a", bytes);
    const auto document = open("a.m4a");
    ASSERT_TRUE(document);
    EditedSound sound(document, 16, 1);
    sound.cut(30'000, 5);
    save(*document, copyTo(*document, "b.m4a"));
    EXPECT_EQ(packetsOf("b.m4a").size(), (60'001U - 5 + 4095) / 4096);
    EXPECT_TRUE(samplesOf(*open("b.m4a")) == sound.samples());
}

} // namespace

} // namespace velloria::kit
