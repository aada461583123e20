#include "formats/tagediting/OtherTagEdits.h"

#include "formats/tags/Id3TestTags.h"

#include <QtEndian>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;
using Kind = TagsAround::Tag::Kind;

AudioMetadata metadata(const MetadataDictionary& values)
{
    AudioMetadata made;
    made.setValuesWithDictionary(values);
    return made;
}

QByteArray id3v1(const QByteArray& title, const QByteArray& artist, const QByteArray& comment, char genre)
{
    return "TAG" + title.leftJustified(30, '\0') + artist.leftJustified(30, ' ') + QByteArray(30, '\0') +
           "2001" + comment.leftJustified(30, '\0') + genre;
}

TEST(OtherTagEditsTest, Id3v1FollowsInItsFields)
{
    const AudioMetadata read = metadata({{"title", "Old"}, {"artist", "Who"}, {"genre", "Rock"}});
    const QByteArray track = QByteArray("say").leftJustified(29, '\0') + '\7';
    const QByteArray before = id3v1("Old", "Somebody else", track, 17);
    const struct {
        MetadataDictionary now;
        QByteArray after;
    } cases[] = {
        {read.dictionary(), before},
        {{{"title", QString(40, 'x')}, {"artist", "Who"}, {"genre", "Rock"}},
         id3v1(QByteArray(30, 'x'), "Somebody else", track, 17)},
        {{{"title", "Né Ж"}, {"artist", "Me"}, {"genre", "jazz"}}, id3v1("N\xE9 ?", "Me", track, 8)},
        {{{"genre", "None such"}}, id3v1("", QByteArray(30, ' '), track, '\xFF')},
        // What it does not tell it does not get.
        {{{"title", "Old"}, {"artist", "Who"}, {"genre", "Rock"}, {"album", "A"}}, before},
        {{{"title", "Old"},
          {"artist", "Who"},
          {"genre", "Rock"},
          {"track number", "12/20"},
          {"comments", "c"}},
         id3v1("Old", "Somebody else", QByteArray("c").leftJustified(29, '\0') + '\x0C', 17)},
        {{{"title", "Old"},
          {"artist", "Who"},
          {"genre", "Rock"},
          {"track number", "300"},
          {"year", "1999-10"}},
         id3v1("Old", "Somebody else", QByteArray("say").leftJustified(30, '\0'), 17)
             .replace("2001", "1999")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(OtherTagEdits::edited(Kind::id3v1, before, read, metadata(c.now)), c.after);

    const auto enhanced = [](const QByteArray& title, const QByteArray& genre) {
        return "TAG+" + title.leftJustified(60, '\0') + QByteArray(60, 'a') + QByteArray(60, 'b') + '\1' +
               genre.leftJustified(30, '\0') + "000:00000:10";
    };
    MetadataDictionary now = read.dictionary();
    now.insert("title", "New");
    now.insert("genre", "Jazz");
    EXPECT_EQ(OtherTagEdits::editedId3v1(enhanced("Old", "Rock") + before, read, metadata(now)),
              enhanced("", "Jazz") + id3v1("New", "Somebody else", track, 8));
}

QByteArray littleEndian32(qsizetype value)
{
    const auto swapped = qToLittleEndian(static_cast<quint32>(value));
    return QByteArray(reinterpret_cast<const char*>(&swapped), 4);
}

QByteArray item(const QByteArray& name, const QByteArray& value, int flags = 0)
{
    return littleEndian32(value.size()) + littleEndian32(flags) + name + '\0' + value;
}

QByteArray ape(const QList<QByteArray>& items, bool hasHeader, bool hasFooter = true)
{
    const QByteArray body = items.join();
    const auto frame = [&](qsizetype flags) {
        return "APETAGEX" + littleEndian32(2000) + littleEndian32(body.size() + (hasFooter ? 32 : 0)) +
               littleEndian32(items.size()) + littleEndian32(flags) + QByteArray(8, '\0');
    };
    return (hasHeader ? frame(0xA0000000) : QByteArray()) + body +
           (hasFooter ? frame(hasHeader ? 0x80000000 : 0) : QByteArray());
}

TEST(OtherTagEditsTest, ApeItemsFollowByTheirUsualNames)
{
    QList<AttachedPicture> pictures = {*AttachedPicture::withPictureData("\x89PNGold")};
    AudioMetadata read = metadata({{"title", "Old"}, {"artist", "A; B"}, {"track number", "3/12"}});
    read.setArtwork(pictures);
    const QByteArray gain = item("REPLAYGAIN_TRACK_GAIN", "-3 dB");
    const QByteArray undo = item("MP3GAIN_UNDO", "+3,+3,N");
    const QByteArray cover = item("Cover Art (Front)", bytes("c.png\0\x89PNGold"), 2);
    const QByteArray binary = item("Title", bytes("\1\2"), 2);
    for (const auto& ends : {std::pair(true, true), {false, true}, {true, false}}) {
        const auto tag = [&](const QList<QByteArray>& items) { return ape(items, ends.first, ends.second); };
        const QByteArray before = tag({gain, item("TITLE", "Old"), binary, item("Artist", bytes("A\0B")),
                                       item("Track", "3/12"), cover, undo});
        EXPECT_EQ(OtherTagEdits::edited(Kind::ape, before, read, read), before);
        AudioMetadata now = read;
        now.setTitle("Ж");
        now.setArtist("A; C");
        now.setAlbum("not told here");
        now.setTrackNumber(0);
        now.setTotalNumberOfTracks(0);
        now.setArtwork({*AttachedPicture::withPictureData("\x89PNGnewer")});
        EXPECT_EQ(OtherTagEdits::edited(Kind::ape, before, read, now),
                  tag({gain, item("TITLE", "\xD0\x96"), binary, item("Artist", bytes("A\0C")),
                       item("Cover Art (Front)", bytes("c.png\0\x89PNGnewer"), 2), undo}));
        now.setArtwork({});
        EXPECT_FALSE(OtherTagEdits::edited(Kind::ape, before, read, now).contains("Cover"));
        EXPECT_EQ(OtherTagEdits::edited(Kind::ape, tag({item("Title", "Old")}), read, metadata({})),
                  QByteArray());
        // Items that do not fill the tag.
        const QByteArray damaged = tag({littleEndian32(1000) + littleEndian32(0) + bytes("Title\0Old")});
        EXPECT_EQ(OtherTagEdits::edited(Kind::ape, damaged, read, now), damaged);
    }
}

TEST(OtherTagEditsTest, Lyrics3FollowsInItsFields)
{
    const auto tag = [](const QByteArray& fields) {
        const QByteArray body = "LYRICSBEGIN" + fields;
        return body + QByteArray::number(body.size()).rightJustified(6, '0') + "LYRICS200";
    };
    const AudioMetadata read = metadata({{"title", "Old"}, {"lyrics", "la"}});
    const QByteArray before = tag("IND0000211LYR00009[00:01]laETT00003OldXYZ00002..");
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, before, read, read), before);
    EXPECT_EQ(
        OtherTagEdits::edited(Kind::lyrics3, before, read, metadata({{"title", "Né"}, {"lyrics", "la"}})),
        tag("IND0000211LYR00009[00:01]laETT00002N\xE9XYZ00002.."));
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, before, read, metadata({{"lyrics", "a\nb"}})),
              tag("IND0000210LYR00004a\r\nbXYZ00002.."));
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, before, read, metadata({{"title", "Old"}})),
              tag("IND0000200ETT00003OldXYZ00002.."));
    const QByteArray damaged = tag("ETT00099Old");
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, damaged, read, metadata({})), damaged);
    const QByteArray old = "LYRICSBEGINlaLYRICSEND";
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, old, read, metadata({{"lyrics", "la"}})), old);
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, old, read, metadata({{"lyrics", "lo"}})),
              "LYRICSBEGINloLYRICSEND");
    EXPECT_EQ(OtherTagEdits::edited(Kind::lyrics3, old, read, metadata({})), QByteArray());
    EXPECT_EQ(OtherTagEdits::edited(Kind::id3, old, read, metadata({})), old);
}

} // namespace
} // namespace velloria
