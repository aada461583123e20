#include "formats/kit/DecodingTestKit.h"
#include "formats/mpegframes/CutSound.h"

#include "formats/mpeg/Mp3File.h"
#include "formats/mpeg/PacketStreamLedger.h"
#include "formats/mpegframes/Mp3InfoEdit.h"

#include <QStandardPaths>

namespace velloria::test
{

struct Encoding {
    const char* name;
    double sampleRate;
    size_t numChannels;
    /// Of the lame program, or of ffmpeg where it begins with "-c:a".
    const char* options;
};

class Mp3SeamsTest : public CompressedFileTest
{
protected:
    /// Something hit now and then, which encoders have short windows for.
    static void addBlows(Sound& sound)
    {
        std::mt19937 random(23);
        std::uniform_real_distribution<float> uniform(-0.6F, 0.6F);
        for (int64_t start = 3000; start + 1500 < sound.numFrames(); start += 3000 + random() % 6000) {
            for (int64_t i = 0; i < 1500 * static_cast<int64_t>(sound.numChannels); ++i) {
                const float level = std::exp(-0.01F * static_cast<float>(i));
                sound.samples[static_cast<size_t>(start) * sound.numChannels + static_cast<size_t>(i)] +=
                    level * uniform(random);
            }
        }
    }

    void make(const std::string& name, const Encoding& encoding, int64_t numFrames,
              bool hasBlows = false) const
    {
        Sound sound = testSound(numFrames, encoding.numChannels, encoding.sampleRate);
        if (hasBlows)
            addBlows(sound);
        writeSource("source64.wav", sound);
        const QString options = QString::fromLatin1(encoding.options);
        const QString target = QString::fromStdString(name);
        ffmpeg("-i source64.wav -c:a pcm_s16le source16.wav");
        if (options.startsWith("-c:a"))
            ffmpeg("-i source16.wav " + options + " " + target);
        else
            run("lame", QStringList{"--quiet"} + options.split(' ') +
                            QStringList{"--resample", QString::number(encoding.sampleRate / 1000.0),
                                        "source16.wav", target});
    }

    std::shared_ptr<Mp3File> writerFor(const std::shared_ptr<AudioFile>& source, const CutSound& cut) const
    {
        auto writer = std::make_shared<Mp3File>(source->sampleRate(), 16U, source->numberOfChannels());
        writer->setOpenedFile(source);
        writer->setBitRate(source->bitRate());
        writer->setNumberOfFrames(cut.numFrames());
        writer->validateAndCorrectParameters();
        writer->offerPieces(source, cut.pieces(), SeamMode::exact);
        return writer;
    }

    std::shared_ptr<const Mp3FrameIndex> indexOf(const std::string& name) const
    {
        const auto handle = FileHandle::openForReading(path(name));
        const auto packets = packetStreamBytes(*handle);
        return packets ? Mp3FrameIndex::ofFile(*handle, *packets) : nullptr;
    }

    /// What other decoders say about a file; nothing when all is well.
    QByteArray complaints(const QString& name) const
    {
        QByteArray said = run("bash", {"-c", "ffmpeg -v warning -i " + name + " -f null - 2>&1"});
        if (!QStandardPaths::findExecutable("mpg123").isEmpty())
            said += run("bash", {"-c", "mpg123 -q -t " + name + " 2>&1"});
        return said;
    }

    /// The frames that copied packets decode to, all but those that overlap with what was encoded.
    static std::vector<bool> exactFrames(const Mp3SeamPlan& plan)
    {
        std::vector<bool> isExact(static_cast<size_t>(plan.numFrames), false);
        const int64_t numOverlapping = plan.framesPerPacket == 576 ? 2 : 1;
        for (const Mp3SeamPlan::Run& run : plan.runs) {
            if (run.kind != Mp3SeamPlan::Run::Kind::copied)
                continue;
            const bool isStart =
                run.firstPacket == 0 || &run == &plan.runs[0] ||
                (&run == &plan.runs[1] && plan.runs[0].kind == Mp3SeamPlan::Run::Kind::silent);
            const int64_t first = isStart ? 0 : run.firstPacket + numOverlapping;
            for (int64_t i = first * plan.framesPerPacket; i < run.end() * plan.framesPerPacket; ++i) {
                const int64_t frame = i - plan.leadFrames;
                if (frame >= 0 && frame < plan.numFrames)
                    isExact[static_cast<size_t>(frame)] = true;
            }
        }
        return isExact;
    }

    void expectSameSound(const Sound& got, const Sound& wanted, const Mp3SeamPlan& plan) const
    {
        ASSERT_EQ(got.numFrames(), wanted.numFrames());
        const std::vector<bool> isExact = exactFrames(plan);
        int64_t numWrong = 0;
        int64_t firstWrong = -1;
        double error = 0.0;
        double power = 0.0;
        for (size_t i = 0; i < got.samples.size(); ++i) {
            const double difference = got.samples[i] - wanted.samples[i];
            if (isExact[i / got.numChannels]) {
                numWrong += difference != 0.0 ? 1 : 0;
                firstWrong = numWrong == 1 && difference != 0.0 ? static_cast<int64_t>(i) : firstWrong;
                continue;
            }
            error += difference * difference;
            power += static_cast<double>(wanted.samples[i]) * wanted.samples[i];
        }
        EXPECT_EQ(numWrong, 0) << "from sample " << firstWrong << " on";
        if (power > 0.0) {
            EXPECT_LT(10.0 * std::log10(error / power), -8.0);
        }
    }
};

constexpr Encoding encodings[] = {
    {"constant", 44100.0, 2, "-b 128 -m j"},
    {"stereo", 48000.0, 2, "-b 192 -m s"},
    {"highest", 44100.0, 2, "-b 320 -m s"},
    {"mono", 32000.0, 1, "-b 64 -m m"},
    {"checksums", 44100.0, 2, "-b 160 -p"},
    {"variable", 44100.0, 2, "-V 2"},
    {"average", 48000.0, 2, "--abr 150"},
    {"version 2", 22050.0, 2, "-b 64"},
    {"version 2 mono", 24000.0, 1, "-V 5"},
    {"version 2.5", 8000.0, 1, "-b 24"},
    {"version 2.5 stereo", 11025.0, 2, "-b 48"},
    {"without notes", 44100.0, 2, "-b 128 -t"},
    {"ffmpeg", 44100.0, 2, "-c:a libmp3lame -q:a 4"},
    {"without reservoir", 44100.0, 2, "-b 128 --nores"},
};

TEST_F(Mp3SeamsTest, CutsDecodeToTheEditedSamplesInEveryEncoding)
{
    // Hundreds are a matter of minutes.
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("VELLORIA_CUT_LISTS", &isGiven);
    const int numLists = isGiven ? given : 5;
    std::mt19937 random(5);
    for (const Encoding& encoding : encodings) {
        SCOPED_TRACE(encoding.name);
        make("a.mp3", encoding, 60000, true);
        const auto source = open("a.mp3");
        ASSERT_TRUE(source);
        const Sound sound = decoded(*source);
        const auto index = indexOf("a.mp3");
        ASSERT_TRUE(index);
        ASSERT_EQ(index->numFrames(), source->numberOfFrames());
        int numKept = 0;
        for (int i = 0; i < numLists; ++i) {
            CutSound cut(sound);
            cut.editAtRandom(random, index->framesPerPacket());
            const auto writer = writerFor(source, cut);
            const auto plan = Mp3SeamPlan::make(*index, cut.pieces(), cut.numFrames());
            ASSERT_EQ(writer->piecesSource() != nullptr, plan.has_value());
            if (!plan)
                continue;
            ++numKept;
            save("b.mp3", cut.sound(), *writer);
            EXPECT_EQ(complaints("b.mp3"), "");
            const auto saved = open("b.mp3");
            ASSERT_TRUE(saved);
            expectSameSound(decoded(*saved), cut.sound(), *plan);
        }
        EXPECT_GT(numKept, numLists / 2);
    }
}

TEST_F(Mp3SeamsTest, EncodesOnlyWhatIsAroundCuts)
{
    const struct {
        const char* name;
        std::function<void(CutSound&)> edit;
        int64_t numSeams;
        /// At most.
        int64_t numPacketsEncoded;
    } cases[] = {
        {"nothing", [](CutSound&) {}, 0, 0},
        {"a crop at odd frames", [](CutSound& cut) { cut.crop(20011, 70003); }, 0, 0},
        {"the end cut off", [](CutSound& cut) { cut.remove(90001, 9999); }, 0, 0},
        {"the start cut off", [](CutSound& cut) { cut.remove(0, 777); }, 0, 0},
        {"ten packets cut out", [](CutSound& cut) { cut.remove(30001, 11520); }, 1, 2},
        {"at the edge of a packet", [](CutSound& cut) { cut.remove(1152 * 30 - 1105, 11520); }, 1, 1},
        {"two cuts", [](CutSound& cut) { cut.remove(60000, 1152), cut.remove(20000, 2304); }, 2, 4},
        {"own sound pasted",
         [](CutSound& cut) {
             cut.insert(50000, {10001, 57600});
         },
         1, 52},
        {"own sound pasted on the grid",
         [](CutSound& cut) {
             cut.insert(50000, {21200, 57600});
         },
         2, 4},
        {"silence put in",
         [](CutSound& cut) {
             cut.insert(40000, {std::nullopt, 2304});
         },
         1, 4},
        {"off the grid", [](CutSound& cut) { cut.remove(80000, 1000); }, 1, 18},
    };
    make("a.mp3", {"", 44100.0, 2, "-b 128"}, 100000);
    const auto source = open("a.mp3");
    const Sound sound = decoded(*source);
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        CutSound cut(sound);
        each.edit(cut);
        const auto writer = writerFor(source, cut);
        ASSERT_TRUE(writer->piecesSource());
        EXPECT_EQ(writer->seams().numSeams, each.numSeams);
        EXPECT_LE(writer->seams().numFramesEncoded, 1152 * each.numPacketsEncoded);
        EXPECT_EQ(writer->seams().numFramesEncoded > 0, each.numSeams > 0);
        save("b.mp3", cut.sound(), *writer);
        EXPECT_EQ(complaints("b.mp3"), "");
        EXPECT_EQ(open("b.mp3")->numberOfFrames(), cut.numFrames());
    }
}

/// Of a packet with short windows at its edge the neighbour is not encoded, as it would have long ones.
TEST_F(Mp3SeamsTest, CopiedPacketsBeginAndEndWithLongWindowsAtSeams)
{
    make("a.mp3", {"", 44100.0, 2, "-b 160"}, 200000, true);
    const auto index = indexOf("a.mp3");
    ASSERT_TRUE(index);
    int64_t numShort = 0;
    for (int64_t i = 0; i < index->numPackets(); ++i)
        numShort += index->windowsOf(i).beginLong ? 0 : 1;
    ASSERT_GT(numShort, 10);
    int64_t numMoved = 0;
    for (int64_t start = 20000; start < 150000; start += 1152) {
        const SoundPieces pieces = {{0, 0, start}, {start, start + 5760, index->numFrames() - start - 5760}};
        const auto plan = Mp3SeamPlan::make(*index, pieces, index->numFrames() - 5760);
        ASSERT_TRUE(plan);
        ASSERT_EQ(plan->runs.size(), 3U);
        EXPECT_TRUE(index->windowsOf(plan->runs[0].sourcePacket + plan->runs[0].numPackets - 1).endLong);
        EXPECT_TRUE(index->windowsOf(plan->runs[2].sourcePacket).beginLong);
        numMoved += plan->runs[1].numPackets > 2 ? 1 : 0;
    }
    EXPECT_GT(numMoved, 0);
}

/// What a program that knows nothing of Velloria takes for packets, by their MD5 sums.
TEST_F(Mp3SeamsTest, CopiesPacketsAsTheBytesThatTheyAre)
{
    make("a.mp3", {"", 44100.0, 2, "-V 3"}, 100000);
    const auto sums = [this](const QString& name) {
        QList<QByteArray> found;
        for (const QByteArray& line :
             run("ffmpeg", {"-v", "error", "-i", name, "-c", "copy", "-f", "framemd5", "-"}).split('\n')) {
            if (!line.startsWith('#') && !line.isEmpty())
                found.append(line.mid(line.lastIndexOf(',')));
        }
        return found;
    };
    const auto source = open("a.mp3");
    const Sound sound = decoded(*source);
    CutSound cut(sound);
    cut.remove(50000, 23040);
    save("b.mp3", cut.sound(), *writerFor(source, cut));
    const QList<QByteArray> before = sums("a.mp3");
    const QList<QByteArray> after = sums("b.mp3");
    ASSERT_EQ(after.size(), before.size() - 20);
    const auto numSameFrom = [&](auto a, auto b) {
        int64_t count = 0;
        for (; count < after.size() && *a == *b; ++a, ++b)
            ++count;
        return count;
    };
    const int64_t numSame =
        numSameFrom(before.begin(), after.begin()) + numSameFrom(before.rbegin(), after.rbegin());
    EXPECT_GE(numSame, after.size() - 2);
    EXPECT_LT(numSame, after.size());
}

/// The notes by their published layout.
TEST_F(Mp3SeamsTest, TellsPlayersWhatTheNewPacketsAre)
{
    make("a.mp3", {"", 44100.0, 2, "-b 128"}, 200000);
    const auto source = open("a.mp3");
    const Sound sound = decoded(*source);
    CutSound cut(sound);
    cut.crop(33333, 150000);
    cut.remove(70000, 11520);
    save("b.mp3", cut.sound(), *writerFor(source, cut));
    const QByteArray bytes = readBytes("b.mp3");
    const auto number = [&bytes](qsizetype at, int count) {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i)
            value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
        return static_cast<int64_t>(value);
    };
    constexpr qsizetype info = 36;
    ASSERT_EQ(bytes.mid(info, 8), QByteArray("Info\0\0\0\x0F", 8));
    const qsizetype start = 417; // of a packet of 128 kbit/s
    std::vector<qsizetype> offsets;
    qsizetype at = start;
    while (const auto head = at + 4 <= bytes.size() ? MpegAudioHead::of(static_cast<uint32_t>(number(at, 4)))
                                                    : std::nullopt) {
        offsets.push_back(at);
        at += head->packetBytes;
    }
    EXPECT_EQ(at, bytes.size());
    EXPECT_EQ(number(info + 8, 4), std::ssize(offsets));
    EXPECT_EQ(number(info + 12, 4), bytes.size());
    for (int i = 0; i < 100; ++i) {
        const double there = 256.0 *
                             static_cast<double>(offsets[offsets.size() * static_cast<size_t>(i) / 100]) /
                             static_cast<double>(bytes.size());
        EXPECT_NEAR(static_cast<double>(number(info + 16 + i, 1)), there, 1.0);
    }
    constexpr qsizetype extension = info + 120;
    const int64_t delay = number(extension + 21, 3) >> 12;
    const int64_t padding = number(extension + 21, 3) & 0xFFF;
    EXPECT_EQ(delay + cut.numFrames() + padding, 1152 * std::ssize(offsets));
    EXPECT_EQ(number(extension + 28, 4), bytes.size());
    const auto checksum = [&bytes](qsizetype from, qsizetype end) {
        int64_t sum = 0;
        for (; from < end; ++from) {
            sum ^= static_cast<uint8_t>(bytes[from]);
            for (int bit = 0; bit < 8; ++bit)
                sum = (sum & 1) ? sum >> 1 ^ 0xA001 : sum >> 1;
        }
        return sum;
    };
    EXPECT_EQ(number(extension + 32, 2), checksum(start, bytes.size()));
    EXPECT_EQ(number(extension + 34, 2), checksum(0, extension + 34));
    if (!QStandardPaths::findExecutable("mpg123").isEmpty()) {
        EXPECT_EQ(run("mpg123", {"-q", "-s", "b.mp3"}).size(), 4 * cut.numFrames());
    }
}

/// A file that was cut out of a stream: main data of its first packets are gone.
TEST_F(Mp3SeamsTest, EncodesPacketsThatCannotBeDecodedWithoutWhatIsGone)
{
    make("whole.mp3", {"", 44100.0, 2, "-b 128 -t"}, 100000);
    const QByteArray bytes = readBytes("whole.mp3");
    writeBytes("a.mp3", bytes.mid(bytes.indexOf(bytes.first(2), 15000)));
    const auto source = open("a.mp3");
    const auto index = indexOf("a.mp3");
    ASSERT_TRUE(index);
    ASSERT_FALSE(index->hasReservoir(0));
    const Sound sound = decoded(*source);
    CutSound cut(sound);
    cut.remove(20000, 1152);
    const auto writer = writerFor(source, cut);
    ASSERT_TRUE(writer->piecesSource());
    EXPECT_EQ(writer->seams().numSeams, 2);
    save("b.mp3", cut.sound(), *writer);
    EXPECT_EQ(complaints("b.mp3"), "");
    expectSameSound(decoded(*open("b.mp3")), cut.sound(),
                    *Mp3SeamPlan::make(*index, cut.pieces(), cut.numFrames()));
}

TEST_F(Mp3SeamsTest, CutsAgainWhatItCut)
{
    make("a.mp3", {"", 22050.0, 2, "-b 64"}, 100000);
    std::string name = "a.mp3";
    for (const int64_t start : {30000, 50000, 10001}) {
        const auto source = open(name);
        const Sound sound = decoded(*source);
        CutSound cut(sound);
        cut.remove(start, 5760);
        const auto writer = writerFor(source, cut);
        ASSERT_TRUE(writer->piecesSource());
        EXPECT_LE(writer->seams().numFramesEncoded, 3 * 576);
        name = std::to_string(start) + ".mp3";
        save(name, cut.sound(), *writer);
        EXPECT_EQ(complaints(QString::fromStdString(name)), "");
        const Sound got = decoded(*open(name));
        ASSERT_EQ(got.numFrames(), cut.numFrames());
        EXPECT_LT(differenceDB(got.samples, cut.sound().samples), -25.0);
    }
}

TEST_F(Mp3SeamsTest, LeavesNoErrorUnsaid)
{
    make("a.mp3", {"", 44100.0, 2, "-b 320"}, 400000);
    const auto source = open("a.mp3");
    const Sound sound = decoded(*source);
    CutSound cut(sound);
    cut.remove(100000, 11520);
    cut.remove(200000, 1000);
    const TrackDocument document = documentOfSound(cut.sound());
    const auto messageOf = [&](Progress& progress) {
        const auto writer = writerFor(source, cut);
        EXPECT_TRUE(writer->piecesSource());
        writer->setFileHandle(newFile("b.mp3"));
        MaybeError error;
        progress.setTargetValue(document.numberOfFrames());
        const bool isSaved = writer->saveDocument(document, nullptr, progress, &error);
        EXPECT_EQ(isSaved, !error);
        return error ? error->message : QString();
    };
    SilentProgress silent;
    EXPECT_EQ(messageOf(silent), QString());
    EXPECT_EQ(silent.markValue(), document.numberOfFrames());
    ImpatientProgress impatient(3);
    const auto writer = writerFor(source, cut);
    writer->setFileHandle(newFile("b.mp3"));
    MaybeError error;
    impatient.setTargetValue(document.numberOfFrames());
    EXPECT_FALSE(writer->saveDocument(document, nullptr, impatient, &error));
    EXPECT_TRUE(error && error->isUserCancelled());
    {
        const FullDisk disk(200000);
        EXPECT_NE(messageOf(silent), QString());
    }
    // Another program cuts the file off.
    std::filesystem::resize_file(path("a.mp3"), 100000);
    EXPECT_TRUE(messageOf(silent).contains("could not be read"));
}

TEST_F(Mp3SeamsTest, LeavesFilesAloneThatHaveNoGrid)
{
    make("low.mp3", {"", 44100.0, 2, "-b 64 -t"}, 50000);
    make("mono.mp3", {"", 44100.0, 1, "-b 64 -t"}, 50000);
    make("slow.mp3", {"", 32000.0, 2, "-b 64 -t"}, 50000);
    make("free.mp3", {"", 44100.0, 2, "-b 100 --freeformat -t"}, 50000);
    const QByteArray low = readBytes("low.mp3");
    ffmpeg("-i source16.wav -c:a mp2 -b:a 192k two.mp2");
    const std::pair<const char*, QByteArray> files[] = {
        {"mono behind stereo", low + readBytes("mono.mp3")},
        {"another rate behind", low + readBytes("slow.mp3")},
        {"foreign bytes behind", low + QByteArray(1000, 'j')},
        {"foreign bytes in the midst", low + QByteArray(1000, 'j') + low},
        {"a cut packet", low.chopped(20)},
        {"Layer II", readBytes("two.mp2")},
        {"free format", readBytes("free.mp3")},
    };
    for (const auto& [name, bytes] : files) {
        SCOPED_TRACE(name);
        writeBytes("a.mp3", bytes);
        EXPECT_FALSE(indexOf("a.mp3"));
    }
    // Another bit rate is asked for.
    const auto source = open("low.mp3");
    const Sound sound = decoded(*source);
    const CutSound cut(sound);
    const auto writer = std::make_shared<Mp3File>(44100.0, 16U, 2U);
    writer->setNumberOfFrames(cut.numFrames());
    writer->configureWithPopUpTag(192000);
    writer->validateAndCorrectParameters();
    writer->offerPieces(source, cut.pieces(), SeamMode::exact);
    EXPECT_FALSE(writer->piecesSource());
}

} // namespace velloria::test
