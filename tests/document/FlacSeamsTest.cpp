#include "document/MarkerSplitter.h"
#include "document/SeamsKit.h"
#include "formats/kit/FileTestKit.h"
#include "platform/UserDefaults.h"

namespace velloria::kit
{

namespace
{

using testing::ElementsAre;

const QString kFlac = QStringLiteral("org.videolan.flac");

/// A packet as the program `flac` tells of it, and its sound: what stands behind its head and before its sum.
struct Packet {
    int64_t frame = 0;
    int64_t numFrames = 0;
    bool countsFrames = false;
    QByteArray sound;
};

class FlacSeamsTest : public SeamsTest
{
protected:
    /// `arguments` of flac; `bits` those of the samples.
    void makeFlac(const QString& arguments, int bits, size_t numChannels = 2, size_t frames = 20011,
                  double sampleRate = 44100.0) const
    {
        test::Sound sound{sampleRate, numChannels, {}};
        const FloatBuffer rough = noise(frames * numChannels, 5);
        for (size_t i = 0; i < rough.size(); ++i)
            sound.samples.push_back(0.1F * rough[i] + 0.5F * std::sin(static_cast<float>(i) * 0.01F));
        writeSource("source64.wav", sound);
        const QString codec = bits == 8 ? QStringLiteral("pcm_u8") : QStringLiteral("pcm_s%1le").arg(bits);
        ffmpeg("-i source64.wav -bitexact -c:a " + codec + " source.wav");
        run("flac", ("-s -f --channel-map=none " + arguments + " source.wav -o a.flac")
                        .split(' ', Qt::SkipEmptyParts));
    }

    /// By the program of the format where it writes samples of that size without a header, else by ffmpeg.
    std::vector<int32_t> decoded(const std::string& name, int bits) const
    {
        return bits % 8 == 0
                   ? unpacked(run("flac", {"-s", "-d", "-c", "--force-raw-format", "--endian=little",
                                           "--sign=signed", QString::fromStdString(name)}),
                              bits)
                   : decodedByFfmpeg(name, bits);
    }

    static std::vector<int32_t> unpacked(const QByteArray& raw, int bits)
    {
        std::vector<int32_t> integers;
        for (qsizetype at = 0; at < raw.size(); at += bits / 8) {
            int32_t integer = 0;
            std::memcpy(reinterpret_cast<char*>(&integer) + (32 - bits) / 8, raw.constData() + at,
                        static_cast<size_t>(bits / 8));
            integers.push_back(integer >> (32 - bits));
        }
        return integers;
    }
    /// Also tests the file: the sums of its packets and that of its samples.
    std::vector<Packet> packetsOf(const std::string& name) const
    {
        const QString file = QString::fromStdString(name);
        run("flac", {"-s", "-t", "--warnings-as-errors", file});
        run("flac", {"-s", "-a", "-f", file, "-o", "packets.txt"});
        const QByteArray bytes = readBytes(name);
        std::vector<Packet> packets;
        for (const QByteArray& line : readBytes("packets.txt").split('\n')) {
            if (!line.startsWith("frame="))
                continue;
            const auto value = [&line](const QByteArray& key) {
                const qsizetype at = line.indexOf("\t" + key + "=") + key.size() + 2;
                return line.sliced(at, line.indexOf('\t', at) - at).toLongLong();
            };
            Packet packet;
            packet.frame = packets.empty() ? 0 : packets.back().frame + packets.back().numFrames;
            packet.numFrames = value("blocksize");
            const QByteArray whole = bytes.sliced(value("offset"), value("bits") / 8);
            packet.countsFrames = (whole[1] & 1) != 0;
            packet.sound = whole.sliced(lengthOfHead(whole)).chopped(2);
            packets.push_back(packet);
        }
        return packets;
    }

    static qsizetype lengthOfHead(const QByteArray& packet)
    {
        const auto byte = [&packet](qsizetype i) { return static_cast<uint8_t>(packet[i]); };
        qsizetype length = 5;
        for (int bit = 0x40; byte(4) >= 0xC0 && (byte(4) & bit) != 0; bit >>= 1)
            ++length;
        const int forLength = byte(2) >> 4;
        const int forRate = byte(2) & 15;
        length += forLength == 6 || forLength == 7 ? forLength - 5 : 0;
        length += forRate == 12 ? 1 : forRate > 12 ? 2 : 0;
        return length + 1;
    }

    /// Packets of the source that lie whole in what no edit touched and do not stand there in the result; but
    /// for one that gave way to a rest before it that is too short for a packet of its own.
    static int64_t numNotKept(const std::vector<Packet>& source, const std::vector<Packet>& result,
                              const std::vector<int64_t>& origins, int64_t* numKept)
    {
        std::map<int64_t, const Packet*> sources;
        std::map<int64_t, const Packet*> places;
        for (const Packet& packet : source)
            sources[packet.frame] = &packet;
        for (const Packet& packet : result)
            places[packet.frame] = &packet;
        int64_t numLost = 0;
        int64_t end = 0;
        for (int64_t at = 0; at < std::ssize(origins); ++at) {
            const auto packet = sources.find(origins[static_cast<size_t>(at)]);
            if (packet == sources.end() || !isUntouched(*packet->second, origins, at))
                continue;
            const auto place = places.find(at);
            if (place != places.end() && place->second->sound == packet->second->sound) {
                ++*numKept;
                end = at + packet->second->numFrames;
            } else if ((at == end || at - end >= 16) && packet->second->numFrames >= 16) {
                ++numLost;
            }
        }
        return numLost;
    }

    static bool isUntouched(const Packet& packet, const std::vector<int64_t>& origins, int64_t at)
    {
        for (int64_t i = 0; i < packet.numFrames; ++i)
            if (at + i >= std::ssize(origins) || origins[static_cast<size_t>(at + i)] != packet.frame + i)
                return false;
        return true;
    }

    /// What stands in the description of a file, by metaflac.
    std::string told(const QString& option) const
    {
        return run("metaflac", {option, "b.flac"}).trimmed().toStdString();
    }

    std::vector<Packet> saveAndCompare(EditedSound& sound, int bits, const std::vector<Packet>& source,
                                       int64_t* numKept) const
    {
        save(sound.document(), copyTo(sound.document(), "b.flac"));
        EXPECT_TRUE(decoded("b.flac", bits) == integersOf(sound.samples(), bits));
        const std::vector<Packet> result = packetsOf("b.flac");
        EXPECT_EQ(numNotKept(source, result, sound.origins(), numKept), 0);
        return result;
    }
};

TEST_F(FlacSeamsTest, PacketsThatNoEditTouchedAreCopied)
{
    struct Source {
        const char* arguments;
        int bits;
        size_t numChannels;
    };
    const Source sources[] = {
        {"-5", 16, 2},        {"-8 -b 1000 --lax", 16, 2}, {"-0 -b 576", 24, 1},
        {"-5 -b 192", 16, 6}, {"-5 -b 17 --lax", 8, 2},    {"-3 -b 4608 -S 10x", 24, 2},
        {"-8 -b 2304", 8, 3}, {"-5 -b 4095", 16, 1},
    };
    for (const Source& each : sources) {
        SCOPED_TRACE(each.arguments);
        makeFlac(QString::fromLatin1(each.arguments), each.bits, each.numChannels,
                 each.bits == 8 ? 5003 : 20011);
        const std::vector<Packet> source = packetsOf("a.flac");
        int64_t numKept = 0;
        for (unsigned round = 0; round < 25 && !HasFailure(); ++round) {
            SCOPED_TRACE(round);
            EditedSound sound(open("a.flac"), each.bits, round);
            for (unsigned i = 0; i <= round % 8; ++i)
                sound.editAtRandom(round % 3 == 0 ? 40 : 6000);
            saveAndCompare(sound, each.bits, source, &numKept);
            if (round % 8 == 0) {
                EXPECT_TRUE(decodedByFfmpeg("b.flac", each.bits) == integersOf(sound.samples(), each.bits));
            }
        }
        EXPECT_GT(numKept, 10);
    }
}

TEST_F(FlacSeamsTest, SamplesOfUncommonSizesStayExact)
{
    for (const int bits : {12, 20}) {
        SCOPED_TRACE(bits);
        makeFlac(QStringLiteral("-b 500 --lax"), bits == 12 ? 16 : 24);
        {
            // flac encodes such sizes only from files that tell them; our own writer makes one.
            const auto wide = open("a.flac");
            SaveRequest request = copyTo(*wide, "narrow.flac");
            request.optionTag = bits;
            save(*wide, request);
        }
        run("mv", {"narrow.flac", "a.flac"});
        const std::vector<Packet> source = packetsOf("a.flac");
        EditedSound sound(open("a.flac"), bits, 3);
        sound.cut(5000, 333);
        sound.compute(15000, 100);
        int64_t numKept = 0;
        saveAndCompare(sound, bits, source, &numKept);
        EXPECT_GT(numKept, 0);
    }
}

TEST_F(FlacSeamsTest, WhatASaveWroteIsEditedOnceMore)
{
    makeFlac(QStringLiteral("-b 1000 --lax -S 9x"), 16);
    std::vector<Packet> source = packetsOf("a.flac");
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        EditedSound sound(open("a.flac"), 16, 1);
        sound.cut(3000 + 77 * round, 10 + 700 * round);
        sound.paste(100, 1500, sound.length() - 200 * round);
        int64_t numKept = 0;
        source = saveAndCompare(sound, 16, source, &numKept);
        EXPECT_GT(numKept, 10);
        EXPECT_TRUE(source.front().countsFrames);
        run("mv", {"b.flac", "a.flac"});
    }
    // The same document goes on copying from the file that it was opened from, though its name is another's.
    EditedSound sound(open("a.flac"), 16, 1);
    for (int round = 0; round < 3; ++round) {
        sound.cut(500, 1);
        save(sound.document(), requestFor(sound.document()));
        int64_t numKept = 0;
        EXPECT_EQ(numNotKept(source, packetsOf("a.flac"), sound.origins(), &numKept), 0);
        EXPECT_GT(numKept, 10);
        EXPECT_TRUE(decoded("a.flac", 16) == integersOf(sound.samples(), 16));
    }
}

TEST_F(FlacSeamsTest, PacketsAreCountedWhereTheyKeepOneLength)
{
    makeFlac(QStringLiteral("-b 1000 --lax"), 16);
    const std::vector<Packet> source = packetsOf("a.flac");
    struct Case {
        const char* what;
        std::function<void(EditedSound&)> edit;
        bool countsFrames;
        const char* blockSizes;
    };
    const Case cases[] = {
        {"end cut off", [](EditedSound& sound) { sound.cut(7300, sound.length() - 7300); }, false,
         "1000 1000"},
        {"whole packets", [](EditedSound& sound) { sound.cut(2000, 5000); }, false, "1000 1000"},
        {"exchanged in place", [](EditedSound& sound) { sound.compute(2100, 300); }, false, "1000 1000"},
        {"all of one packet", [](EditedSound& sound) { sound.cut(1000, sound.length() - 1000); }, false,
         "1000 1000"},
        {"start cut off", [](EditedSound& sound) { sound.cut(0, 300); }, true, "700 1000"},
        {"16 frames to the seam", [](EditedSound& sound) { sound.cut(0, 984); }, true, "16 1000"},
        {"15 frames to the seam", [](EditedSound& sound) { sound.cut(0, 985); }, true, "507 1000"},
        {"one frame inserted", [](EditedSound& sound) { sound.paste(5, 1, 2000); }, true, "500 1000"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.what);
        EditedSound sound(open("a.flac"), 16, 1);
        each.edit(sound);
        int64_t numKept = 0;
        const std::vector<Packet> result = saveAndCompare(sound, 16, source, &numKept);
        EXPECT_GT(numKept, 0);
        for (const Packet& packet : result)
            EXPECT_EQ(packet.countsFrames, each.countsFrames);
        EXPECT_EQ(told("--show-min-blocksize") + ' ' + told("--show-max-blocksize"), each.blockSizes);
        EXPECT_EQ(told("--show-total-samples"), std::to_string(sound.length()));
    }
}

TEST_F(FlacSeamsTest, DescriptionAndSeekTableFitTheNewPackets)
{
    makeFlac(QStringLiteral("-b 1000 --lax -S 8x -T TITLE=Old"), 16);
    EditedSound sound(open("a.flac"), 16, 1);
    sound.cut(1234, 2000);
    setTitle(sound.document(), QStringLiteral("New"));
    EXPECT_THAT(losses(sound.document(), copyTo(sound.document(), "b.flac")), ElementsAre());
    save(sound.document(), copyTo(sound.document(), "b.flac"));
    const std::vector<Packet> packets = packetsOf("b.flac");
    // Offsets in the table count from the first packet; the sizes are those of the packets as they stand.
    std::map<int64_t, int64_t> offsets;
    int64_t least = INT64_MAX;
    int64_t most = 0;
    const QByteArrayList lines = readBytes("packets.txt").split('\n');
    size_t index = 0;
    int64_t first = -1;
    for (const QByteArray& line : lines) {
        if (!line.startsWith("frame="))
            continue;
        const QByteArrayList fields = line.split('\t');
        const int64_t offset = fields[1].sliced(7).toLongLong();
        const int64_t size = fields[2].sliced(5).toLongLong() / 8;
        first = first < 0 ? offset : first;
        offsets[packets[index++].frame] = offset - first;
        least = std::min(least, size);
        most = std::max(most, size);
    }
    EXPECT_EQ(told("--show-min-framesize"), std::to_string(least));
    EXPECT_EQ(told("--show-max-framesize"), std::to_string(most));
    int numPoints = 0;
    for (const QByteArray& line :
         run("metaflac", {"--list", "--block-type=SEEKTABLE", "b.flac"}).split('\n')) {
        const qsizetype at = line.indexOf("sample_number=");
        if (at < 0)
            continue;
        const int64_t frame = line.sliced(at + 14, line.indexOf(',', at) - at - 14).toLongLong();
        const int64_t offset =
            line.sliced(line.indexOf("stream_offset=") + 14).split(',').front().toLongLong();
        ASSERT_TRUE(offsets.contains(frame)) << frame;
        EXPECT_EQ(offset, offsets[frame]);
        ++numPoints;
    }
    EXPECT_GE(numPoints, 6);
    EXPECT_EQ(told("--show-tag=TITLE"), "TITLE=New");
    // To a place within a packet that stands off the old grid.
    const QByteArray part = run("flac", {"-s", "-d", "-c", "--force-raw-format", "--endian=little",
                                         "--sign=signed", "--skip=4321", "--until=+50", "b.flac"});
    const std::vector<int32_t> whole = integersOf(sound.samples(), 16);
    ASSERT_EQ(part.size(), 200);
    for (size_t i = 0; i < 100; ++i) {
        int16_t sample = 0;
        std::memcpy(&sample, part.constData() + 2 * i, 2);
        EXPECT_EQ(sample, whole[2 * 4321 + i]);
    }
}

TEST_F(FlacSeamsTest, SelectionsAndPiecesBetweenMarkersKeepTheirPackets)
{
    makeFlac(QStringLiteral("-b 500 --lax"), 24);
    const std::vector<Packet> source = packetsOf("a.flac");
    EditedSound sound(open("a.flac"), 24, 1);
    sound.cut(4321, 100);
    const std::vector<int32_t> whole = integersOf(sound.samples(), 24);
    SaveRequest request = copyTo(sound.document(), "b.flac");
    request.selection = SoundSelection{1234 / 44100.0, 9876 / 44100.0, 0, 2};
    save(sound.document(), request);
    const auto isRange = [&](const std::string& name, int64_t start, int64_t end) {
        EXPECT_TRUE(decoded(name, 24) ==
                    std::vector<int32_t>(whole.begin() + 2 * start, whole.begin() + 2 * end));
        int64_t numKept = 0;
        const std::vector<int64_t> origins(sound.origins().begin() + start, sound.origins().begin() + end);
        EXPECT_EQ(numNotKept(source, packetsOf(name), origins, &numKept), 0);
        return numKept;
    };
    EXPECT_GE(isRange("b.flac", 1234, 9876), 14);
    // One track of them is sound that no packet holds alone.
    request.selection->numTracks = 1;
    request.path = path("mono.flac");
    save(sound.document(), request);
    EXPECT_EQ(packetsOf("mono.flac").front().numFrames, 4096);

    setMarkers(sound.document(), {5000, 5100, 12000});
    MarkerSplitter::Request split;
    split.folder = path("parts");
    std::filesystem::create_directory(split.folder);
    split.uti = kFlac;
    split.addPrefix = true;
    SilentProgress progress;
    const auto outcome = MarkerSplitter(sound.document(), split).run(progress);
    ASSERT_EQ(outcome.paths.size(), 4U);
    const int64_t bounds[] = {0, 5000, 5100, 12000, sound.length()};
    for (size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        const int64_t numKept = isRange(outcome.paths[i].string(), bounds[i], bounds[i + 1]);
        EXPECT_EQ(numKept > 5, i != 1);
    }
}

TEST_F(FlacSeamsTest, WhatCannotBeKeptIsEncoded)
{
    makeFlac(QStringLiteral("-b 1000 --lax"), 16);
    const QByteArray bytes = readBytes("a.flac");
    const auto firstLength = [this](const std::function<void(SaveRequest&)>& change) {
        EditedSound sound(open("a.flac"), 16, 1);
        sound.cut(300, 10);
        SaveRequest request = copyTo(sound.document(), "b.flac");
        change(request);
        save(sound.document(), request);
        const auto again = open("b.flac");
        EXPECT_TRUE(samplesOf(*again) == sound.samples());
        return packetsOf("b.flac").back().numFrames;
    };
    // The library's own length is 4096.
    const int64_t restOfCommon = (20011 - 10) % 4096;
    const auto nothing = [](SaveRequest&) {};
    EXPECT_NE(firstLength(nothing), restOfCommon);
    EXPECT_EQ(firstLength([](SaveRequest& request) { request.seams = SeamMode::none; }), restOfCommon);
    EXPECT_EQ(firstLength([](SaveRequest& request) { request.optionTag = 24; }), restOfCommon);
    UserDefaults::standard().overrideValue(copyPacketsKey, false);
    EXPECT_EQ(firstLength(nothing), restOfCommon);
    UserDefaults::standard().overrideValue(copyPacketsKey, true);
    EXPECT_NE(firstLength(nothing), restOfCommon);
    // A packet with a wrong bit is no longer what was decoded of it; one that is gone moves the others.
    for (const bool isRemoved : {false, true}) {
        SCOPED_TRACE(isRemoved);
        QByteArray damaged = bytes;
        if (isRemoved)
            damaged.remove(damaged.size() / 2, 1500);
        else
            damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x10);
        writeBytes("a.flac", damaged);
        EXPECT_EQ(firstLength(nothing), restOfCommon);
    }
    // Bytes behind the sound belong to no packet.
    writeBytes("a.flac", bytes + test::noiseBytes(500, 3));
    EXPECT_NE(firstLength(nothing), restOfCommon);
}

TEST_F(FlacSeamsTest, WhatDamagedFilesDecodeToIsWhatIsSaved)
{
    makeFlac(QStringLiteral("-b 256"), 16, 1, 5003);
    const QByteArray whole = readBytes("a.flac");
    std::mt19937 random(11);
    const auto below = [&random](qsizetype end) { return static_cast<qsizetype>(random() % size_t(end)); };
    int numOpened = 0;
    for (int round = 0; round < 200 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        QByteArray bytes = whole;
        // Bits, a stretch that is gone, doubled or exchanged, an end; the sound begins behind some 8 kB.
        const qsizetype at = bytes.size() / 2 + below(bytes.size() / 2);
        const qsizetype count = std::min<qsizetype>(1 + below(700), bytes.size() - at);
        switch (round % 5) {
        case 0:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << (random() % 8)));
            break;
        case 1:
            bytes.remove(at, count);
            break;
        case 2:
            bytes.insert(at, bytes.sliced(at, count));
            break;
        case 3:
            bytes.replace(at, count, bytes.sliced(at - count, count));
            break;
        default:
            bytes.truncate(at);
        }
        writeBytes("damaged.flac", bytes);
        SilentProgress progress;
        const auto document = SoundDocument::readFromPath(path("damaged.flac"), {}, progress, nullptr);
        if (!document || document->numberOfFrames() < 1000)
            continue;
        ++numOpened;
        EditedSound sound(document, 16, static_cast<unsigned>(round));
        sound.cut(sound.random(0, sound.length() - 100), 50);
        save(*document, copyTo(*document, "b.flac"));
        EXPECT_TRUE(samplesOf(*open("b.flac")) == sound.samples());
        run("flac", {"-s", "-t", "--warnings-as-errors", "b.flac"});
    }
    EXPECT_GT(numOpened, 100);
}

} // namespace

} // namespace velloria::kit
