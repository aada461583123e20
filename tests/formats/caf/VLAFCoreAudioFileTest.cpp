#include "formats/caf/VLAFCoreAudioFile.h"

#include "formats/aiff/AiffFile.h"
#include "formats/kit/LedgerKit.h"
#include "formats/kit/SavingTestKit.h"
#include "formats/streams/BigEndianOutputStream.h"

namespace velloria
{
namespace
{

using namespace test;

int tagOf(const char (&text)[5])
{
    return static_cast<int>(fourCharCode(text));
}

QByteArray chunkBytes(const char (&type)[5], const QByteArray& payload)
{
    BigEndianOutputStream stream;
    stream.writeCafChunk(fourCharCode(type), payload);
    return stream.data();
}

/// The size field is that of a damaged or unfinished file.
QByteArray dataChunk(const QByteArray& samples, int64_t size)
{
    BigEndianOutputStream stream;
    stream.writeUInt32(fourCharCode("data"));
    stream.writeSInt64(size);
    stream.writeUInt32(0);
    stream.appendData(samples);
    return stream.data();
}

QByteArray dataChunk(const QByteArray& samples)
{
    return dataChunk(samples, samples.size() + 4);
}

QByteArray caf(const QByteArray& chunks)
{
    return bytes("caff\0\1\0\0") + chunks;
}

/// 16-bit big-endian PCM, unless told otherwise.
QByteArray description(uint32_t numChannels = 1, uint32_t flags = 0, uint32_t bytesPerPacket = 2,
                       uint32_t bits = 16, double rate = 44100.0)
{
    return chunkBytes(
        "desc", CafFormat{rate, fourCharCode("lpcm"), flags, bytesPerPacket, 1, numChannels, bits}.payload());
}

class VLAFCoreAudioFileTest : public SavingTest
{
protected:
    static std::shared_ptr<VLAFCoreAudioFile> writer(uint32_t numChannels, int tag)
    {
        auto file = std::make_shared<VLAFCoreAudioFile>(44100.0, 16, numChannels);
        file->configureWithPopUpTag(tag);
        file->validateAndCorrectParameters();
        return file;
    }

    std::shared_ptr<AudioFile> openCaf(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.caf", bytes), error);
    }

    /// What a file of the markers, tags and encoding holds after it was saved and opened again.
    std::shared_ptr<AudioFile> reopened(const MarkerList& markers, const AudioMetadata& metadata,
                                        int tag) const
    {
        const auto file = writer(1, tag);
        file->setMarkers(markers);
        file->setMetadata(metadata);
        save(*file, "out.caf", silence(100));
        return opened("out.caf");
    }
};

TEST_F(VLAFCoreAudioFileTest, WritesItsChunksByteByByte)
{
    const auto file = writer(1, tagOf("sowt"));
    file->setMarkers(markerList({{0x0102, "ä"}, {0, ""}}));
    AudioMetadata metadata;
    metadata.setTitle("T");
    file->setMetadata(metadata);
    save(*file, "out.caf", silence(2));
    // The position is a float of the reversed bytes' value, in the machine's order.
    const double position = 0x0201 * std::pow(2.0, 48);
    QByteArray stored(8, '\0');
    std::memcpy(stored.data(), &position, 8);
    const QByteArray unknownTime(8, '\xFF');
    const QByteArray none(4, '\0');
    EXPECT_EQ(
        bytesOf("out.caf"),
        caf(description() +
            chunkBytes("mark", none + bigEndian32(2) + none + stored + bigEndian32(1) + unknownTime + none +
                                   none + QByteArray(8, '\0') + bigEndian32(2) + unknownTime + none) +
            chunkBytes("strg", bigEndian32(2) + bigEndian32(1) + QByteArray(8, '\0') + bigEndian32(2) + none +
                                   bigEndian32(3) + QByteArray("ä\0\0", 4)) +
            dataChunk(QByteArray(4, '\0')) +
            chunkBytes("info", littleEndian32(1) + QByteArray("title\0T\0", 8))));
}

TEST_F(VLAFCoreAudioFileTest, IsDecodedByOthersToTheSamplesSaved)
{
    for (const int numChannels : {1, 2, 32}) {
        const TrackDocument floats = noiseDocument(5001, static_cast<size_t>(numChannels));
        for (const int tag : {tagOf("fl32"), tagOf("fl64")}) {
            const auto file = writer(static_cast<uint32_t>(numChannels), tag);
            save(*file, "out.caf", floats);
            EXPECT_TRUE(framesByFfmpeg("out.caf") == framesOf(floats)) << tag << numChannels;
            EXPECT_TRUE(decodedFrames("out.caf") == framesOf(floats)) << tag << numChannels;
        }
    }
    const struct {
        int tag;
        int bits;
        const char* format;
    } cases[] = {{tagOf("raw "), 8, "s8"},
                 {tagOf("sowt"), 16, "s16be"},
                 {tagOf("in24"), 24, "s24be"},
                 {tagOf("in32"), 32, "s32be"}};
    for (const auto& c : cases) {
        const QByteArray stored = noiseBytes(qsizetype{3001} * 2 * c.bits / 8, 7);
        makeFile("in.aif", aiff({2, 0, c.bits}, stored));
        save(*writer(2, c.tag), "out.caf", documentOf(opened("in.aif")));
        EXPECT_TRUE(run("ffmpeg", {"-v", "error", "-i", argument("out.caf"), "-f", c.format, "-"}) == stored)
            << c.bits;
        EXPECT_TRUE(run("sox", {argument("out.caf"), "-t", "raw", "-B", "-e", "signed-integer", "-b",
                                QString::number(c.bits), "-"}) == stored)
            << c.bits;
        // And back, out of scratch files; 32 bits to the nearest float.
        if (c.bits == 32)
            continue;
        const auto file = opened("out.caf");
        EXPECT_TRUE(file->requiresConversion());
        AiffFile back(44100.0, static_cast<uint32_t>(c.bits), 2);
        save(back, "back.aif", decoded(*file));
        EXPECT_TRUE(bytesOf("back.aif").right(stored.size()) == stored) << c.bits;
    }
}

TEST_F(VLAFCoreAudioFileTest, CountsTheFramesOfImaExactly)
{
    for (const int numChannels : {1, 2}) {
        for (const int64_t numFrames : {0, 1, 64, 70'001}) {
            makeFile("in.wav", wave({1, numChannels, 44100, 16}, noiseBytes(numFrames * numChannels * 2, 3)));
            save(*writer(static_cast<uint32_t>(numChannels), tagOf("ima4")), "out.caf",
                 documentOf(opened("in.wav")));
            const FloatBuffer frames = decodedFrames("out.caf");
            EXPECT_EQ(std::ssize(frames), numFrames * numChannels);
            if (numFrames > 0) {
                run("ffmpeg", {"-v", "error", "-y", "-i", argument("in.wav"), "-c:a", "adpcm_ima_qt", "-f",
                               "aiff", argument("theirs.aifc")});
                FloatBuffer theirs = framesByFfmpeg("theirs.aifc");
                theirs.resize(frames.size());
                EXPECT_TRUE(frames == theirs) << numFrames;
            }
        }
    }
}

TEST_F(VLAFCoreAudioFileTest, ReadsEveryEncodingOfOtherPrograms)
{
    makeFile("in.wav", wave({1, 2, 44100, 32}, noiseBytes(qsizetype{2999} * 8, 5)));
    const struct {
        const char* encoder;
        const char* dataFormat;
        uint32_t bits;
    } cases[] = {
        {"pcm_s8", "sowt", 8},     {"pcm_s16be", "sowt", 16}, {"pcm_s16le", "sowt", 16},
        {"pcm_s24be", "in24", 24}, {"pcm_s24le", "in24", 24}, {"pcm_s32be", "in32", 32},
        {"pcm_s32le", "in32", 32}, {"pcm_f32be", "fl32", 32}, {"pcm_f32le", "fl32", 32},
        {"pcm_f64be", "fl64", 64}, {"pcm_f64le", "fl64", 64}, {"pcm_alaw", "alaw", 16},
        {"pcm_mulaw", "ulaw", 16}, {"alac", "alac", 24},      {"adpcm_ima_qt", "ima4", 16},
    };
    for (const auto& c : cases) {
        run("ffmpeg", {"-v", "error", "-y", "-i", argument("in.wav"), "-metadata", "title=Käse", "-c:a",
                       c.encoder, argument("in.caf")});
        const auto file = opened("in.caf");
        ASSERT_TRUE(file);
        const TrackDocument document = decoded(*file);
        EXPECT_EQ(fourCharText(file->dataFormat()), c.dataFormat) << c.encoder;
        EXPECT_EQ(file->bitsPerSample(), c.bits) << c.encoder;
        EXPECT_EQ(file->isFloat(), c.dataFormat[0] == 'f') << c.encoder;
        EXPECT_TRUE(framesOf(document) == framesByFfmpeg("in.caf")) << c.encoder;
        EXPECT_EQ(file->numberOfFrames(), document.numberOfFrames());
        EXPECT_EQ(file->metadata().title(), "Käse") << c.encoder;
        EXPECT_EQ(file->warnings(), QStringList()) << c.encoder;
    }
}

TEST_F(VLAFCoreAudioFileTest, OpensScratchTakes)
{
    const auto clip = MutableAudioClip::clipWithSampleRate(48000.0);
    const FloatBuffer samples = noise(3000, 9);
    ASSERT_FALSE(clip->appendData(samples));
    std::filesystem::copy_file(clip->tempFile()->path(), path("take.caf"));
    const auto file = opened("take.caf");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->sampleRate(), 48000.0);
    EXPECT_EQ(decodedFrames("take.caf"), samples);
}

TEST_F(VLAFCoreAudioFileTest, KeepsMarkersAndTagsInEveryScript)
{
    AudioMetadata metadata;
    metadata.setTitle("Ж 歌 שׁ 🎵");
    metadata.setArtist(QString(70'000, 'a'));
    metadata.setTrackNumber(3);
    const QString longName = QString(299, QChar(u'ש')) + "x";
    std::vector<std::pair<int64_t, QString>> many;
    for (int64_t i = 0; i < 10'000; ++i)
        many.emplace_back(i * i * 1000, i % 2 ? QString("歌 %1").arg(i) : longName);
    for (const auto& positions : {decltype(many){}, decltype(many){{0, ""}}, many}) {
        const auto file = reopened(markerList(positions), metadata, tagOf("fl32"));
        EXPECT_TRUE(markersOf(*file) == positions) << positions.size();
        EXPECT_EQ(file->metadata().dictionary(), metadata.dictionary());
        EXPECT_EQ(file->warnings() + file->chunksNotKept() + file->tagsNotKept(), QStringList());
    }
    EXPECT_EQ(reopened(nullptr, metadata, tagOf("ima4"))->metadata().dictionary(), metadata.dictionary());
}

TEST_F(VLAFCoreAudioFileTest, ReadsMarkersAndTagsOfOtherPrograms)
{
    const auto entry = [](double position, int ident) {
        BigEndianOutputStream stream;
        stream.writeUInt32(0);
        stream.writeFloat64(position);
        stream.writeSInt32(ident);
        stream.writeSInt64(-1);
        stream.writeUInt32(0);
        return stream.data();
    };
    const QByteArray none(4, '\0');
    const auto file = openCaf(caf(
        description() +
        chunkBytes("mark", none + bigEndian32(3) + entry(1000.4, 7) + entry(-3.0, 8) + entry(0.0, 9)) +
        chunkBytes("strg", bigEndian32(1) + bigEndian32(7) + QByteArray(8, '\0') + QByteArray("verse", 5)) +
        chunkBytes("info", bigEndian32(2) + QByteArray("title\0Song\0mood\0calm\0", 21)) +
        chunkBytes("uuid", "?") + dataChunk("abcd")));
    ASSERT_TRUE(file);
    EXPECT_EQ(markersOf(*file),
              (std::vector<std::pair<int64_t, QString>>{{1000, "verse"}, {0, "Marker"}, {0, "Marker"}}));
    EXPECT_EQ(file->metadata().title(), "Song");
    EXPECT_EQ(itemsOutside(*file, ItemKind::tag), QStringList("mood"));
    EXPECT_EQ(chunksOutside(*file), QStringList("data of another program (uuid)"));
    const auto alteredIn = [&](const QByteArray& marks) {
        const QByteArray all = none + bigEndian32(static_cast<quint32>(marks.size() / 28)) + marks;
        const auto opened = openCaf(caf(description() + chunkBytes("mark", all) + dataChunk("abcd")));
        return opened ? itemsOutside(*opened, ItemKind::value) : QStringList("not opened");
    };
    const QString moved = "positions of markers between two frames or before the first move";
    EXPECT_EQ(alteredIn(entry(0.0, 1) + entry(1000.0, 2)), QStringList());
    EXPECT_EQ(alteredIn(entry(0.0, 1) + entry(1000.4, 2)), QStringList(moved));
    EXPECT_EQ(alteredIn(entry(-1.0, 1)), QStringList(moved));
    EXPECT_EQ(alteredIn(entry(0.0, 2) + entry(1000.0, 1)), QStringList("markers are numbered anew"));
}

TEST_F(VLAFCoreAudioFileTest, NamesWhatASaveWouldDrop)
{
    const auto mark = [](quint32 kind, qint64 time, quint32 channel) {
        BigEndianOutputStream stream;
        stream.writeUInt32(0);
        stream.writeUInt32(1);
        stream.writeUInt32(kind);
        stream.writeFloat64(1.0);
        stream.writeSInt32(7);
        stream.writeSInt64(time);
        stream.writeUInt32(channel);
        return chunkBytes("mark", stream.data());
    };
    const QByteArray names =
        chunkBytes("strg", bigEndian32(2) + bigEndian32(7) + QByteArray(8, '\0') + bigEndian32(8) +
                               QByteArray(8, '\0') + QByteArray("verse", 6));
    const QByteArray twice = bigEndian32(3) + QByteArray("title\0One\0title\0Two\0title\0Two\0", 30);
    const QString more = "kinds, times and channels of markers (mark)";
    const struct {
        QByteArray chunks;
        QStringList parts;
        QStringList tags;
    } cases[] = {
        {chunkBytes("kuki", "x") + chunkBytes("free", "x") +
             chunkBytes("chan", bigEndian32(100U << 16 | 1) + QByteArray(8, '\0')) + mark(0, -1, 0),
         {},
         {}},
        {mark(1, -1, 0), {more}, {}},
        {mark(0, 5, 0), {more}, {}},
        {mark(0, 0, 1), {more}, {}},
        {mark(0, 0, 0) + names, {"names of other things than markers (strg)"}, {}},
        {names, {"names (strg)"}, {}},
        {chunkBytes("chan", bigEndian32(121U << 16 | 6) + QByteArray(8, '\0')) + chunkBytes("midi", "x") +
             chunkBytes("midi", "y") + chunkBytes("desc", "more"),
         {"channel layout (chan)", "MIDI data (midi) (2 times)", "another format (desc)"},
         {}},
        {chunkBytes("info", twice), {}, {"another title"}},
        {bytes("\1\2\3"), {"3 bytes behind the last chunk"}, {}},
    };
    for (const auto& c : cases) {
        const auto file = openCaf(caf(description() + dataChunk("abcd") + c.chunks));
        ASSERT_TRUE(file);
        EXPECT_EQ(chunksOutside(*file), c.parts);
        EXPECT_EQ(itemsOutside(*file, ItemKind::tag), c.tags);
    }
    EXPECT_EQ(openCaf(caf(description() + dataChunk("abcde")))->chunksNotKept(),
              QStringList("1 bytes behind the last frame"));
}

TEST_F(VLAFCoreAudioFileTest, OpensDamagedFilesAsFarAsTheyGo)
{
    const QString cutShort = "“in.caf” ends before its sound does; what it holds was opened.";
    const struct {
        const char* what;
        QByteArray file;
        size_t numSamples;
        QStringList warnings;
    } cases[] = {
        {"whole", caf(description() + dataChunk("abcdef")), 3, {}},
        {"open-ended", caf(description() + dataChunk("abcdef", -1)), 3, {}},
        {"a negative size", caf(description() + dataChunk("abcdef", -77)), 3, {}},
        {"an odd byte", caf(description() + dataChunk("abcdefg")), 3, {}},
        {"cut short", caf(description() + dataChunk("abcdef", 1000)), 3, {cutShort}},
        {"an enormous size",
         caf(description() + dataChunk("abcdef", std::numeric_limits<int64_t>::max())),
         3,
         {cutShort}},
        {"no sound", caf(description() + dataChunk("")), 0, {}},
        {"no room for the edits", caf(description() + chunkBytes("data", "")), 0, {}},
        {"sound first", caf(dataChunk("abcdef") + description()), 3, {}},
        {"24 bits in 4 bytes", caf(description(1, 0, 4, 24) + dataChunk("abcdefgh")), 2, {}},
        {"20 bits", caf(description(1, 0, 3, 20) + dataChunk("abcdef")), 2, {}},
        {"markers cut short",
         caf(description() + chunkBytes("mark", QByteArray(4, '\0') + bigEndian32(0xFFFFFFFF)) +
             dataChunk("abcdef")),
         3,
         {"Some markers of “in.caf” could not be read."}},
        {"capital letters", "CAFF" + caf(description() + dataChunk("abcdef")).mid(4), 3, {}},
    };
    const LogCapture log;
    for (const auto& c : cases) {
        const auto file = openCaf(c.file);
        ASSERT_TRUE(file) << c.what;
        EXPECT_EQ(framesOf(decoded(*file)).size(), c.numSamples) << c.what;
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
    }
    EXPECT_TRUE(log.hasLogged("Exception raised in -[VLAFCoreAudioFile writeMarkerChunkWithStream:]: the "
                              "chunks end before the last marker"));
}

TEST_F(VLAFCoreAudioFileTest, RefusesWhatCannotBeReadWithOneSentence)
{
    const QByteArray sound = dataChunk("abcd");
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {bytes("caff\0\2\0\0"), "“in.caf” is not a sound file that Velloria can read."},
        {caf(""), "“in.caf” cannot be read: its format chunk is missing."},
        {caf(sound), "“in.caf” cannot be read: its format chunk is missing."},
        {caf(chunkBytes("desc", "abc") + sound), "“in.caf” cannot be read: its format chunk is cut short."},
        {caf(description()), "“in.caf” cannot be read: it has no sound data."},
        {caf("desc" + QByteArray(8, '\xFF') + description().mid(12)),
         "“in.caf” cannot be read: it has no sound data."},
        {caf(description(0) + sound), "“in.caf” cannot be read: its header says that it has no channels."},
        {caf(description(100'000) + sound),
         "“in.caf” cannot be read: its header says that it has 100000 channels."},
        {caf(description(1, 0, 2, 16, std::nan("")) + sound),
         "“in.caf” cannot be read: its header gives a sample rate of nan Hz."},
        {caf(description(2, 0, 3) + sound),
         "“in.caf” cannot be read: its header gives 3 bytes to a frame of 2 samples."},
        {caf(description(1, 0, 0, 0) + sound),
         "“in.caf” holds 0-bit samples in 0 bytes, which Velloria cannot read."},
        {caf(description(1, 1, 2, 16) + sound),
         "“in.caf” holds 16-bit samples in 2 bytes, which Velloria cannot read."},
        {caf(description(1, 0, 0, 0xFFFFFFFF) + sound),
         "“in.caf” holds 4294967295-bit samples in 536870912 bytes, which Velloria cannot read."},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openCaf(c.file, &error)) << c.message.toStdString();
        ASSERT_TRUE(error) << c.message.toStdString();
        EXPECT_EQ(error->message.toStdString(), c.message.toStdString());
    }
}

TEST_F(VLAFCoreAudioFileTest, OffersItsEncodingsWithTheirSizes)
{
    VLAFCoreAudioFile file(44100.0, 16, 2);
    file.setNumberOfFrames(1000);
    EXPECT_EQ(file.fileOptions().label, "Data format:");
    QStringList lines;
    for (const FileOption& item : file.fileOptions().items)
        lines += QString("%1 %2").arg(item.title).arg(file.estimatedFileSizeWithTag(item.tag));
    EXPECT_EQ(lines.join('|').toStdString(),
              "IMA 4:1 2000|16-bit integer 5000|24-bit integer 7000|32-bit integer 9000|"
              "32-bit floating point 9000|64-bit floating point 17000");
    EXPECT_EQ(file.estimatedFileSizeWithTag(tagOf("raw ")), 5000.0);
    EXPECT_EQ(file.estimatedFileSizeWithTag(16), -1.0);
    EXPECT_EQ(file.fileOptions().selectedTag, tagOf("fl32"));
    file.setDataFormat(fourCharCode("lpcm"));
    for (const auto& [bits, tag] :
         {std::pair{8, tagOf("sowt")}, {16, tagOf("sowt")}, {24, tagOf("in24")}, {32, tagOf("in32")}}) {
        file.setBitsPerSample(static_cast<uint32_t>(bits));
        EXPECT_EQ(file.fileOptions().selectedTag, tag);
    }
    file.validateAndCorrectParameters();
    EXPECT_EQ(file.dataFormat(), fourCharCode("fl32"));
    EXPECT_EQ(file.bitsPerSample(), 32U);
    file.configureWithPopUpTag(tagOf("in24"));
    EXPECT_EQ(file.bitsPerSample(), 24U);
}

TEST_F(VLAFCoreAudioFileTest, SavesSelectionsAndStopsWhenCancelled)
{
    const TrackDocument document = noiseDocument(200'000, 3);
    const SoundSelection selection{1.0, 2.0, 1, 2};
    for (const int tag : {tagOf("fl32"), tagOf("sowt"), tagOf("ima4")}) {
        const auto selected = writer(3, tag);
        if (tag != tagOf("ima4"))
            selected->setMarkers(markerList({{1, "m"}}));
        save(*selected, "out.caf", document, &selection);
        const FloatBuffer frames = decodedFrames("out.caf");
        EXPECT_EQ(frames.size(), 2U * 44100);
        if (tag == tagOf("fl32")) {
            EXPECT_TRUE(frames == document.interleavedDataAtOffset(44100, 44100, 1, 2));
        }
        EXPECT_TRUE(markersOf(*opened("out.caf")).empty());

        const auto cancelled = writer(2, tag);
        cancelled->setFileHandle(newFile("cancelled.caf"));
        RecordingProgress progress(1);
        MaybeError error;
        EXPECT_FALSE(cancelled->saveDocument(document, nullptr, progress, &error));
        EXPECT_TRUE(error && error->isUserCancelled());
    }
    const auto absurd = writer(2, tagOf("fl64"));
    absurd->setFileHandle(newFile("absurd.caf"));
    SilentProgress progress;
    MaybeError error;
    EXPECT_FALSE(
        absurd->saveDocument(silence(std::numeric_limits<int64_t>::max(), 2), nullptr, progress, &error));
    EXPECT_TRUE(error && error->code == Error::Code::fileTooLarge);
}

} // namespace
} // namespace velloria
