#include "formats/wave/WaveFile.h"

#include "formats/kit/FileTestKit.h"
#include "formats/tags/Id3TestTags.h"

namespace velloria
{
namespace
{

using namespace test;

class WaveFileTest : public FileTest
{
protected:
    /// Saves silence with these markers and tags; the file object that wrote it.
    std::shared_ptr<WaveFile> save(const std::string& name, int64_t numFrames, uint32_t bits,
                                   uint32_t numChannels, const MarkerList& markers = {},
                                   const AudioMetadata& metadata = {}) const
    {
        const TrackDocument document(
            std::vector(numChannels, ClipList(AudioClipPtr(std::make_shared<AudioClip>(numFrames)))));
        auto file = std::make_shared<WaveFile>(44100.0, bits, numChannels);
        file->setFileHandle(newFile(name));
        file->setMarkers(markers);
        file->setMetadata(metadata);
        SilentProgress progress;
        MaybeError error;
        EXPECT_TRUE(file->saveDocument(document, nullptr, progress, &error)) << error->message.toStdString();
        return file;
    }
};

TEST_F(WaveFileTest, WritesTheHeaderByteByByte)
{
    const struct {
        uint32_t bits;
        uint32_t numChannels;
        int bytesPerSample;
    } cases[] = {{8, 1, 1}, {16, 1, 2}, {16, 2, 2}, {12, 2, 2}, {20, 1, 3}, {24, 2, 3}, {32, 3, 4}};
    for (const auto& c : cases) {
        save("out.wav", 5, c.bits, c.numChannels);
        const int frameSize = c.bytesPerSample * static_cast<int>(c.numChannels);
        const QByteArray format = littleEndian16(1) + littleEndian16(c.numChannels) + littleEndian32(44100) +
                                  littleEndian32(44100 * frameSize) + littleEndian16(frameSize) +
                                  littleEndian16(c.bits);
        const char silence = c.bits <= 8 ? '\x80' : '\0';
        const int numBytes = 5 * frameSize + 5 * frameSize % 2;
        EXPECT_EQ(bytesOf("out.wav"), "RIFF" + littleEndian32(36 + numBytes) + "WAVEfmt " +
                                          littleEndian32(16) + format + "data" +
                                          littleEndian32(5 * frameSize) + QByteArray(5 * frameSize, silence) +
                                          QByteArray(5 * frameSize % 2, '\0'))
            << c.bits << " bits";
    }
}

TEST_F(WaveFileTest, WritesMarkersTagsAndBroadcastChunksInThisOrderBehindTheSound)
{
    AudioMetadata metadata;
    metadata.setTitle("Lerche");
    metadata.setWaveBWFChunks({QByteArray("bext\3\0\0\0abc", 11), chunk("iXML", "<x/>")});
    const QByteArray tag = metadata.id3Data();
    save("out.wav", 3, 16, 1, markerList({{2, "ab"}, {1, "c"}}), metadata);
    const QByteArray marks = littleEndian16(2) + littleEndian16(0) + littleEndian32(2) + bytes("\2ab\0") +
                             littleEndian16(1) + littleEndian32(1) + bytes("\1c");
    const auto point = [](int64_t ident, int64_t position) {
        return littleEndian32(ident) + littleEndian32(position) + "data" + QByteArray(8, '\0') +
               littleEndian32(position);
    };
    const QByteArray cuePoints =
        chunk("cue ", littleEndian32(2) + point(1, 2) + point(2, 1)) +
        chunk("LIST", "adtl" + chunk("labl", bytes("\1\0\0\0ab\0")) + chunk("labl", bytes("\2\0\0\0c\0")));
    EXPECT_EQ(bytesOf("out.wav").mid(44 + 6),
              "MARK" + littleEndian32(marks.size()) + marks + "ID3 " + littleEndian32(tag.size()) + tag +
                  bytes("bext\3\0\0\0abc\0") + chunk("iXML", "<x/>") + cuePoints);
    EXPECT_EQ(bytesOf("out.wav").mid(4, 4), littleEndian32(bytesOf("out.wav").size() - 8));
}

TEST_F(WaveFileTest, ReadsItsOwnMarkersTagsAndChunksWhateverTheSoundsLength)
{
    AudioMetadata metadata;
    metadata.setArtist("Ж Æ");
    metadata.setTrackNumber(3);
    metadata.setWaveBWFChunks({chunk("bext", "odd"), chunk("axml", "even")});
    const MarkerList markers = markerList({{0, ""}, {7, "Ж"}, {0xFFFFFFFF, "end"}});
    for (const int64_t numFrames : {0, 1, 2, 3}) {
        save("out.wav", numFrames, 24, 1, markers, metadata);
        const auto file = AudioFileRegistry::audioFileWithPath(path("out.wav"), nullptr);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->numberOfFrames(), numFrames);
        EXPECT_EQ(markersOf(*file),
                  (std::vector<std::pair<int64_t, QString>>{{0, ""}, {7, "Ж"}, {0xFFFFFFFF, "end"}}));
        EXPECT_EQ(file->metadata().artist(), "Ж Æ");
        EXPECT_EQ(file->metadata().trackNumber(), 3);
        // Kept as read: without the pad byte.
        EXPECT_EQ(file->metadata().waveBWFChunks(),
                  (QList<QByteArray>{bytes("bext\3\0\0\0odd"), bytes("axml\4\0\0\0even")}));
        EXPECT_EQ(file->warnings() + file->chunksNotKept() + file->tagsNotKept(), QStringList());
    }
}

TEST_F(WaveFileTest, CutsMarkersToWhatTheChunkCanHold)
{
    std::vector<std::pair<int64_t, QString>> many(70000, {5, ""});
    many[0] = {int64_t{1} << 40, QString(254, 'a') + "Ж"};
    many[1] = {-1, QString(300, 'b')};
    save("out.wav", 1, 16, 1, markerList(many));
    const QByteArray file = bytesOf("out.wav");
    const QByteArray count = bytes("\xFF\xFF\0\0\xFF\xFF\xFF\xFF\xFE");
    EXPECT_EQ(file.mid(file.indexOf("MARK") + 8, 9 + 254), count + QByteArray(254, 'a'));
    EXPECT_EQ(file.mid(file.indexOf("bbb") - 1, 257), '\xFF' + QByteArray(255, 'b') + '\2');
    // Cue points hold them all, and the whole names.
    const auto markers = markersOf(*AudioFileRegistry::audioFileWithPath(path("out.wav"), nullptr));
    ASSERT_EQ(markers.size(), 70000U);
    EXPECT_EQ(markers[0], std::pair(int64_t{0xFFFFFFFF}, QString(254, 'a') + "Ж"));
    EXPECT_EQ(markers[1], std::pair(int64_t{0}, QString(300, 'b')));
}

TEST_F(WaveFileTest, ReadsPCMInPlace)
{
    const struct {
        WaveFields fields;
        QByteArray stored;
        uint32_t bits;
        QByteArray samples;
    } cases[] = {
        {{1, 1, 8000, 8}, bytes("\x00\x80\xFF"), 8, bytes("\x80\x00\x7F")},
        {{1, 2, 44100, 16}, bytes("\1\2\3\4\5\6\7\x88"), 16, bytes("\1\2\3\4\5\6\7\x88")},
        {{1, 1, 96000, 24}, bytes("\1\2\3\4\5\6"), 24, bytes("\1\2\3\4\5\6")},
        // The room in the frame counts, not the bits.
        {{1, 1, 48000, 24, 4}, bytes("\0\1\2\3"), 32, bytes("\0\1\2\3")},
        {{1, 2, 48000, 12, 4}, bytes("\1\2\3\4"), 16, bytes("\1\2\3\4")},
        {{1, 1, 48000, 5, 1}, bytes("\x90"), 8, bytes("\x10")},
        // A width of 0 says nothing.
        {{1, 1, 48000, 0, 2}, bytes("\1\2"), 16, bytes("\1\2")},
        {{1, 1, 48000, 0, 1}, bytes("\x90"), 8, bytes("\x10")},
        // An incomplete frame is no frame.
        {{1, 2, 44100, 16}, bytes("\1\2\3\4\5\6"), 16, bytes("\1\2\3\4")},
    };
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openBytes(wave(c.fields, c.stored), &error);
        ASSERT_TRUE(file) << error->message.toStdString();
        EXPECT_FALSE(file->requiresConversion());
        EXPECT_TRUE(file->isLittleEndian());
        EXPECT_EQ(file->bitsPerSample(), c.bits);
        EXPECT_EQ(file->channelCount(), c.fields.numChannels);
        EXPECT_EQ(file->sampleRate(), static_cast<double>(c.fields.sampleRate));
        EXPECT_EQ(file->soundDataOffset(), 44);
        EXPECT_EQ(file->encodingDescription(), QString("%1-bit integer").arg(c.bits));
        EXPECT_EQ(signedSamples(*file), c.samples);
    }
}

TEST_F(WaveFileTest, LeavesOtherEncodingsToTheDecoder)
{
    const QByteArray guid = bytes("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71");
    const auto extensible = [&guid](int bits, int subFormat) {
        return formatPayload({0xFFFE, 2, 48000, bits}) + littleEndian16(22) + littleEndian16(bits) +
               littleEndian32(3) + littleEndian16(subFormat) + guid;
    };
    const struct {
        QByteArray format;
        QString description;
        uint32_t bits;
        bool isFloat;
    } cases[] = {
        {formatPayload({3, 1, 44100, 32}), "32-bit floating point", 32, true},
        {formatPayload({3, 1, 44100, 64}), "64-bit floating point", 64, true},
        {formatPayload({0x11, 1, 8000, 4, 256}), "IMA ADPCM", 16, false},
        {formatPayload({0x55, 1, 8000, 0, 1}), "MP3", 16, false},
        {formatPayload({7, 1, 8000, 8}), "mu-law", 16, false},
        {formatPayload({0x1234, 1, 8000, 8}), "format 0x1234", 16, false},
        {formatPayload({0, 1, 8000, 8}), "format 0x0000", 16, false},
        {formatPayload({6, 1, 8000, 8}).left(14), "A-law", 16, false},
        {extensible(24, 1), "extensible (24-bit integer)", 24, false},
        {extensible(32, 3), "extensible (32-bit floating point)", 32, true},
        {formatPayload({0xFFFE, 2, 8000, 8}), "extensible (format 0x0000)", 16, false},
    };
    for (const auto& c : cases) {
        const LogCapture log;
        AudioMetadata metadata;
        metadata.setTitle("kept");
        const auto file = openBytes(
            riff(chunk("fmt ", c.format) + chunk("data", "12345678") + chunk("ID3 ", metadata.id3Data())));
        ASSERT_TRUE(file) << c.description.toStdString();
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->encodingDescription(), c.description);
        EXPECT_EQ(file->bitsPerSample(), c.bits) << c.description.toStdString();
        EXPECT_EQ(file->isFloat(), c.isFloat);
        EXPECT_EQ(file->metadata().title(), "kept");
        EXPECT_EQ(log.logged(), QStringList("WAV file is not PCM and requires conversion."));
    }
}

TEST_F(WaveFileTest, NamesTheChunksAndTagsThatAreNotInTheModel)
{
    const LogCapture log;
    const QByteArray tags =
        tag(3, version3Frame("TIT2", bytes("\0Title")) + version3Frame("TEXT", bytes("\0Poet")) +
                   version3Frame("TLEN", bytes("\0001000")));
    const QByteArray software = chunk("LIST", "INFO" + chunk("ISFT", "Some program"));
    const QByteArray info =
        chunk("LIST", "INFO" + chunk("ISFT", "Some program") + chunk("IART", "Artist") + chunk("IXYZ", "?"));
    const QByteArray labels =
        chunk("LIST", "adtl" + chunk("labl", "1234a") + chunk("labl", "1234b") + chunk("note", "1234c"));
    const struct {
        QByteArray trailing;
        QStringList chunks;
        QStringList tags;
    } cases[] = {
        {chunk("fact", "1234") + chunk("JUNK", "1234") + chunk("PAD ", "x") + chunk("FLLR", "x") +
             chunk("cue ", "") + software + QByteArray(5, '\0'),
         {},
         {}},
        {chunk("PEAK", "1234") + chunk("cue ", "1234") + chunk("smpl", "1234") + info + labels +
             chunk("LIST", "abcd1234"),
         {"cue labels (labl) (2 times)", "cue notes (note)", "cue points (cue )", "peak levels (PEAK)",
          "sampler loops (smpl)", "LIST (abcd)"},
         {"IXYZ"}},
        {chunk("bext", "1") + chunk("bext", "2") + chunk("data", "more") + chunk("fmt ", "more") +
             chunk("LGWV", "x") + chunk("LGWV", "y") + chunk("a\1\xFF\x62", "x"),
         {"broadcast description (bext)", "more sound data (data)", "another format (fmt )", "LGWV (2 times)",
          "a??b"},
         {}},
        {chunk("id3 ", tags), {}, {}},
        {chunk("ID3 ", "rubbish"), {"tags (ID3 )"}, {}},
        {chunk("MARK", littleEndian16(9)), {"damaged markers (MARK)"}, {}},
        {"LIST" + littleEndian32(99) + "INFO" + chunk("IART", "cut"), {}, {"artist (IART)"}},
        {bytes("\1\2\3"), {"3 bytes behind the last chunk"}, {}},
    };
    for (const auto& c : cases) {
        const auto file = openBytes(wave({}, "abcd", c.trailing));
        ASSERT_TRUE(file);
        const auto isOutside = [](const FileItem& item) {
            return item.keeping == Keeping::asBytes || item.keeping == Keeping::notKept;
        };
        EXPECT_EQ(file->ledger().namesOf(ItemKind::part, isOutside), c.chunks);
        EXPECT_EQ(file->ledger().namesOf(ItemKind::tag, isOutside), c.tags);
    }
    EXPECT_EQ(openBytes(wave({}, "abcdef"))->chunksNotKept(), QStringList("2 bytes behind the last frame"));
    EXPECT_EQ(openBytes(wave({}, "abcd") + bytes("\1rubbish"))->chunksNotKept(),
              QStringList("8 bytes behind the last chunk"));
}

TEST_F(WaveFileTest, KeepsThePlacesOfSpeakersOrSaysThatTheyAreLost)
{
    const LogCapture log;
    const QByteArray guid = bytes("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71");
    const struct {
        int numChannels;
        int64_t mask;
        bool isLost;
    } cases[] = {{1, 4, false},   {2, 3, false},    {2, 0, false}, {6, 0, false},
                 {6, 0x3F, true}, {2, 0x600, true}, {1, 3, true}};
    for (const auto& c : cases) {
        const QByteArray format = formatPayload({0xFFFE, c.numChannels, 48000, 16}) + littleEndian16(22) +
                                  littleEndian16(16) + littleEndian32(c.mask) + guid;
        const auto file = openBytes(riff(chunk("fmt ", format) + chunk("data", "")));
        const auto lostBy = [&](uint32_t bits, uint32_t numChannels) {
            WaveFile writer(48000.0, bits, numChannels);
            writer.setOpenedFile(file);
            return file->ledger().namesOf(
                ItemKind::part, [&writer](const FileItem& item) { return !writer.willWrite(item); });
        };
        const auto numChannels = static_cast<uint32_t>(c.numChannels);
        const QStringList lost = c.isLost ? QStringList("places of the speakers (fmt )") : QStringList();
        EXPECT_EQ(lostBy(16, numChannels), QStringList()) << c.numChannels << " channels, mask " << c.mask;
        EXPECT_EQ(lostBy(24, numChannels), lost);
        EXPECT_EQ(lostBy(16, numChannels + 1), lost);
    }
}

TEST_F(WaveFileTest, WritesAgainWhatTheFormatSaysBesideTheShapeOfTheSamples)
{
    const LogCapture log;
    const QByteArray guid = bytes("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71");
    const QByteArray ambisonic = bytes("\1\0\0\0\x21\7\xD3\x11\x86\x44\xC8\xC1\xCA\0\0\0");
    const QByteArray plain = formatPayload({1, 2, 44100, 16});
    const auto extensible = [](int bits, int64_t mask, const QByteArray& subFormat) {
        return formatPayload({0xFFFE, 2, 44100, 16}) + littleEndian16(22) + littleEndian16(bits) +
               littleEndian32(mask) + subFormat;
    };
    const struct {
        const char* what;
        QByteArray before;
        QByteArray after;
    } cases[] = {
        {"speakers", extensible(16, 0x600, guid), extensible(16, 0x600, guid)},
        {"another sub-format", extensible(16, 0, ambisonic), extensible(16, 0, ambisonic)},
        {"fewer valid bits", extensible(12, 0x600, guid), extensible(16, 0x600, guid)},
        {"more bytes", plain + bytes("\0\0EXTRA!"), plain + bytes("\0\0EXTRA!")},
        {"an odd number of bytes", plain + bytes("\0\0odd"), plain + bytes("\0\0odd")},
        {"nothing more", extensible(16, 3, guid), plain},
        {"an empty extension", plain + bytes("\0\0"), plain},
        {"an extension that is cut short", extensible(16, 0x600, guid).left(30), plain},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto file = openBytes(riff(chunk("fmt ", c.before) + chunk("data", "abcdefgh")));
        ASSERT_TRUE(file);
        const TrackDocument document(
            std::vector(2, ClipList(AudioClipPtr(std::make_shared<AudioClip>(int64_t{5})))));
        const auto saveOver = [&](const std::shared_ptr<const AudioFile>& opened, const std::string& name) {
            const auto next = std::make_shared<WaveFile>(44100.0, 16, 2);
            next->setOpenedFile(opened);
            next->setFileHandle(newFile(name));
            SilentProgress progress;
            EXPECT_TRUE(next->saveDocument(document, nullptr, progress, nullptr));
            EXPECT_EQ(bytesOf(name), riff(chunk("fmt ", c.after) + chunk("data", QByteArray(20, '\0'))));
            next->takeOverLedger();
            return next;
        };
        saveOver(saveOver(file, "once.wav"), "twice.wav");
    }
}

TEST_F(WaveFileTest, SaysThatNarrowSamplesBecomeAsWideAsTheirRoom)
{
    const LogCapture log;
    const QByteArray guid = bytes("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71");
    const auto toldOf = [this](const QByteArray& format) {
        const auto file = openBytes(riff(chunk("fmt ", format) + chunk("data", "abcdef")));
        EXPECT_TRUE(file);
        return file ? file->ledger().namesNotKept(ItemKind::value) : QStringList();
    };
    const auto extensible = [&](int roomBits, int bits, int validBits = 0) {
        return formatPayload({0xFFFE, 1, 48000, roomBits}).left(14) + littleEndian16(bits) +
               littleEndian16(22) + littleEndian16(validBits) + littleEndian32(4) + guid;
    };
    EXPECT_EQ(toldOf(formatPayload({1, 1, 48000, 16}).left(14) + littleEndian16(12)),
              QStringList("samples of 12 bits become 16 bits wide"));
    EXPECT_EQ(toldOf(extensible(24, 20)), QStringList("samples of 20 bits become 24 bits wide"));
    EXPECT_EQ(toldOf(extensible(24, 24, 20)), QStringList("samples of 20 bits become 24 bits wide"));
    EXPECT_EQ(toldOf(extensible(24, 24, 24)), QStringList());
    EXPECT_EQ(toldOf(formatPayload({1, 1, 48000, 16})), QStringList());
    EXPECT_EQ(toldOf(extensible(24, 24)), QStringList());
}

TEST_F(WaveFileTest, PadsSoundOfOddLengthSoThatOthersFindWhatStandsBehind)
{
    AudioMetadata metadata;
    metadata.setTitle("Behind");
    save("out.wav", 5, 8, 1, markerList({{1, "m"}}), metadata);
    const QByteArray file = bytesOf("out.wav");
    // The pad byte counts in the size of the whole, not in that of the sound.
    EXPECT_EQ(file.mid(40, 4), littleEndian32(5));
    EXPECT_EQ(file.mid(49, 5), bytes("\0MARK"));
    EXPECT_EQ(file.mid(4, 4), littleEndian32(file.size() - 8));
    EXPECT_TRUE(
        run("ffprobe", {"-v", "error", "-show_format", argument("out.wav")}).contains("title=Behind"));
    // Without anything behind it, too.
    save("out.wav", 3, 24, 1);
    EXPECT_EQ(bytesOf("out.wav").size(), 44 + 10);
    // Files of before, without the byte, stay readable.
    QByteArray without = file;
    without.remove(49, 1);
    const auto old = openBytes(without);
    EXPECT_EQ(markersOf(*old).size(), 1U);
    EXPECT_EQ(old->metadata().title(), "Behind");
    EXPECT_EQ(old->chunksNotKept(), QStringList());
}

TEST_F(WaveFileTest, WritesSamplesOnlyInSizesThatItCanRead)
{
    for (const auto& [given, corrected] : {std::pair(0U, 16U), {16U, 16U}, {32U, 32U}, {64U, 32U}}) {
        WaveFile file(44100.0, given, 2);
        file.validateAndCorrectParameters();
        EXPECT_EQ(file.bitsPerSample(), corrected);
    }
    EXPECT_EQ(WaveFile(44100.0, 24, 1).maximumNumberOfChannels(), 21845U);
}

TEST_F(WaveFileTest, LogsItsChunksForADiagnosis)
{
    const auto file = std::dynamic_pointer_cast<WaveFile>(openBytes(wave({}, "abcd", chunk("bext", "x"))));
    ASSERT_TRUE(file);
    const LogCapture log;
    file->logAllChunks();
    EXPECT_EQ(log.logged(), (QStringList{"==== File: " + argument("in.wav") + " =====", "File size 58",
                                         "RIFF size 50", "    fmt  size 16", "    data size 4",
                                         "    bext size 1", "==== End of WAV File ====="}));
}

} // namespace
} // namespace velloria
