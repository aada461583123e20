#include "formats/mpeg/PacketStreamLedger.h"

#include "formats/kit/CompressedFileKit.h"

namespace velloria::test
{

class PacketStreamLedgerTest : public CompressedFileTest
{
protected:
    /// The parts of a file that are not in the model; all bytes are accounted for (else opening would end the
    /// test).
    QStringList told(const std::string& name, const QByteArray& bytes) const
    {
        writeBytes(name, bytes);
        const auto file = open(name);
        EXPECT_TRUE(file);
        const auto all = [](const FileItem&) { return true; };
        return file ? file->ledger().namesOf(ItemKind::part, all) : QStringList();
    }
};

QByteArray apeTag()
{
    const QByteArray item = littleEndian32(4) + littleEndian32(0) + bytes("Title\0Song");
    const auto frame = [&](int64_t flags) {
        return "APETAGEX" + littleEndian32(2000) + littleEndian32(item.size() + 32) + littleEndian32(1) +
               littleEndian32(flags) + QByteArray(8, '\0');
    };
    return frame(0xA0000000) + item + frame(0x80000000);
}

TEST_F(PacketStreamLedgerTest, NamesEverythingAroundThePackets)
{
    writeSource("source.wav", testSound(30000, 1));
    ffmpeg("-i source.wav -c:a libmp3lame -b:a 64k -id3v2_version 0 -write_xing 0 a.mp3");
    ffmpeg("-i source.wav -c:a aac a.aac");
    const auto id3v1 = QByteArray("TAG").leftJustified(128, 'x');
    const QByteArray title = tag(3, version3Frame("TIT2", bytes("\0T")));
    const QByteArray lyrics = "LYRICSBEGIN" + QByteArray("IND0000210") + "000021LYRICS200";
    const QByteArray footer = "3DI" + bytes("\4\0\x10") + synchSafe(20);
    const QByteArray appended = "ID3" + bytes("\4\0\x10") + synchSafe(20) + QByteArray(20, '\0') + footer;
    for (const std::string name : {"a.mp3", "a.aac"}) {
        SCOPED_TRACE(name);
        const QByteArray packets = readBytes(name);
        const qsizetype second = packets.indexOf(packets.first(2), 3);
        const bool isMp3 = name == "a.mp3";
        // The first tag of MP3 files is taken in.
        const QStringList first = isMp3 ? QStringList() : QStringList("ID3 tag");
        const QString another = isMp3 ? "a second ID3 tag" : "ID3 tag";
        const QStringList delay =
            isMp3 ? QStringList()
                  : QStringList("the first 2112 frames of the sound, taken for the encoder's delay");
        EXPECT_EQ(told(name, packets), delay);
        EXPECT_EQ(told(name, title + packets), first + delay);
        EXPECT_EQ(told(name, title + title + packets),
                  (isMp3 ? QStringList(another) : QStringList("ID3 tag (2 times)")) + delay);
        EXPECT_EQ(told(name, packets + id3v1), QStringList("ID3v1 tag") + delay);
        EXPECT_EQ(told(name, packets + apeTag() + id3v1),
                  QStringList({"ID3v1 tag", "APEv2 tag (Title)"}) + delay);
        EXPECT_EQ(told(name, packets + lyrics + id3v1), QStringList({"ID3v1 tag", "Lyrics3 tag"}) + delay);
        EXPECT_EQ(told(name, packets + appended), QStringList("ID3 tag") + delay);
        EXPECT_EQ(told(name, packets + QByteArray(3000, '\0')), delay);
        EXPECT_EQ(told(name, packets + QByteArray(3000, 'r')),
                  QStringList("3000 bytes behind the sound") + delay);
        EXPECT_EQ(told(name, packets.chopped(5)).size(), 1 + delay.size());
        if (isMp3) {
            EXPECT_EQ(told(name, QByteArray(777, 'r') + packets),
                      QStringList("777 bytes in front of the sound"));
            EXPECT_EQ(told(name, packets.first(second) + QByteArray(50, 'r') + packets.mid(second)),
                      QStringList("50 bytes between the packets of the sound"));
        }
    }
}

} // namespace velloria::test
