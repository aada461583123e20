#include "formats/plain/NeXTSunFile.h"

#include "formats/kit/SavingTestKit.h"
#include "formats/wave/WaveFile.h"

#include <bit>

namespace velloria
{
namespace
{

using namespace test;

struct SunFields {
    int64_t encoding = 3;
    int64_t sampleRate = 44100;
    int64_t numChannels = 2;
    int64_t numBytes = -1;
    int64_t offset = 28;
};

QByteArray sun(const SunFields& fields, const QByteArray& samples)
{
    QByteArray header(".snd");
    const int64_t numBytes = fields.numBytes >= 0 ? fields.numBytes : samples.size();
    for (const int64_t value :
         {fields.offset, numBytes, fields.encoding, fields.sampleRate, fields.numChannels, int64_t{0}})
        header += bigEndian32(static_cast<quint32>(value));
    return header + samples;
}

class NeXTSunFileTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openSun(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.au", bytes), error);
    }
};

TEST_F(NeXTSunFileTest, WritesTheHeaderByteByByteWithSizesRoundedUp)
{
    const struct {
        uint32_t bits;
        uint32_t numChannels;
        double sampleRate;
        int64_t encoding;
        int bytesPerSample;
        int64_t storedRate;
    } cases[] = {
        {1, 1, 8000.0, 2, 1, 8000},     {8, 2, 44100.0, 2, 1, 44100},  {12, 2, 44100.0, 3, 2, 44100},
        {16, 1, 22050.49, 3, 2, 22050}, {20, 1, 22050.5, 4, 3, 22051}, {24, 3, 192000.0, 4, 3, 192000},
        {32, 1, 5e9, 5, 4, 0xFFFFFFFF},
    };
    for (const auto& c : cases) {
        NeXTSunFile file(c.sampleRate, c.bits, c.numChannels);
        EXPECT_FALSE(file.canSaveMarkers() || file.canSaveMetadata() || file.canSaveArtwork());
        file.setMarkers(markerList({{1, "m"}}));
        save(file, "out.au", silence(5, c.numChannels));
        const QByteArray samples(qsizetype{5} * c.numChannels * c.bytesPerSample, '\0');
        EXPECT_EQ(bytesOf("out.au"), sun({c.encoding, c.storedRate, c.numChannels}, samples)) << c.bits;
    }
}

TEST_F(NeXTSunFileTest, WritesNoIntegersOfMoreThan32Bits)
{
    NeXTSunFile file(44100.0, 64, 1);
    save(file, "out.au", silence(1));
    EXPECT_EQ(bytesOf("out.au"), sun({0, 44100, 1}, QByteArray(8, '\0')));
    file.validateAndCorrectParameters();
    EXPECT_EQ(file.bitsPerSample(), 32U);
}

TEST_F(NeXTSunFileTest, ReadsSamplesInPlace)
{
    const struct {
        int64_t encoding;
        uint32_t bits;
        bool isFloat;
        QByteArray stored;
        QByteArray samples;
    } cases[] = {
        {2, 8, false, bytes("\x80\0\x7F"), bytes("\x80\0\x7F")},
        {3, 16, false, bytes("\1\2\3\4"), bytes("\2\1\4\3")},
        {4, 24, false, bytes("\1\2\3\4\5\6"), bytes("\3\2\1\6\5\4")},
        {5, 32, false, bytes("\1\2\3\4"), bytes("\4\3\2\1")},
        {6, 32, true, bytes("\x3F\x80\0\0"), bytes("\0\0\x80\x3F")},
        {7, 64, true, bytes("\x3F\xF0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\1"),
         bytes("\0\0\0\0\0\0\xF0\x3F\1\0\0\0\0\0\0\xC0")},
        // An incomplete frame is no frame.
        {3, 16, false, bytes("\1\2\3"), bytes("\2\1")},
    };
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openSun(sun({c.encoding, 8000, 1}, c.stored), &error);
        ASSERT_TRUE(file) << error->message.toStdString();
        EXPECT_FALSE(file->requiresConversion());
        EXPECT_EQ(file->bitsPerSample(), c.bits);
        EXPECT_EQ(file->isFloat(), c.isFloat);
        EXPECT_EQ(file->sampleRate(), 8000.0);
        EXPECT_EQ(file->encodingDescription(),
                  QString("%1-bit %2").arg(c.bits).arg(c.isFloat ? "floating point" : "integer"));
        EXPECT_EQ(signedSamples(*file), c.samples) << c.encoding;
        EXPECT_EQ(file->warnings(), QStringList());
    }
}

TEST_F(NeXTSunFileTest, GivesClipsTheFloatsThatItStores)
{
    const FloatBuffer samples = noise(3000, 4);
    for (const int64_t encoding : {6, 7}) {
        QByteArray stored;
        for (const float sample : samples) {
            const auto bits = encoding == 6 ? qsizetype{4} : qsizetype{8};
            QByteArray value(bits, Qt::Uninitialized);
            if (encoding == 6)
                qToBigEndian<quint32>(std::bit_cast<uint32_t>(sample), value.data());
            else
                qToBigEndian<quint64>(std::bit_cast<uint64_t>(static_cast<double>(sample)), value.data());
            stored += value;
        }
        const auto file = openSun(sun({encoding, 44100, 3}, stored));
        const auto clips = AudioFile::pcmAudioClips(file);
        ASSERT_EQ(clips.size(), 3U);
        for (size_t channel = 0; channel < 3; ++channel) {
            const FloatBuffer read = clips[channel]->sampleDataAtOffset(0, 1000);
            for (size_t i = 0; i < 1000; ++i)
                ASSERT_EQ(read[i], samples[3 * i + channel]) << encoding << " " << i;
        }
    }
}

TEST_F(NeXTSunFileTest, LeavesOtherEncodingsToTheDecoder)
{
    const struct {
        int64_t encoding;
        QString description;
    } cases[] = {{1, "mu-law"}, {27, "A-law"}, {23, "G.721 ADPCM"}, {0, "encoding 0"}, {8, "encoding 8"}};
    for (const auto& c : cases) {
        const auto file = openSun(sun({c.encoding, 8000, 1}, "abcd"));
        ASSERT_TRUE(file) << c.encoding;
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->encodingDescription(), c.description);
        EXPECT_EQ(file->dataFormat(), fourCharCode("lpcm"));
    }
}

TEST_F(NeXTSunFileTest, RefusesWhatCannotBeReadWithOneSentence)
{
    const struct {
        QByteArray file;
        QString message;
    } cases[] = {
        {".snd", "“in.au” is not a sound file that Velloria can read."},
        {sun({}, "abcd").left(23), "“in.au” is not a sound file that Velloria can read."},
        {"dns." + sun({}, "abcd").mid(4), "“in.au” is not a sound file that Velloria can read."},
        {sun({3, 44100, 0}, "abcd"), "“in.au” cannot be read: its header says that it has no channels."},
        {sun({3, 44100, 0xFFFFFFFF}, "abcd"),
         "“in.au” cannot be read: its header says that it has 4294967295 channels."},
        {sun({3, 0, 1}, "abcd"), "“in.au” cannot be read: its header gives a sample rate of 0 Hz."},
        {sun({3, 0xFFFFFFFF, 1}, "abcd"),
         "“in.au” cannot be read: its header gives a sample rate of 4294967295 Hz."},
        {sun({3, 44100, 1, -1, 23}, "abcd"),
         "“in.au” cannot be read: its header says that the sound begins at byte 23."},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(openSun(c.file, &error));
        ASSERT_TRUE(error) << c.message.toStdString();
        EXPECT_EQ(error->message.toStdString(), c.message.toStdString());
    }
}

TEST_F(NeXTSunFileTest, OpensDamagedFilesAsFarAsTheyGo)
{
    const QString cutShort = "“in.au” ends before its sound does; what it holds was opened.";
    const QString neverCompleted =
        "The header of “in.au” was never completed; everything up to the end of the "
        "file was taken as sound.";
    const struct {
        const char* what;
        QByteArray file;
        int64_t numFrames;
        QStringList warnings;
    } cases[] = {
        // All ones is what this format has for a size that is not known; nothing is wrong with that.
        {"unknown size", sun({3, 44100, 2, 0xFFFFFFFF}, "abcdefgh"), 2, {}},
        {"size beyond the end", sun({3, 44100, 2, 1000}, "abcdefgh"), 2, {cutShort}},
        {"negative size", sun({3, 44100, 2, 0x80000000}, "abcdefgh"), 2, {cutShort}},
        {"more than told", sun({3, 44100, 2, 4}, "abcdefgh"), 1, {}},
        {"never completed", sun({3, 44100, 2, 0}, "abcdefgh"), 2, {neverCompleted}},
        {"empty", sun({3, 44100, 2, 0}, ""), 0, {}},
        {"header of 24 bytes", sun({3, 44100, 2, 0, 24}, "").left(24), 0, {}},
        {"sound beyond the end", sun({3, 44100, 2, 0, 0xFFFFFFFF}, "abcdefgh"), 0, {cutShort}},
        {"unknown size beyond the end", sun({3, 44100, 2, 0xFFFFFFFF, 0xFFFFFFFF}, "abcd"), 0, {cutShort}},
    };
    for (const auto& c : cases) {
        MaybeError error;
        const auto file = openSun(c.file, &error);
        ASSERT_TRUE(file) << c.what << ": " << error->message.toStdString();
        EXPECT_EQ(file->numberOfFrames(), c.numFrames) << c.what;
        EXPECT_EQ(signedSamples(*file), QByteArray("badcfehg").left(4 * c.numFrames)) << c.what;
        EXPECT_EQ(file->warnings(), c.warnings) << c.what;
    }
    const QByteArray whole = sun({}, "abcdefgh");
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto file = openSun(whole.left(length));
        ASSERT_EQ(file != nullptr, length >= 24) << length;
        ASSERT_TRUE(!file || file->numberOfFrames() == std::max<qsizetype>(0, length - 28) / 4) << length;
    }
}

TEST_F(NeXTSunFileTest, KeepsTheAnnotationAndEditsItAsARemark)
{
    const struct {
        QByteArray annotation;
        QString remark;
        /// Where another remark takes its place.
        QStringList notKept;
        QByteArray edited;
    } cases[] = {
        {{}, {}, {}, bytes("Öl\0")},
        {bytes("\0\0\0\0"), {}, {}, bytes("Öl\0")},
        {bytes("\0\0\0\0rubbish"), {}, {"annotation of 11 bytes"}, bytes("Öl\0")},
        {bytes("\1\2\3\4"), {}, {"annotation of 4 bytes"}, bytes("Öl\0")},
        {"  \n", {}, {}, bytes("Öl\0")},
        {bytes("Grüße \n von mir\0rubbish"), "Grüße \n von mir", {"annotation of 8 bytes"}, bytes("Öl\0")},
        {bytes("Gr\xFC\xDF\0\0\0\0"), "Grüß", {}, bytes("\xD6l\0\0")},
    };
    for (const auto& c : cases) {
        const auto withAnnotation = [](const QByteArray& annotation) {
            return sun({3, 44100, 2, 4, 24 + annotation.size()}, "").left(24) + annotation + "abcd";
        };
        const QByteArray file = withAnnotation(c.annotation);
        const auto opened = openSun(file);
        EXPECT_EQ(opened->numberOfFrames(), 1);
        EXPECT_EQ(opened->metadata().comments(), c.remark);
        EXPECT_EQ(opened->chunksNotKept(), QStringList());
        const auto saved = [&](const QString& remark) {
            NeXTSunFile writer(44100.0, 16, 2);
            writer.setOpenedFile(opened);
            AudioMetadata metadata;
            metadata.setComments(remark);
            writer.setMetadata(metadata);
            writer.validateAndCorrectParameters();
            EXPECT_EQ(writer.canSaveMetadata(), !remark.isEmpty());
            EXPECT_EQ(writer.writtenTags(), metadata.dictionary());
            EXPECT_EQ(opened->ledger().namesOf(ItemKind::part,
                                               [&](const FileItem& item) { return !writer.willWrite(item); }),
                      remark == c.remark ? QStringList() : c.notKept);
            save(writer, "out.au", documentOf(opened));
            return bytesOf("out.au");
        };
        EXPECT_EQ(saved(c.remark), file);
        EXPECT_EQ(saved("Öl"), withAnnotation(c.edited));
    }
    EXPECT_EQ(openSun(sun({3, 44100, 2, 4}, "abcdefgh"))->chunksNotKept(),
              QStringList("4 bytes behind the sound"));
    EXPECT_EQ(openSun(sun({1, 44100, 1, 4}, "abcdefgh"))->chunksNotKept(),
              QStringList("4 bytes behind the sound"));
    EXPECT_EQ(openSun(sun({3, 44100, 2, 4}, bytes("abcd\0\0")))->chunksNotKept(), QStringList());
}

TEST_F(NeXTSunFileTest, CarriesSamplesOverFromAndToOtherTypes)
{
    for (const int bits : {8, 16, 24, 32}) {
        const int size = bits / 8;
        const QByteArray stored = noiseBytes(qsizetype{40001} * 2 * size, 11);
        makeFile("in.aif", aiff({2, 0, bits}, stored));
        NeXTSunFile file(44100.0, static_cast<uint32_t>(bits), 2);
        const auto source = opened("in.aif");
        EXPECT_TRUE(file.storesSamplesLike(*source));
        save(file, "out.au", documentOf(source));
        EXPECT_TRUE(bytesOf("out.au").mid(28) == stored) << bits;
        WaveFile waveFile(44100.0, static_cast<uint32_t>(bits), 2);
        save(waveFile, "out.wav", documentOf(opened("out.au")));
        QByteArray expected = reversedSamples(stored, size);
        if (bits == 8) {
            for (char& sample : expected)
                sample = static_cast<char>(sample ^ 0x80);
        }
        EXPECT_TRUE(bytesOf("out.wav").mid(44) == expected) << bits;
    }
}

TEST_F(NeXTSunFileTest, RefusesFilesOfMoreThanFourGigabytesBeforeAnySample)
{
    SilentProgress progress;
    for (const int64_t numFrames : {int64_t{0x3FFFFFF9}, int64_t{1} << 60}) {
        NeXTSunFile file(44100.0, 32, 1);
        file.setFileHandle(newFile("out.au"));
        MaybeError error;
        EXPECT_FALSE(file.saveDocument(silence(numFrames), nullptr, progress, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->message, "Cannot save files over 4 GB in size in this format.");
        EXPECT_EQ(bytesOf("out.au"), "");
    }
}

TEST_F(NeXTSunFileTest, AgreesWithOtherPrograms)
{
    const struct {
        int bits;
        QString encoding;
        QString codec;
    } cases[] = {{8, "signed-integer", "pcm_s8"},     {16, "signed-integer", "pcm_s16be"},
                 {24, "signed-integer", "pcm_s24be"}, {32, "signed-integer", "pcm_s32be"},
                 {32, "floating-point", "pcm_f32be"}, {64, "floating-point", "pcm_f64be"}};
    for (const auto& c : cases) {
        const QStringList raw = {"-t", "raw", "-L", "-b", QString::number(c.bits), "-e", c.encoding, "-"};
        run("sox", {"-R", "-n", "-r", "22050", "-c", "2", "-b", QString::number(c.bits), "-e", c.encoding,
                    argument("sox.au"), "synth", "0.05", "noise"});
        run("ffmpeg",
            {"-v", "error", "-y", "-i", argument("sox.au"), "-c:a", c.codec, argument("ffmpeg.au")});
        run("sndfile-convert", {argument("sox.au"), argument("sndfile.au")});
        const QByteArray expected = run("sox", QStringList(argument("sox.au")) + raw);
        for (const std::string name : {"sox.au", "ffmpeg.au", "sndfile.au"}) {
            const auto file = opened(name);
            ASSERT_TRUE(file);
            EXPECT_EQ(file->sampleRate(), 22050.0);
            EXPECT_EQ(file->numberOfFrames(), 1103) << name;
            EXPECT_TRUE(signedSamples(*file) == expected) << name << c.codec.toStdString();
            EXPECT_EQ(file->warnings(), QStringList()) << name;
        }
        if (c.encoding == "floating-point")
            continue;
        NeXTSunFile file(22050.0, static_cast<uint32_t>(c.bits), 2);
        save(file, "ours.au", documentOf(opened("sox.au")));
        EXPECT_TRUE(run("sox", QStringList(argument("ours.au")) + raw) == expected) << c.bits;
        const QByteArray info = run("sndfile-info", {argument("ours.au")});
        EXPECT_TRUE(info.contains("Frames      : 1103")) << info.toStdString();
        EXPECT_EQ(probed("ours.au")["streams"].toArray()[0].toObject()["codec_name"].toString(), c.codec);
    }
    // A pipe leaves the size unknown.
    makeFile("pipe.au", run("sox", {"-n", "-r", "8000", "-t", "au", "-", "synth", "0.1", "sine", "440"}));
    EXPECT_EQ(opened("pipe.au")->numberOfFrames(), 800);
}

} // namespace
} // namespace velloria
