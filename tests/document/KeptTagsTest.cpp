#include "document/KeptSoundKit.h"

#include "formats/tags/Id3TestTags.h"

#include <QtEndian>

namespace velloria::kit
{

namespace
{

using test::bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

QByteArray littleEndian32(qsizetype value)
{
    const auto swapped = qToLittleEndian(static_cast<quint32>(value));
    return QByteArray(reinterpret_cast<const char*>(&swapped), 4);
}

/// A tag of each version with a title and much that the model does not hold.
QByteArray id3Tag(char version)
{
    const auto frame = [version](const char* shortID, const char* longID, const QByteArray& payload) {
        return version == 2   ? test::version2Frame(shortID, payload)
               : version == 3 ? test::version3Frame(longID, payload)
                              : test::version4Frame(longID, payload);
    };
    return test::tag(version, frame("TXX", "TXXX", bytes("\0MOOD\0good")) +
                                  frame("COM", "COMM", bytes("\0deuQuelle\0ein Text")) +
                                  frame("TT2", "TIT2", bytes("\0Old")) +
                                  frame("TP1", "TPE1", bytes("\0A\0B")) +
                                  frame("UFI", "PRIV", bytes("owner\0\xFF\xFB\x90\0")) +
                                  frame("CRM", "GEOB", QByteArray(300, 'g')));
}

QByteArray apeTag()
{
    const QByteArray items = littleEndian32(3) + littleEndian32(0) + bytes("Title\0Old") + littleEndian32(5) +
                             littleEndian32(0) + bytes("REPLAYGAIN_TRACK_GAIN\0-3 dB");
    const auto frame = [&](qsizetype flags) {
        return "APETAGEX" + littleEndian32(2000) + littleEndian32(items.size() + 32) + littleEndian32(2) +
               littleEndian32(flags) + QByteArray(8, '\0');
    };
    return frame(0xA0000000) + items + frame(0x80000000);
}

QByteArray tagsBehind()
{
    const QByteArray lyrics = "LYRICSBEGINETT00003OldINF00004more";
    return apeTag() + lyrics + QByteArray::number(lyrics.size()).rightJustified(6, '0') + "LYRICS200" +
           QByteArray("TAGOld").leftJustified(127, '\0') + '\x11';
}

QByteArray titled(QByteArray bytes, const char* title)
{
    return bytes.replace("Old", title);
}

} // namespace

class KeptTagsTest : public KeptSoundTest
{
protected:
    /// Puts a frame of silence into the sound, so that it is encoded.
    static void editSound(SoundDocument& document)
    {
        document.replaceDataAtOffset(1000, 1, 0, ClipList(std::make_shared<AudioClip>(1)));
    }
};

// Nothing but the title's letters, wherever they stand, are other ones in the whole file.
TEST_F(KeptTagsTest, ATitleChangesInAllTagsOfAnMp3AndNothingElseDoes)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const QByteArray packets = readBytes("a.mp3");
    ASSERT_FALSE(packets.contains("Old"));
    const QByteArray second = test::tag(4, test::version4Frame("TALB", bytes("\0second")));
    for (const char version : {'\2', '\3', '\4'}) {
        SCOPED_TRACE(int{version});
        const QByteArray front = id3Tag(version) + second + apeTag();
        const QByteArray whole = front + packets + tagsBehind();
        writeBytes("b.mp3", whole);
        const auto document = open("b.mp3");
        ASSERT_TRUE(document);
        const SaveRequest request = requestFor(*document);
        EXPECT_THAT(losses(*document, request), IsEmpty());
        save(*document, request);
        EXPECT_TRUE(readBytes("b.mp3") == whole);
        setTitle(*document, QStringLiteral("New"));
        EXPECT_THAT(losses(*document, request), IsEmpty());
        save(*document, request);
        EXPECT_TRUE(readBytes("b.mp3") == titled(whole, "New"));
        // The next saves edit what this one wrote, with the same sound or another.
        setTitle(*document, QStringLiteral("Now"));
        editSound(*document);
        EXPECT_THAT(losses(*document, request), ElementsAre(HasSubstr("encoded once more")));
        save(*document, request);
        EXPECT_TRUE(readBytes("b.mp3").startsWith(titled(front, "Now")));
        EXPECT_TRUE(readBytes("b.mp3").endsWith(titled(tagsBehind(), "Now")));
        EXPECT_EQ(open("b.mp3")->numberOfFrames(), document->numberOfFrames());
        document->undoManager().undo();
        setTitle(*document, QStringLiteral("Old"));
        save(*document, request);
        EXPECT_TRUE(readBytes("b.mp3") == whole);
    }
}

TEST_F(KeptTagsTest, AFileWithoutAnId3v2TagGetsOneAndKeepsTheOthers)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const QByteArray packets = readBytes("a.mp3");
    writeBytes("b.mp3", packets + tagsBehind());
    const auto document = open("b.mp3");
    ASSERT_TRUE(document);
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("b.mp3") == packets + tagsBehind());
    setTitle(*document, QStringLiteral("New"));
    EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("b.mp3") ==
                document->audioMetadata().id3Data() + packets + titled(tagsBehind(), "New"));
}

TEST_F(KeptTagsTest, WhatStillGoesIsTold)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const auto text = [](const char* id, const char* value) {
        return test::version3Frame(id, '\0' + QByteArray(value));
    };
    const QByteArray tag = test::tag(3, text("TIT2", "First") + text("TIT2", "Second") +
                                            text("TLEN", "1000") + test::version3Frame("MLLT", "table"));
    writeBytes("b.mp3", tag + readBytes("a.mp3"));
    const auto document = open("b.mp3");
    ASSERT_TRUE(document);
    EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
    setTitle(*document, QStringLiteral("Third"));
    EXPECT_THAT(losses(*document, requestFor(*document)), ElementsAre(HasSubstr("title “First”")));
    document->undoManager().undo();
    document->replaceDataAtOffset(0, 44100, 0, ClipList());
    document->replaceDataAtOffset(0, 44100, 1, ClipList());
    EXPECT_THAT(losses(*document, requestFor(*document)), ElementsAre(HasSubstr("MLLT")));
    save(*document, requestFor(*document));
    const QByteArray saved = readBytes("b.mp3");
    EXPECT_TRUE(saved.contains(text("TIT2", "First") + text("TIT2", "Second") + text("TLEN", "134")))
        << saved.first(100).toHex(' ').toStdString();
    EXPECT_FALSE(saved.contains("MLLT"));

    // An advisory has no frame in version 2.3.
    const auto again = open("b.mp3");
    ASSERT_TRUE(again);
    AudioMetadata metadata = again->audioMetadata();
    metadata.setAdvisory(1);
    again->undoableSetAudioMetadata(metadata);
    EXPECT_THAT(losses(*again, requestFor(*again)), ElementsAre(HasSubstr("advisory")));
    // Another type has a tag of its own.
    SaveRequest other = requestFor(*document, "c.wav");
    other.uti = QStringLiteral("com.microsoft.waveform-audio");
    EXPECT_THAT(losses(*document, other), testing::Contains(HasSubstr("title “First”")));
}

TEST_F(KeptTagsTest, ChunksOfWaveAndAiffHoldTheEditedTag)
{
    makeSource();
    ffmpeg("-i source.wav -c:a pcm_s16le -bitexact a.wav");
    ffmpeg("-i source.wav -c:a pcm_mulaw -bitexact b.wav");
    ffmpeg("-i source.wav -c:a pcm_s16be -bitexact c.aiff");
    for (const char version : {'\2', '\3', '\4'}) {
        for (const std::string name : {"a.wav", "b.wav", "c.aiff"}) {
            SCOPED_TRACE(name + std::to_string(version));
            const bool isWave = name != "c.aiff";
            const QByteArray tag = id3Tag(version);
            const auto size = static_cast<quint32>(tag.size());
            const QByteArray head = isWave ? "id3 " + littleEndian32(size) : "ID3 " + test::bigEndian32(size);
            const auto withTag = [&](QByteArray file) {
                file += head + tag + QByteArray(isWave ? tag.size() % 2 : 0, '\0');
                const auto length = static_cast<quint32>(file.size() - 8);
                return file.replace(4, 4, isWave ? littleEndian32(length) : test::bigEndian32(length));
            };
            writeBytes("d", withTag(readBytes(name)));
            const auto document = open("d");
            ASSERT_TRUE(document);
            setTitle(*document, QStringLiteral("New"));
            EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
            save(*document, requestFor(*document));
            EXPECT_TRUE(readBytes("d").contains(head + titled(tag, "New")));
            setTitle(*document, QStringLiteral("Now"));
            editSound(*document);
            save(*document, requestFor(*document));
            EXPECT_TRUE(readBytes("d").contains(head + titled(tag, "Now")));
        }
    }
}

TEST_F(KeptTagsTest, TagsAroundAdtsStay)
{
    makeSource();
    ffmpeg("-i source.wav -c:a aac -b:a 96k a.aac");
    const QByteArray front = id3Tag(3) + id3Tag(4);
    const QByteArray whole = front + readBytes("a.aac") + tagsBehind();
    writeBytes("b.aac", whole);
    const auto document = open("b.aac");
    ASSERT_TRUE(document);
    EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("b.aac") == whole);
    editSound(*document);
    EXPECT_THAT(losses(*document, requestFor(*document)), Not(testing::Contains(HasSubstr("tag"))));
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("b.aac").startsWith(front));
    EXPECT_TRUE(readBytes("b.aac").endsWith(tagsBehind()));
    const auto again = open("b.aac");
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->openWarnings().isEmpty());
    EXPECT_GE(again->numberOfFrames(), document->numberOfFrames());
}

// Another program wrote the tags, and reads them again.
TEST_F(KeptTagsTest, OtherProgramsFindEverythingButTheTitleAsItWas)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const QString program = QStringLiteral(R"(import sys, mutagen.id3 as m
version = int(sys.argv[1])
if version:
    t = m.ID3()
    for f in [m.TIT2(3, ["Old"]), m.TPE1(1, ["A", "B"]), m.COMM(0, "eng", "", "plain"), m.COMM(1, "deu", "d", "x"),
              m.USLT(1, "fra", "x", "la"), m.SYLT(0, "eng", 2, 1, "s", [("a", 1), ("b", 1000)]), m.PRIV("o", b"\xff\x00\xe0"),
              m.TXXX(3, "REPLAYGAIN_TRACK_GAIN", ["-3 dB"]), m.WXXX(0, "u", "http://x"), m.POPM("e", 5, 3), m.UFID("o", b"1"),
              m.APIC(0, "image/png", 3, "c", b"\x89PNG1234"), m.APIC(0, "image/gif", 8, "d", b"GIF89a"), m.TDRC(0, ["2001-02-03"]),
              m.RVA2("t", 1, -3.5, 0.5), m.CTOC("toc", 3, ["c1"]), m.CHAP("c1", 0, 1000, 7, 8, [m.TIT2(0, ["Chapter"])])]:
        t.add(f)
    t.save("b.mp3", v2_version=version)
else:
    t = m.ID3("b.mp3", translate=False)
    print(t.version, t["TIT2"].text)
    del t["TIT2"]
    for f in sorted(repr(f) for f in t.values()): print(f)
)");
    for (const int version : {3, 4}) {
        writeBytes("b.mp3", readBytes("a.mp3"));
        run("/usr/bin/python3", {"-c", program, QString::number(version)});
        const QByteArray before = run("/usr/bin/python3", {"-c", program, "0"});
        const auto document = open("b.mp3");
        ASSERT_TRUE(document);
        setTitle(*document, QString::fromUtf8("Neu Ж"));
        EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
        save(*document, requestFor(*document));
        EXPECT_EQ(run("/usr/bin/python3", {"-c", program, "0"}),
                  QByteArray(before).replace("'Old'", "'Neu Ж'"));
        EXPECT_TRUE(run("ffprobe", {"-v", "error", "-show_format", "b.mp3"}).contains("TAG:title=Neu Ж"));
    }
}

// ffmpeg writes the chapters, and reads them again.
TEST_F(KeptTagsTest, ChaptersOfAnMp3AreMarkersAndGoBack)
{
    makeSource();
    writeBytes("chapters",
               ";FFMETADATA1\ntitle=Old\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=400\ntitle=One\n"
               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=400\nEND=1133\ntitle=Two\n");
    ffmpeg("-i source.wav -i chapters -map_metadata 1 -b:a 128k a.mp3");
    const auto chapters = [this] {
        QStringList told;
        const QString table = run("ffprobe", {"-v", "error", "-show_chapters", "-of", "csv", "a.mp3"});
        for (const QString& line : table.split('\n', Qt::SkipEmptyParts)) {
            const QStringList parts = line.split(',');
            told += QStringList{parts[3], parts[5], parts[7]}.join(' ');
        }
        return told.join('|').toStdString();
    };
    EXPECT_EQ(chapters(), "0 400 One|400 1133 Two");
    const QByteArray whole = readBytes("a.mp3");
    const std::string packets = packetsOf("a.mp3");
    const auto document = open("a.mp3");
    ASSERT_TRUE(document);
    ASSERT_EQ(document->audioMarkers()->size(), 2U);
    EXPECT_EQ((*document->audioMarkers())[1]->position(), 17640);
    EXPECT_EQ((*document->audioMarkers())[1]->name(), "Two");
    EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("a.mp3") == whole);

    document->setPosition(22050, (*document->audioMarkers())[1]);
    document->addMarker(markerAt(4410, QStringLiteral("Ж")));
    EXPECT_THAT(losses(*document, requestFor(*document)), IsEmpty());
    save(*document, requestFor(*document));
    // In the order of their frames, of which the new one is the last.
    EXPECT_EQ(chapters(), "0 100 One|500 1133 Two|100 500 Ж");
    EXPECT_EQ(packetsOf("a.mp3"), packets);

    // A tenth of a second is cut out in front of the last one.
    document->replaceDataAtOffset(5000, 4410, 0, ClipList());
    document->replaceDataAtOffset(5000, 4410, 1, ClipList());
    document->setPosition(17640, (*document->audioMarkers())[1]);
    save(*document, requestFor(*document));
    const auto again = open("a.mp3");
    ASSERT_TRUE(again);
    ASSERT_EQ(again->audioMarkers()->size(), 3U);
    EXPECT_THAT(chapters(), HasSubstr(" 1034 "));

    // Between two milliseconds; and another type holds them by itself.
    document->setPosition(17650, document->audioMarkers()->front());
    EXPECT_THAT(losses(*document, requestFor(*document)), testing::Contains(HasSubstr("whole milliseconds")));
    SaveRequest other = requestFor(*document, "c.wav");
    other.uti = QStringLiteral("com.microsoft.waveform-audio");
    EXPECT_THAT(losses(*document, other), Not(testing::Contains(HasSubstr("CHAP"))));
    document->undoableSetAudioMarkers(nullptr);
    save(*document, requestFor(*document));
    EXPECT_EQ(chapters(), "");
    EXPECT_TRUE(open("a.mp3")->audioMarkers() == nullptr || open("a.mp3")->audioMarkers()->empty());
}

} // namespace velloria::kit
