#include "formats/aiff/AifcFile.h"

#include "formats/kit/SavingTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

int tagOf(const char (&text)[5])
{
    return static_cast<int>(fourCharCode(text));
}

class AifcFileTest : public SavingTest
{
protected:
    static std::shared_ptr<AifcFile> writer(uint32_t numChannels, int tag, double sampleRate = 44100.0)
    {
        auto file = std::make_shared<AifcFile>(sampleRate, 16, numChannels);
        file->configureWithPopUpTag(tag);
        file->validateAndCorrectParameters();
        return file;
    }

    /// A document of `numFrames` frames of 16-bit noise in "in.wav".
    TrackDocument integers(int numChannels, int64_t numFrames) const
    {
        makeFile("in.wav", wave({1, numChannels, 44100, 16}, noiseBytes(numFrames * numChannels * 2, 3)));
        return documentOf(opened("in.wav"));
    }
};

TEST_F(AifcFileTest, WritesTheHeaderByteByByte)
{
    const auto one = writer(1, tagOf("ima4"));
    save(*one, "out.aifc", integers(1, 1));
    const QByteArray file = bytesOf("out.aifc");
    // One packet of 2 + 32 bytes, which the frame count counts.
    EXPECT_EQ(file.left(78), form("AIFC", iffChunk("FVER", bytes("\xA2\x80\x51\x40")) +
                                              iffChunk("COMM", commonPayload({1, 1}) + "ima4\7IMA 4:1") +
                                              soundChunk(QByteArray(34, '\0')))
                                 .left(78));
    EXPECT_EQ(file.size(), 12 + 12 + 8 + 30 + 16 + 34);
    EXPECT_EQ(file.mid(4, 4), bigEndian32(static_cast<quint32>(file.size() - 8)));

    const auto many = writer(2, tagOf("ulaw"), 22050.5);
    save(*many, "out.aifc", integers(2, 1001));
    const auto reopened = opened("out.aifc");
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->sampleRate(), 22050.5);
    EXPECT_EQ(dynamic_cast<const AifcFile&>(*reopened).numPackets(), 1001);
    EXPECT_EQ(dynamic_cast<const AifcFile&>(*reopened).soundDataLength(), 2002);
    EXPECT_EQ(reopened->dataFormat(), fourCharCode("ulaw"));
    EXPECT_EQ(reopened->encodingDescription(), QStringLiteral("mu-law"));
    EXPECT_TRUE(reopened->requiresConversion());
}

TEST_F(AifcFileTest, IsDecodedByOthersAsIfTheyHadEncodedIt)
{
    const struct {
        int tag;
        const char* encoder;
        std::vector<int> channels;
    } cases[] = {
        {tagOf("ima4"), "adpcm_ima_qt", {1, 2}},
        {tagOf("alaw"), "pcm_alaw", {1, 2, 32}},
        {tagOf("ulaw"), "pcm_mulaw", {1, 2, 32}},
    };
    for (const auto& c : cases) {
        for (const int numChannels : c.channels) {
            SCOPED_TRACE(c.encoder + std::to_string(numChannels));
            const auto file = writer(static_cast<uint32_t>(numChannels), c.tag);
            save(*file, "out.aifc", integers(numChannels, 40'001));
            const int64_t framesAtLeast = c.tag == tagOf("ima4") ? 626 * 64 : 40'001;
            const FloatBuffer frames = decodedFrames("out.aifc");
            EXPECT_EQ(std::ssize(frames), framesAtLeast * numChannels);
            EXPECT_TRUE(frames == framesByFfmpeg("out.aifc"));
            run("ffmpeg", {"-v", "error", "-y", "-i", argument("in.wav"), "-c:a", c.encoder, "-f", "aiff",
                           argument("theirs.aifc")});
            EXPECT_TRUE(frames == decodedFrames("theirs.aifc"));
            if (c.tag != tagOf("ima4")) {
                run("sndfile-convert", {"-pcm16", argument("out.aifc"), argument("sndfile.wav")});
                EXPECT_TRUE(frames == decodedFrames("sndfile.wav"));
            }
        }
    }
}

TEST_F(AifcFileTest, ReadsEveryEncodingOfOtherPrograms)
{
    makeFile("in.wav", wave({1, 2, 44100, 32}, noiseBytes(qsizetype{2999} * 8, 5)));
    const struct {
        const char* encoder;
        const char* type;
        uint32_t bits;
        bool isFloat;
    } cases[] = {
        {"pcm_u8", "raw ", 8, false},        {"pcm_s16le", "sowt", 16, false},
        {"pcm_f32be", "fl32", 32, true},     {"pcm_f64be", "fl64", 64, true},
        {"pcm_alaw", "alaw", 16, false},     {"pcm_mulaw", "ulaw", 16, false},
        {"adpcm_ima_qt", "ima4", 16, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.encoder);
        run("ffmpeg", {"-v", "error", "-y", "-i", argument("in.wav"), "-c:a", c.encoder, "-f", "aiff",
                       argument("in.aifc")});
        const auto file = opened("in.aifc");
        ASSERT_TRUE(file);
        const TrackDocument document = decoded(*file);
        EXPECT_EQ(fourCharText(file->dataFormat()), c.type);
        EXPECT_EQ(file->bitsPerSample(), c.bits);
        EXPECT_EQ(file->isFloat(), c.isFloat);
        EXPECT_EQ(file->numberOfFrames(), c.bits == 16 && !strcmp(c.type, "ima4") ? 3008 : 2999);
        EXPECT_TRUE(framesOf(document) == framesByFfmpeg("in.aifc"));
        EXPECT_EQ(file->warnings(), QStringList());
    }
    for (const char* bits : {"16", "24", "32"}) {
        run("sox", {"-D", argument("in.wav"), "-b", bits, argument("sox.aifc")});
        EXPECT_TRUE(decodedFrames("sox.aifc") == framesByFfmpeg("sox.aifc")) << bits;
    }
}

/// An AIFF-C file of these fields.
QByteArray aifc(const AiffFields& fields, const char* type, const QByteArray& soundChunkBytes)
{
    return form("AIFC", iffChunk("COMM", commonPayload(fields) + QByteArray(type, 4) + QByteArray(2, '\0')) +
                            soundChunkBytes);
}

TEST_F(AifcFileTest, ReadsEveryLinearCodeByWidthCountAndRateOfItsHeader)
{
    // 1/4, -1/2 and, behind the frames that the header counts, rubbish.
    const auto be = [](const char* a, const char* b, int size) {
        return QByteArray(a, size) + QByteArray(b, size);
    };
    // NOLINTBEGIN(bugprone-string-literal-with-embedded-nul): the size tells where they end.
    const QByteArray float32 = be("\x3E\x80\0\0", "\xBF\0\0\0", 4);
    const QByteArray float64 = be("\x3F\xD0\0\0\0\0\0\0", "\xBF\xE0\0\0\0\0\0\0", 8);
    const QByteArray big16 = be("\x20\0", "\xC0\0", 2), little16 = be("\0\x20", "\0\xC0", 2);
    const QByteArray big24 = be("\x20\0\0", "\xC0\0\0", 3), little24 = be("\0\0\x20", "\0\0\xC0", 3);
    const QByteArray big32 = be("\x20\0\0\0", "\xC0\0\0\0", 4);
    const QByteArray little32 = be("\0\0\0\x20", "\0\0\0\xC0", 4);
    const QByteArray fractionalRate = bytes("\x40\x0E\xAC\x17\x80\0\0\0\0\0");
    const struct {
        const char* type;
        int bits;
        QByteArray stored;
        uint32_t bitsThere;
    } cases[] = {
        {"NONE", 8, be("\x20", "\xC0", 1), 8},
        {"raw ", 8, be("\xA0", "\x40", 1), 8},
        {"raw ", 16, be("\xA0\0", "\x40\0", 2), 16},
        {"NONE", 12, big16, 16},
        {"twos", 16, big16, 16},
        {"twos", 24, big24, 24},
        {"NONE", 32, big32, 32},
        {"sowt", 16, little16, 16},
        {"sowt", 24, little24, 24},
        {"sowt", 32, little32, 32},
        {"sowt", 0, little16, 16},
        {"in16", 16, big16, 16},
        {"in24", 16, big24, 24},
        {"in24", 24, big24, 24},
        {"42n1", 24, little24, 24},
        {"42ni", 24, little24, 24},
        {"in32", 32, big32, 32},
        {"23ni", 32, little32, 32},
        {"fl32", 16, float32, 32},
        {"FL32", 32, float32, 32},
        {"fl64", 64, float64, 64},
        {"FL64", 16, float64, 64},
    };
    // NOLINTEND(bugprone-string-literal-with-embedded-nul)
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.type) + std::to_string(c.bits));
        const QByteArray sound = "SSND" + bigEndian32(static_cast<quint32>(8 + 3 + c.stored.size() + 9)) +
                                 bigEndian32(3) + bigEndian32(512) + "pad" + c.stored + QByteArray(9, 'x');
        makeFile("in.aifc", aifc({1, 2, c.bits, fractionalRate}, c.type, sound));
        const auto file = opened("in.aifc");
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->numberOfFrames(), 2);
        EXPECT_EQ(file->bitsPerSample(), c.bitsThere);
        const TrackDocument document = decoded(*file);
        EXPECT_EQ(framesOf(document), (FloatBuffer{0.25F, -0.5F}));
        EXPECT_EQ(file->sampleRate(), 44055.5);
        EXPECT_EQ(file->chunksNotKept(),
                  (QStringList{"3 bytes in front of the sound", "9 bytes behind the last frame"}));
    }
    MaybeError error;
    makeFile("in.aifc", aifc({1, 1, 48}, "NONE", soundChunk("abcdef")));
    EXPECT_FALSE(AudioFileRegistry::audioFileWithPath(path("in.aifc"), &error));
    EXPECT_EQ(error->message, "“in.aifc” holds 48-bit integers, which Velloria cannot read.");
}

TEST_F(AifcFileTest, HonoursOffsetCountAndRateOfCompressedSound)
{
    const QByteArray fractionalRate = bytes("\x40\x0E\xAC\x17\x80\0\0\0\0\0");
    const auto sound = [](const QByteArray& samples) {
        return "SSND" + bigEndian32(static_cast<quint32>(8 + 5 + samples.size())) + bigEndian32(5) +
               bigEndian32(512) + "\xFF\xFF\xFF\xFF\xFF" + samples;
    };
    // 0xD5 is the smallest positive value of A-law, 0xAA its largest.
    const QByteArray alaw = QByteArray(100, '\xD5') + QByteArray(20, '\xAA');
    for (const char* type : {"alaw", "ALAW"}) {
        makeFile("in.aifc", aifc({1, 100, 16, fractionalRate}, type, sound(alaw)));
        const auto file = opened("in.aifc");
        const FloatBuffer frames = framesOf(decoded(*file));
        ASSERT_EQ(frames.size(), 100U) << type;
        EXPECT_TRUE(std::all_of(frames.begin(), frames.end(), [](float f) { return std::abs(f) < 0.001F; }));
        EXPECT_EQ(file->sampleRate(), 44055.5);
        EXPECT_EQ(file->dataFormat(), fourCharCode("alaw"));
    }
    // Of IMA 4:1 the header counts packets, or, from some programs, frames.
    const struct {
        int64_t told;
        int64_t numFrames;
    } counts[] = {{3, 192}, {2, 128}, {150, 150}, {192, 192}, {1000, 192}, {0, 192}};
    for (const auto& c : counts) {
        makeFile("in.aifc", aifc({1, c.told, 16}, "ima4", sound(QByteArray(3 * 34, '\0'))));
        EXPECT_EQ(decoded(*opened("in.aifc")).numberOfFrames(), c.numFrames) << c.told;
    }
}

TEST_F(AifcFileTest, TellsOfNarrowSamplesAndOfPacketsFilledWithSilence)
{
    const struct {
        const char* type;
        int bits;
        QStringList told;
    } cases[] = {{"NONE", 12, {"samples of 12 bits become 16 bits wide"}},
                 {"NONE", 16, {}},
                 // Some programs leave the number of another encoding there.
                 {"in24", 16, {}}};
    for (const auto& c : cases) {
        makeFile("in.aifc", aifc({1, 2, c.bits}, c.type, soundChunk(QByteArray(6, 'x'))));
        EXPECT_EQ(opened("in.aifc")->ledger().namesNotKept(ItemKind::value), c.told) << c.type << c.bits;
    }
    AifcFile writer(44100.0, 16, 1);
    for (const char* type : {"ima4", "alaw"}) {
        writer.configureWithPopUpTag(static_cast<int>(qFromBigEndian<quint32>(type)));
        writer.setNumberOfFrames(640);
        EXPECT_EQ(writer.soundLosses(), QStringList());
        writer.setNumberOfFrames(645);
        EXPECT_EQ(writer.soundLosses().join(' ').contains("59 frames of silence"), type[0] == 'i');
    }
}

TEST_F(AifcFileTest, WritesTheIntegersOfAnUncompressedFileUnchanged)
{
    for (const int bits : {16, 24}) {
        const QByteArray stored = noiseBytes(qsizetype{5000} * bits / 8, 11);
        const QByteArray type = bits == 16 ? QByteArray("twos") : QByteArray("in24");
        makeFile("in.aifc",
                 form("AIFC", iffChunk("COMM", commonPayload({1, 5000, bits}) + type + QByteArray(2, '\0')) +
                                  soundChunk(stored)));
        const auto file = opened("in.aifc");
        ASSERT_TRUE(file);
        const auto plain =
            AudioFileRegistry::audioFileWithUTI("public.aiff-audio", 44100.0, static_cast<uint32_t>(bits), 1);
        save(*plain, "out.aif", decoded(*file));
        EXPECT_EQ(bytesOf("out.aif").right(stored.size()), stored) << bits;
    }
}

TEST_F(AifcFileTest, CarriesMarkersTagsAndChunksLikeAiff)
{
    AudioMetadata metadata;
    metadata.setTitle("Käse");
    metadata.setArtist("歌手");
    metadata.setComments("c");
    metadata.setAiffInstrumentChunk(QByteArray(20, 'i'));
    metadata.setAiffMIDIChunk("odd");
    metadata.setAiffAudioRecordingChunk(QByteArray(24, 'r'));
    metadata.setAiffCommentChunk(QByteArray(10, '\1'));
    const QString longName(300, QChar(u'ש'));
    for (const int64_t numFrames : {0, 1, 1000}) {
        const auto file = writer(1, tagOf("alaw"));
        file->setMetadata(metadata);
        file->setMarkers(markerList({{0, "a"}, {999, longName}}));
        save(*file, "out.aifc", integers(1, numFrames));
        const auto reopened = opened("out.aifc");
        ASSERT_TRUE(reopened);
        EXPECT_EQ(markersOf(*reopened),
                  (std::vector<std::pair<int64_t, QString>>{{0, "a"}, {999, longName}}));
        EXPECT_EQ(reopened->metadata().title(), "Käse");
        EXPECT_EQ(reopened->metadata().artist(), "歌手");
        EXPECT_EQ(reopened->metadata().aiffInstrumentChunk(), QByteArray(20, 'i'));
        EXPECT_EQ(reopened->metadata().aiffMIDIChunk(), "odd");
        EXPECT_EQ(reopened->metadata().aiffAudioRecordingChunk(), QByteArray(24, 'r'));
        EXPECT_EQ(reopened->metadata().aiffCommentChunk(), QByteArray(10, '\1'));
        EXPECT_EQ(decoded(*reopened).numberOfFrames(), numFrames);
        EXPECT_EQ(reopened->numberOfFrames(), numFrames);
        EXPECT_EQ(reopened->warnings() + reopened->chunksNotKept(), QStringList());
    }
}

TEST_F(AifcFileTest, OffersItsEncodingsWithTheirSizes)
{
    AifcFile file(44100.0, 24, 2);
    EXPECT_EQ(file.fileOptions().label, "Compression:");
    QStringList titles;
    for (const FileOption& item : file.fileOptions().items)
        titles += item.title;
    EXPECT_EQ(titles.join('|'), "IMA 4:1|A-Law 2:1|mu-Law 2:1");
    EXPECT_EQ(file.fileOptions().selectedTag, tagOf("ima4"));
    file.setDataFormat(fourCharCode("sowt"));
    file.setBitsPerSample(0);
    file.validateAndCorrectParameters();
    EXPECT_EQ(file.dataFormat(), fourCharCode("ima4"));
    EXPECT_EQ(file.bitsPerSample(), 16U);
    file.configureWithPopUpTag(tagOf("ulaw"));
    EXPECT_EQ(file.fileOptions().selectedTag, tagOf("ulaw"));
    EXPECT_EQ(file.compressionName(), "mu-Law 2:1");
    for (const char* type : {"ima4", "alaw", "ulaw", "ALAW", "ULAW"})
        EXPECT_EQ(AifcFile::typeForSaving(qFromBigEndian<quint32>(type)), "public.aifc-audio") << type;
    for (const char* type : {"NONE", "twos", "sowt", "raw ", "in16", "in24", "42n1", "in32", "23ni", "fl32",
                             "FL32", "fl64", "FL64", "MAC3", "QDM2"})
        EXPECT_EQ(AifcFile::typeForSaving(qFromBigEndian<quint32>(type)), "public.aiff-audio") << type;

    file.setNumberOfFrames(6000);
    const double asIntegers = 2.0 * 6000 * 2 + 4096;
    EXPECT_EQ(file.estimatedFileSizeWithTag(tagOf("ima4")), asIntegers / 4 + 1000);
    EXPECT_EQ(file.estimatedFileSizeWithTag(tagOf("alaw")), asIntegers / 2 + 1000);
    EXPECT_EQ(file.estimatedFileSizeWithTag(tagOf("ulaw")), asIntegers / 2 + 1000);
    EXPECT_NEAR(file.estimatedFileSizeWithTag(tagOf("MAC3")), asIntegers / 6 + 1000, 1e-6);
    EXPECT_NEAR(file.estimatedFileSizeWithTag(tagOf("MAC6")), asIntegers / 12 + 1000, 1e-6);
    EXPECT_EQ(file.estimatedFileSizeWithTag(16), -1.0);
}

TEST_F(AifcFileTest, RefusesWhatItCannotHoldBeforeWriting)
{
    const struct {
        int tag;
        TrackDocument document;
        QString message;
    } cases[] = {
        {tagOf("alaw"), silence(int64_t{1} << 32), "Cannot save files over 4 GB in size in this format."},
        {tagOf("ima4"), silence(int64_t{1} << 33), "Cannot save files over 4 GB in size in this format."},
        {tagOf("ima4"), silence(std::numeric_limits<int64_t>::max()),
         "Cannot save files over 4 GB in size in this format."},
        {tagOf("ima4"), silence(10, 3), "This format holds at most 2 channels."},
    };
    for (const auto& c : cases) {
        const auto file = writer(static_cast<uint32_t>(c.document.trackCount()), c.tag);
        file->setFileHandle(newFile("out.aifc"));
        SilentProgress progress;
        MaybeError error;
        EXPECT_FALSE(file->saveDocument(c.document, nullptr, progress, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->message, c.message);
        EXPECT_EQ(bytesOf("out.aifc").size(), 0);
    }
}

TEST_F(AifcFileTest, KeepsTrueSizesOfASelectionAndOfACancelledSave)
{
    const TrackDocument document = integers(3, 200'000);
    const auto selected = writer(3, tagOf("alaw"));
    selected->setMarkers(markerList({{1, "m"}}));
    const SoundSelection selection{1.0, 2.0, 1, 2};
    save(*selected, "out.aifc", document, &selection);
    EXPECT_EQ(decodedFrames("out.aifc").size(), 2U * 44100);
    EXPECT_TRUE(markersOf(*opened("out.aifc")).empty());

    const auto cancelled = writer(3, tagOf("alaw"));
    cancelled->setFileHandle(newFile("out.aifc"));
    RecordingProgress progress(1);
    MaybeError error;
    EXPECT_FALSE(cancelled->saveDocument(document, nullptr, progress, &error));
    EXPECT_TRUE(error && error->isUserCancelled());
    const auto reopened = opened("out.aifc");
    ASSERT_TRUE(reopened);
    EXPECT_EQ(dynamic_cast<const AifcFile&>(*reopened).soundDataLength(),
              bytesOf("out.aifc").size() - reopened->soundDataOffset());
    EXPECT_EQ(reopened->warnings(), QStringList());
}

TEST_F(AifcFileTest, OpensDamagedFilesAsFarAsTheyGo)
{
    const LogCapture log;
    const auto file = writer(2, tagOf("ulaw"));
    save(*file, "whole.aifc", integers(2, 4000));
    const QByteArray whole = bytesOf("whole.aifc");
    int numOpened = 0;
    for (qsizetype length = 0; length < whole.size(); length += length < 120 ? 1 : 997) {
        makeFile("cut.aifc", whole.left(length));
        MaybeError error;
        const auto cut = AudioFileRegistry::audioFileWithPath(path("cut.aifc"), &error);
        ASSERT_NE(cut == nullptr, !error) << length;
        if (!cut)
            continue;
        ++numOpened;
        EXPECT_EQ(cut->warnings().size(), 1) << length;
        SilentProgress progress;
        const auto clips = cut->convertedAudioClips(progress, &error);
        ASSERT_NE(clips.empty(), !error) << length;
        if (!clips.empty()) {
            EXPECT_EQ(cut->numberOfFrames(), std::max<int64_t>(0, length - cut->soundDataOffset()) / 2);
        }
    }
    EXPECT_GT(numOpened, 8);

    QByteArray openEnded = whole;
    const qsizetype sound = whole.indexOf("SSND");
    openEnded.replace(sound + 4, 4, bytes("\xFF\xFF\xFF\xFF"));
    makeFile("open.aifc", openEnded);
    EXPECT_EQ(decodedFrames("open.aifc").size(), 8000U);
    EXPECT_EQ(opened("open.aifc")->warnings().size(), 1);
}

TEST_F(AifcFileTest, OpensUnderAnyNameAndOnlyWhatItIs)
{
    const auto file = writer(1, tagOf("alaw"));
    save(*file, "out.wav", integers(1, 100));
    EXPECT_EQ(opened("out.wav")->fileFormatUTI(), "public.aifc-audio");
    makeFile("plain.aifc", aiff({1, 0, 16}, "abcd"));
    EXPECT_EQ(opened("plain.aifc")->fileFormatUTI(), "public.aiff-audio");
    const LogCapture log;
    MaybeError error;
    makeFile("unknown.aifc",
             form("AIFC", iffChunk("COMM", commonPayload({1, 2}) + "QDMC" + QByteArray(2, '\0')) +
                              soundChunk("abcdefgh")));
    const auto unknown = opened("unknown.aifc");
    ASSERT_TRUE(unknown);
    SilentProgress progress;
    EXPECT_TRUE(unknown->convertedAudioClips(progress, &error).empty());
    EXPECT_TRUE(error);
}

} // namespace
} // namespace velloria
