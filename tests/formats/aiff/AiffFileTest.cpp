#include "formats/aiff/AiffFile.h"

#include "formats/kit/LedgerKit.h"
#include "formats/kit/SavingTestKit.h"
#include "formats/wave/WaveFile.h"

namespace velloria
{
namespace
{

using namespace test;

class AiffFileTest : public SavingTest
{
protected:
    /// Saves silence with these markers and tags.
    void saveSilence(const std::string& name, int64_t numFrames, uint32_t bits, uint32_t numChannels,
                     const MarkerList& markers = {}, const AudioMetadata& metadata = {}) const
    {
        AiffFile file(44100.0, bits, numChannels);
        file.setMarkers(markers);
        file.setMetadata(metadata);
        save(file, name, silence(numFrames, numChannels));
    }

    std::shared_ptr<AudioFile> openAiff(const QByteArray& bytes) const
    {
        makeFile("in.aif", bytes);
        return opened("in.aif");
    }
};

TEST_F(AiffFileTest, WritesTheHeaderByteByByte)
{
    const struct {
        uint32_t bits;
        uint32_t numChannels;
        int bytesPerSample;
    } cases[] = {{8, 1, 1}, {16, 1, 2}, {16, 2, 2}, {12, 2, 2}, {20, 1, 3}, {24, 2, 3}, {32, 3, 4}};
    for (const auto& c : cases) {
        saveSilence("out.aif", 5, c.bits, c.numChannels);
        const int numBytes = 5 * c.bytesPerSample * static_cast<int>(c.numChannels);
        const int numPadBytes = numBytes % 2;
        EXPECT_EQ(bytesOf("out.aif"),
                  "FORM" + bigEndian32(static_cast<quint32>(46 + numBytes + numPadBytes)) + "AIFFCOMM" +
                      bigEndian32(18) + bigEndian16(c.numChannels) + bigEndian32(5) + bigEndian16(c.bits) +
                      extended44100 + "SSND" + bigEndian32(static_cast<quint32>(8 + numBytes)) +
                      QByteArray(8 + numBytes + numPadBytes, '\0'))
            << c.bits << " bits";
    }
}

TEST_F(AiffFileTest, WritesSampleRatesAsExtendedFloats)
{
    const struct {
        double rate;
        QByteArray stored;
    } cases[] = {
        {1.0, bytes("\x3F\xFF\x80\0\0\0\0\0\0\0")},
        {8000.0, bytes("\x40\x0B\xFA\0\0\0\0\0\0\0")},
        {22050.0, bytes("\x40\x0D\xAC\x44\0\0\0\0\0\0")},
        {48000.0, bytes("\x40\x0E\xBB\x80\0\0\0\0\0\0")},
        {96000.0, bytes("\x40\x0F\xBB\x80\0\0\0\0\0\0")},
        {192000.0, bytes("\x40\x10\xBB\x80\0\0\0\0\0\0")},
        // 44100 divided by 1.001: 0xAC18 and a fraction.
        {44055.5, bytes("\x40\x0E\xAC\x17\x80\0\0\0\0\0")},
        {0x1.123456789ABCDp+15, bytes("\x40\x0E\x89\x1A\x2B\x3C\x4D\x5E\x68\0")},
    };
    for (const auto& c : cases) {
        AiffFile file(c.rate, 16, 1);
        save(file, "out.aif", silence(1));
        EXPECT_EQ(bytesOf("out.aif").mid(28, 10), c.stored) << c.rate;
        EXPECT_EQ(opened("out.aif")->sampleRate(), c.rate);
    }
}

TEST_F(AiffFileTest, WritesItsChunksInThisOrder)
{
    AudioMetadata metadata;
    metadata.setTitle("Lerche");
    metadata.setArtist("Åse");
    metadata.setCopyright("©");
    metadata.setComments("x Ж ŏ e\u0301 𝄞");
    metadata.setAiffInstrumentChunk("instrument");
    metadata.setAiffMIDIChunk("odd");
    metadata.setAiffAudioRecordingChunk("AESD");
    metadata.setAiffCommentChunk("comment");
    const MarkerList markers = markerList({{2, "ab"}, {0x1FFFFFFFF, "Ü"}, {-1, ""}});
    const QByteArray tag = metadata.id3Data();
    saveSilence("out.aif", 3, 8, 1, markers, metadata);
    const QByteArray marks = bigEndian16(3) +                                      //
                             bigEndian16(0) + bigEndian32(2) + bytes("\2ab\0") +   //
                             bigEndian16(1) + bigEndian32(0xFFFFFFFF) + "\1\x86" + //
                             bigEndian16(2) + bigEndian32(0) + QByteArray(2, '\0');
    // Of even length by itself, for programs that do not know this chunk and forget its pad byte.
    QByteArray archive = archivedMarkers(markers);
    archive += QByteArray(archive.size() % 2, '\0');
    const QByteArray expected =
        iffChunk("COMM", commonPayload({1, 3, 8})) + iffChunk("MARK", marks) + iffChunk("uMrk", archive) +
        iffChunk("NAME", "Lerche") + iffChunk("AUTH", "\x81se") + iffChunk("(c) ", "\xA9") +
        iffChunk("ANNO", "x ? o \x8E ?") + iffChunk("INST", "instrument") + iffChunk("MIDI", "odd") +
        iffChunk("AESD", "AESD") + iffChunk("COMT", "comment") + soundChunk(QByteArray(3, '\0')) +
        // The odd sound has a pad byte, the tag has none.
        '\0' + "ID3 " + bigEndian32(static_cast<quint32>(tag.size())) + tag;
    EXPECT_EQ(bytesOf("out.aif"), form("AIFF", expected));
}

TEST_F(AiffFileTest, ReadsItsOwnMarkersTagsAndChunksWhateverTheSoundsLength)
{
    AudioMetadata metadata;
    metadata.setTitle("Title");
    metadata.setArtist("Ж Æ");
    metadata.setTrackNumber(3);
    metadata.setArtwork({*AttachedPicture::withPictureData(bytes("\x89PNG picture"))});
    metadata.setAiffInstrumentChunk(QByteArray(20, 'i'));
    metadata.setAiffMIDIChunk(bytes("\xF0\0\xF7"));
    metadata.setAiffAudioRecordingChunk(QByteArray(24, 'a'));
    metadata.setAiffCommentChunk("c");
    // What every tag says.
    metadata.setEncodingApplication("Velloria");
    const MarkerList markers = markerList({{0, ""}, {int64_t{1} << 40, "Ж"}, {7, "日本語 עברית"}});
    for (const int64_t numFrames : {0, 1, 2, 3}) {
        saveSilence("out.aif", numFrames, 24, 1, markers, metadata);
        const auto file = opened("out.aif");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->numberOfFrames(), numFrames);
        EXPECT_EQ(markersOf(*file), (std::vector<std::pair<int64_t, QString>>{
                                        {0, ""}, {int64_t{1} << 40, "Ж"}, {7, "日本語 עברית"}}));
        EXPECT_TRUE(file->metadata() == metadata);
        // The artist's text chunk holds what Mac Roman can, the tag all of it.
        EXPECT_EQ(file->warnings() + file->tagsNotKept(), QStringList());
        EXPECT_EQ(file->chunksNotKept(), QStringList());
    }
}

TEST_F(AiffFileTest, KeepsTenThousandMarkersWithLongNames)
{
    std::vector<std::pair<int64_t, QString>> many;
    for (int i = 0; i < 10000; ++i)
        many.emplace_back(i * 100, QString(300, QChar(0x0410 + i % 32)) + QString::number(i));
    saveSilence("out.aif", 1, 16, 1, markerList(many));
    EXPECT_EQ(markersOf(*opened("out.aif")), many);

    // Without the private chunk, what every program can read is left: 255 bytes of Mac Roman.
    QByteArray file = bytesOf("out.aif");
    file.replace("uMrk", "APPL");
    makeFile("plain.aif", file);
    const auto markers = markersOf(*opened("plain.aif"));
    ASSERT_EQ(markers.size(), many.size());
    EXPECT_EQ(markers[9999], std::pair(int64_t{999900}, QString(255, '?')));
}

TEST_F(AiffFileTest, SaysWhatASaveWouldLoseOfMarkers)
{
    const QByteArray marks = bigEndian16(1) + bigEndian16(300) + bigEndian32(7) + "\1a";
    const QByteArray ours = archivedMarkers(markerList({{1, "one"}}));
    const struct {
        QByteArray chunks;
        QStringList parts;
    } cases[] = {
        {iffChunk("MARK", marks), {}},
        // Another program changed the public markers.
        {iffChunk("MARK", marks) + iffChunk("uMrk", ours), {"markers (MARK)"}},
        {iffChunk("MARK", marks) + iffChunk("uMrk", "bplist00..."), {"markers (uMrk)"}},
        {iffChunk("MARK", marks) + iffChunk("uMrk", archivedMarkers(nullptr)), {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(chunksOutside(*openAiff(aiff({}, "abcd", c.chunks))), c.parts);
}

TEST_F(AiffFileTest, PadsSoundOfOddLengthSoThatOthersFindWhatStandsBehind)
{
    AudioMetadata metadata;
    metadata.setTitle("Behind");
    saveSilence("out.aif", 5, 24, 1, markerList({{1, "m"}}), metadata);
    const QByteArray file = bytesOf("out.aif");
    const qsizetype sound = file.indexOf("SSND");
    // The pad byte counts in the size of the whole, not in that of the sound.
    EXPECT_EQ(file.mid(sound + 4, 4), bigEndian32(8 + 15));
    EXPECT_EQ(file.mid(sound + 16 + 15, 5), bytes("\0ID3 "));
    EXPECT_EQ(file.mid(4, 4), bigEndian32(static_cast<quint32>(file.size() - 8)));
    EXPECT_EQ(probed("out.aif")["format"].toObject()["tags"].toObject()["title"].toString(), "Behind");
    QByteArray without = file;
    without.remove(sound + 16 + 15, 1);
    const auto old = openAiff(without);
    EXPECT_EQ(old->metadata().title(), "Behind");
    EXPECT_EQ(old->chunksNotKept(), QStringList());
}

TEST_F(AiffFileTest, KeepsMoreMarkersThanThePublicChunkCanCount)
{
    const std::vector<std::pair<int64_t, QString>> many(70000, {5, "m"});
    saveSilence("out.aif", 1, 16, 1, markerList(many));
    EXPECT_EQ(markersOf(*opened("out.aif")).size(), 70000U);
    QByteArray file = bytesOf("out.aif");
    makeFile("plain.aif", file.replace("uMrk", "APPL"));
    EXPECT_EQ(markersOf(*opened("plain.aif")).size(), 65535U);
}

TEST_F(AiffFileTest, ReadsMarkersOfOtherPrograms)
{
    // IDs may be anything, names of even length have a pad byte, and some private record is of no use to us.
    const QByteArray marks = bigEndian16(3) + bigEndian16(300) + bigEndian32(7) + "\1a" + bigEndian16(-2) +
                             bigEndian32(0xFFFFFFFF) + bytes("\2\x80\xE7\0") + bigEndian16(1) +
                             bigEndian32(9) + QByteArray(2, '\0');
    const auto file = openAiff(
        aiff({}, "abcd", iffChunk("MARK", marks) + iffChunk("uMrk", "bplist00...") + iffChunk("ODD ", "x")));
    EXPECT_EQ(markersOf(*file),
              (std::vector<std::pair<int64_t, QString>>{{7, "a"}, {0xFFFFFFFF, "ÄÁ"}, {9, ""}}));
    EXPECT_EQ(file->markers()->at(0)->ident(), 300);
    EXPECT_EQ(file->markers()->at(1)->ident(), -2);

    const QByteArray empty = archivedMarkers(nullptr);
    EXPECT_EQ(markersOf(*openAiff(aiff({}, "", iffChunk("uMrk", empty) + iffChunk("MARK", marks)))).size(),
              3U);
    const QByteArray one = archivedMarkers(markerList({{1, "one"}}));
    EXPECT_EQ(markersOf(*openAiff(aiff({}, "", iffChunk("MARK", marks) + iffChunk("uMrk", one)))),
              (std::vector<std::pair<int64_t, QString>>{{1, "one"}}));
}

TEST_F(AiffFileTest, ReadsTagsFromTextChunksUnlessThereIsATag)
{
    const QByteArray texts = iffChunk("NAME", bytes("Stra\xA7"
                                                    "e\0\0")) +
                             iffChunk("AUTH", "\x81se") + iffChunk("(c) ", "\xA9 \xDB") +
                             iffChunk("ANNO", "first") + iffChunk("ANNO", "second");
    const auto plain = openAiff(aiff({}, "abcd", texts));
    EXPECT_EQ(plain->metadata().title(), "Straße");
    EXPECT_EQ(plain->metadata().artist(), "Åse");
    EXPECT_EQ(plain->metadata().copyright(), "© €");
    EXPECT_EQ(plain->metadata().comments(), "first");
    EXPECT_EQ(chunksOutside(*plain), QStringList("annotation (ANNO)"));

    AudioMetadata metadata;
    metadata.setTitle("Straße ");
    metadata.setAlbum("Album");
    metadata.setEncodingApplication("Velloria");
    const auto tagged = openAiff(aiff({}, "abcd", texts, iffChunk("ID3 ", metadata.id3Data())));
    EXPECT_TRUE(tagged->metadata() == metadata);
    EXPECT_EQ(chunksOutside(*tagged),
              (QStringList{"author (AUTH)", "copyright (\x28\x63) )", "annotation (ANNO) (2 times)"}));
}

TEST_F(AiffFileTest, ReadsSamplesInPlaceWhateverTheirSize)
{
    const struct {
        AiffFields fields;
        QByteArray stored;
        QByteArray samples;
    } cases[] = {
        {{1, 0, 8}, bytes("\x80\x00\x7F"), bytes("\x80\x00\x7F")},
        {{1, 0, 3}, bytes("\x20"), bytes("\x20")},
        {{2, 0, 16}, bytes("\1\2\3\4\5\6\7\x88"), bytes("\2\1\4\3\6\5\x88\7")},
        {{1, 0, 12}, bytes("\x12\x30"), bytes("\x30\x12")},
        {{1, 0, 24}, bytes("\1\2\3\4\5\6"), bytes("\3\2\1\6\5\4")},
        {{1, 0, 20}, bytes("\1\2\x30"), bytes("\x30\2\1")},
        {{1, 0, 32}, bytes("\1\2\3\4"), bytes("\4\3\2\1")},
        // An incomplete frame is no frame.
        {{2, 0, 16}, bytes("\1\2\3\4\5\6"), bytes("\2\1\4\3")},
    };
    for (const auto& c : cases) {
        const auto file = openAiff(aiff(c.fields, c.stored));
        ASSERT_TRUE(file);
        EXPECT_FALSE(file->requiresConversion());
        EXPECT_FALSE(file->isLittleEndian());
        EXPECT_FALSE(file->isFloat());
        EXPECT_EQ(file->bitsPerSample(), static_cast<uint32_t>(c.fields.bits));
        EXPECT_EQ(file->encodingDescription(), QString("%1-bit integer").arg(c.fields.bits));
        EXPECT_EQ(file->channelCount(), c.fields.numChannels);
        EXPECT_EQ(file->soundDataOffset(), 54);
        EXPECT_EQ(signedSamples(*file), c.samples) << c.fields.bits;
    }
}

TEST_F(AiffFileTest, FindsTheFirstSampleOfAlignedSound)
{
    const QByteArray sound =
        "SSND" + bigEndian32(8 + 5 + 4) + bigEndian32(5) + bigEndian32(512) + "12345abcd";
    const auto file =
        openAiff(form("AIFF", iffChunk("ODD ", "1") + iffChunk("COMM", commonPayload({2, 1})) + sound));
    EXPECT_EQ(file->soundDataOffset(), 12 + 10 + 26 + 16 + 5);
    EXPECT_EQ(signedSamples(*file), "badc");
}

TEST_F(AiffFileTest, CarriesSamplesOverFromAndToWaveFiles)
{
    for (const int bits : {8, 16, 24, 32}) {
        // Longer than a pass of the save loop, and an odd number of frames.
        const int bytesPerSample = bits / 8;
        const QByteArray stored = noiseBytes(qsizetype{40001} * 2 * bytesPerSample, 11);
        makeFile("in.wav", wave({1, 2, 44100, bits}, stored));
        AiffFile aiffFile(44100.0, static_cast<uint32_t>(bits), 2);
        save(aiffFile, "out.aif", documentOf(opened("in.wav")));
        QByteArray expected = reversedSamples(stored, bytesPerSample);
        if (bits == 8) {
            for (char& sample : expected)
                sample = static_cast<char>(sample ^ 0x80);
        }
        EXPECT_TRUE(bytesOf("out.aif").mid(54) == expected) << bits;

        const auto reread = opened("out.aif");
        WaveFile waveFile(44100.0, static_cast<uint32_t>(bits), 2);
        save(waveFile, "out.wav", documentOf(reread));
        EXPECT_TRUE(bytesOf("out.wav").mid(44) == stored) << bits;
        // Within the format the bytes are copied as they are.
        AiffFile copy(44100.0, static_cast<uint32_t>(bits), 2);
        EXPECT_TRUE(copy.storesSamplesLike(*reread));
        EXPECT_EQ(waveFile.storesSamplesLike(*reread), false);
        save(copy, "copy.aif", documentOf(reread));
        EXPECT_TRUE(bytesOf("copy.aif") == bytesOf("out.aif")) << bits;
    }
}

TEST_F(AiffFileTest, SavesASelectionWithoutMarkers)
{
    const QByteArray stored = noiseBytes(qsizetype{44100} * 6, 3);
    const auto source = openAiff(aiff({3, 0, 16}, stored));
    SoundSelection selection;
    selection.startTime = 0.25;
    selection.endTime = 0.5;
    selection.firstTrack = 1;
    selection.numTracks = 2;
    AiffFile file(44100.0, 16, 3);
    file.setMarkers(markerList({{1, "m"}}));
    save(file, "out.aif", documentOf(source), &selection);
    QByteArray expected;
    for (int frame = 11025; frame < 22050; ++frame)
        expected += stored.mid(frame * 6 + 2, 4);
    EXPECT_EQ(bytesOf("out.aif").left(46).mid(20, 6), bigEndian16(2) + bigEndian32(11025));
    EXPECT_TRUE(bytesOf("out.aif").mid(54) == expected);
}

TEST_F(AiffFileTest, RefusesFilesOfMoreThanFourGigabytesBeforeAnySample)
{
    SilentProgress progress;
    for (const int64_t numFrames : {int64_t{0x3FFFFFFF}, int64_t{1} << 60}) {
        AiffFile file(44100.0, 32, 1);
        file.setFileHandle(newFile("out.aif"));
        MaybeError error;
        EXPECT_FALSE(file.saveDocument(silence(numFrames), nullptr, progress, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->message, "Cannot save files over 4 GB in size in this format.");
        EXPECT_EQ(bytesOf("out.aif"), "");
    }
}

TEST_F(AiffFileTest, WritesSamplesOnlyInSizesThatItCanRead)
{
    for (const auto& [given, corrected] : {std::pair(0U, 16U), {12U, 12U}, {32U, 32U}, {64U, 32U}}) {
        AiffFile file(44100.0, given, 2);
        file.validateAndCorrectParameters();
        EXPECT_EQ(file.bitsPerSample(), corrected);
    }
}

TEST_F(AiffFileTest, LogsItsChunksForADiagnosis)
{
    const auto file = std::dynamic_pointer_cast<AiffFile>(openAiff(aiff({}, "abcd")));
    ASSERT_TRUE(file);
    const LogCapture log;
    file->debugAllChunks();
    EXPECT_EQ(log.logged(), (QStringList{"AIFF Chunk: COMM size 18", "AIFF Chunk: SSND size 12"}));
}

} // namespace
} // namespace velloria
