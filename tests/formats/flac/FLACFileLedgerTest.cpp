#include "formats/flac/FLACFile.h"

#include "formats/kit/DecodingTestKit.h"
#include "formats/wave/WaveFile.h"

namespace velloria::test
{

class FLACFileLedgerTest : public DecodingTest
{
protected:
    /// What is told of a file before and after its sound is decoded; all of its bytes are accounted for, else
    /// opening would end the test.
    QStringList told(const std::string& name, const QByteArray& bytes) const
    {
        makeFile(name, bytes);
        const auto file = opened(name);
        EXPECT_TRUE(file);
        if (!file)
            return {};
        mNumFrames = SavingTest::decoded(*file).numberOfFrames();
        return file->chunksNotKept() + file->ledger().namesNotKept(ItemKind::stream);
    }

    mutable int64_t mNumFrames = 0;
};

TEST_F(FLACFileLedgerTest, NamesWhatStandsAroundTheStream)
{
    FLACFile file(44100.0, 16, 2);
    save(file, "in.flac", noiseDocument(50000, 2));
    const QByteArray stream = bytesOf("in.flac");
    const auto id3v1 = QByteArray("TAG").leftJustified(128, 'x');
    const QByteArray title = tag(3, version3Frame("TIT2", bytes("\0T")));
    EXPECT_EQ(told("a.flac", stream), QStringList());
    EXPECT_EQ(told("a.flac", title + stream), QStringList("ID3 tag"));
    EXPECT_EQ(told("a.flac", stream + id3v1), QStringList("ID3v1 tag"));
    EXPECT_EQ(told("a.flac", stream + QByteArray(100, '\0')), QStringList());
    EXPECT_EQ(told("a.flac", stream + QByteArray(100, 'r')), QStringList("100 bytes behind the sound"));
    EXPECT_EQ(told("a.flac", stream + QByteArray(100, 'r') + id3v1),
              QStringList({"ID3v1 tag", "100 bytes behind the sound"}));
    EXPECT_EQ(mNumFrames, 50000);
}

TEST_F(FLACFileLedgerTest, WhatIsThereForOtherProgramsStaysInItsPlaceWhenSoundIsEncoded)
{
    WaveFile wave(44100.0, 16, 2);
    save(wave, "in.wav", noiseDocument(1000000, 2));
    run("flac", {"-s", "-P", "5000", "-o", argument("in.flac"), argument("in.wav")});
    run("flac", {"-s", "--no-padding", "--no-seektable", "-o", argument("plain.flac"), argument("in.wav")});
    const auto blocks = [this](const std::string& name) {
        QStringList lines;
        for (const QByteArray& line : run("metaflac", {"--list", argument(name)}).split('\n')) {
            const QByteArray text = line.trimmed();
            // Places hang on the frames; the encoder is another one.
            if (!text.startsWith("m") && !text.startsWith("vendor") && !text.startsWith("MD5"))
                lines += QString::fromLatin1(text.split(',').first());
        }
        return lines;
    };
    for (const std::string name : {"in.flac", "plain.flac"}) {
        const auto file = opened(name);
        FLACFile writer(44100.0, 16, 2);
        writer.setOpenedFile(file);
        save(writer, "out.flac", noiseDocument(1000000, 2));
        EXPECT_EQ(blocks("out.flac"), blocks(name)) << name;
        EXPECT_EQ(file->chunksNotKept(), QStringList());
        run("flac", {"-t", "-s", argument("out.flac")});
    }
    EXPECT_EQ(blocks("in.flac").filter("type: 3").size(), 1);
}

TEST_F(FLACFileLedgerTest, WhatWasCutOutOfALongerStreamTellsThatItWillStartAtZero)
{
    FLACFile file(44100.0, 16, 2);
    save(file, "in.flac", noiseDocument(20 * 4096, 2));
    const QByteArray stream = bytesOf("in.flac");
    // The head of frame 10, whose number is one byte.
    const qsizetype tenth = stream.indexOf(bytes("\xFF\xF8\xC9\x18\x0A"));
    ASSERT_GT(tenth, 0);
    makeFile("late.flac", stream.mid(tenth));
    const auto late = opened("late.flac");
    ASSERT_TRUE(late);
    EXPECT_EQ(SavingTest::decoded(*late).numberOfFrames(), 10 * 4096);
    EXPECT_EQ(late->ledger().namesNotKept(ItemKind::value),
              QStringList("the start of the sound at 0.929 s becomes 0"));
}

TEST_F(FLACFileLedgerTest, OpensAStreamBehindSeveralTags)
{
    FLACFile file(44100.0, 16, 2);
    // Long enough to be decoded in sections.
    save(file, "in.flac", noiseDocument(1500000, 2));
    const QByteArray title = tag(3, version3Frame("TIT2", bytes("\0T")));
    // A picture can hold what looks like a frame.
    const QByteArray second = tag(2, bytes("PIC\0\0\x0E\0PNG\3\0\xFF\xF8\xC9\x18\0\xFF\xF8\xC9"));
    makeFile("tags.flac", title + second + title + bytesOf("in.flac"));
    const auto tagged = opened("tags.flac");
    ASSERT_TRUE(tagged);
    EXPECT_EQ(tagged->numberOfFrames(), 1500000);
    EXPECT_EQ(framesOf(SavingTest::decoded(*tagged)), framesOf(SavingTest::decoded(*opened("in.flac"))));
    EXPECT_EQ(tagged->warnings(), QStringList());
    EXPECT_EQ(tagged->chunksNotKept(), QStringList("ID3 tag (3 times)"));
}

TEST_F(FLACFileLedgerTest, OpensAStreamThatBeginsWithAFrame)
{
    FLACFile file(44100.0, 16, 2);
    const TrackDocument document = noiseDocument(50000, 2);
    save(file, "in.flac", document);
    const QByteArray stream = bytesOf("in.flac");
    // The frames' heads: 4096 frames at 44.1 kHz, two channels in some form, 16 bits, number 0.
    qsizetype firstFrame = stream.indexOf("\xFF\xF8\xC9");
    ASSERT_GT(firstFrame, 0);
    makeFile("bare.flac", stream.mid(firstFrame));
    const auto bare = opened("bare.flac");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->fileFormatUTI(), "org.videolan.flac");
    EXPECT_EQ(bare->numberOfChannels(), 2U);
    EXPECT_EQ(bare->bitsPerSample(), 16U);
    EXPECT_EQ(framesOf(SavingTest::decoded(*bare)), framesOf(SavingTest::decoded(*opened("in.flac"))));
    EXPECT_EQ(bare->warnings(), QStringList());
}

TEST_F(FLACFileLedgerTest, AFileOutOfOggIsSavedInOgg)
{
    FLACFile first(48000.0, 24, 2);
    AudioMetadata metadata;
    metadata.setTitle("Tïtle");
    first.setMetadata(metadata);
    first.setInOgg(true);
    const TrackDocument document = noiseDocument(300000, 2, 48000.0);
    save(first, "in.oga", document);
    EXPECT_EQ(bytesOf("in.oga").left(4), "OggS");
    const auto file = opened("in.oga");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->fileFormatUTI(), "org.videolan.flac");
    EXPECT_EQ(file->numberOfFrames(), 300000);
    EXPECT_EQ(file->metadata().title(), "Tïtle");
    EXPECT_EQ(file->chunksNotKept(), QStringList());
    const TrackDocument sound = SavingTest::decoded(*file);
    EXPECT_EQ(file->warnings(), QStringList());

    // As a document does it: the writer gets the data format of the file that was opened.
    const struct {
        std::string name;
        bool isInOgg;
    } cases[] = {{"out.oga", true}, {"out", true}, {"out.flac", false}};
    for (const auto& c : cases) {
        FLACFile writer(48000.0, 24, 2);
        writer.setDataFormat(file->dataFormat());
        writer.setOpenedFile(file);
        writer.setMetadata(file->metadata());
        writer.validateAndCorrectParameters();
        save(writer, c.name, sound);
        EXPECT_EQ(bytesOf(c.name).left(4), c.isInOgg ? "OggS" : "fLaC");
        EXPECT_EQ(writer.isInOgg(), c.isInOgg);
        EXPECT_EQ(framesOf(SavingTest::decoded(*opened(c.name))), framesOf(sound));
        EXPECT_EQ(framesByFfmpeg(c.name), framesOf(sound));
        const QJsonObject format = probed(c.name)["format"].toObject();
        EXPECT_EQ(format["format_name"].toString(), c.isInOgg ? "ogg" : "flac");
    }
    run("flac", {"-t", "-s", "--ogg", argument("out.oga")});

    // The stream's number comes from what it holds.
    save(first, "again.oga", document);
    EXPECT_EQ(bytesOf("again.oga"), bytesOf("in.oga"));
    save(first, "other.oga", noiseDocument(300001, 2, 48000.0));
    EXPECT_NE(bytesOf("other.oga").mid(14, 4), bytesOf("in.oga").mid(14, 4));
}

} // namespace velloria::test
