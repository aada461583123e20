#include "formats/tagediting/Id3Edit.h"

#include "formats/tagediting/Id3Intake.h"
#include "formats/tags/Id3TestTags.h"
#include "platform/Log.h"

#include <functional>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bigEndian32;
using test::bytes;
using test::synchSafe;
using test::tag;

using Change = std::function<void(AudioMetadata&)>;

AudioMetadata metadataOf(const QByteArray& tag)
{
    AudioMetadata metadata;
    EXPECT_TRUE(takeInId3Tag(tag, metadata)) << tag.toHex(' ').toStdString();
    return metadata;
}

QByteArray edited(const QByteArray& tag, const Change& change, const Id3SoundChange& sound = {})
{
    const AudioMetadata read = metadataOf(tag);
    AudioMetadata now = read;
    change(now);
    auto edit = Id3Edit::ofTag(tag);
    EXPECT_TRUE(edit);
    return edit ? edit->edited(read, now, sound) : QByteArray();
}

Change title(const QString& text)
{
    return [text](AudioMetadata& metadata) { metadata.setTitle(text); };
}

QByteArray frame(int version, const char* id, const QByteArray& payload, char flags = 0)
{
    return version == 2   ? test::version2Frame(id, payload)
           : version == 3 ? test::version3Frame(id, payload, flags)
                          : test::version4Frame(id, payload, flags);
}

/// A tag of any flags with padding of any length.
QByteArray padded(int version, const QByteArray& frames, qsizetype padding, char flags = 0)
{
    return QByteArray("ID3") + static_cast<char>(version) + '\0' + flags +
           synchSafe(static_cast<quint32>(frames.size() + padding)) + frames + QByteArray(padding, '\0');
}

QByteArray png(const char* text)
{
    return QByteArray("\x89PNG") + text;
}

QByteArray picture(int version, const QByteArray& data)
{
    return version == 2 ? frame(2, "PIC", bytes("\0PNG\3\0") + data)
                        : frame(version, "APIC", bytes("\0image/png\0\3cover\0") + data);
}

/// Frames that the metadata holds none of, or more of than it can.
QByteArray foreignFrames(int version)
{
    const bool isOld = version == 2;
    return frame(version, isOld ? "TXX" : "TXXX", bytes("\0REPLAYGAIN_TRACK_GAIN\0-3.1 dB")) +
           frame(version, isOld ? "UFI" : "UFID",
                 bytes("http://a\0"
                       "1234")) +
           frame(version, isOld ? "COM" : "COMM", bytes("\0engiTunNORM\0 0001")) +
           frame(version, isOld ? "COM" : "COMM", bytes("\0deuQuelle\0ein Text")) +
           frame(version, isOld ? "POP" : "POPM", bytes("me@b\0\x80\1")) +
           frame(version, isOld ? "SLT" : "SYLT", bytes("\0eng\2\1x\0la\0\0\0\0\1")) +
           frame(version, isOld ? "XYZ" : "XYZW", bytes("\xFF\xFE\0 anything"));
}

QByteArray text(int version, const char* id, const QByteArray& value)
{
    return frame(version, id, '\0' + value);
}

const char* titleID(int version)
{
    return version == 2 ? "TT2" : "TIT2";
}

TEST(Id3EditTest, ChangesNothingWhereNothingChanged)
{
    for (const int version : {2, 3, 4}) {
        const auto v = static_cast<char>(version);
        const QByteArray frames = text(version, titleID(version), "Old") + foreignFrames(version);
        for (const QByteArray& whole :
             {tag(v, frames), padded(version, frames, 0), tag(v, frames + "TIT2\xFF"), tag(v, frames, '\x80'),
              tag(v, ""), tag(v, QByteArray(50, 'x'))})
            EXPECT_EQ(edited(whole, [](AudioMetadata&) {}), whole);
    }
}

TEST(Id3EditTest, ChangesOneFrameAndUsesUpPaddingFirst)
{
    for (const int version : {2, 3, 4}) {
        SCOPED_TRACE(version);
        const char* const id = titleID(version);
        const QByteArray front = foreignFrames(version) + picture(version, png("a"));
        const QByteArray back = picture(version, png("b")) + foreignFrames(version);
        const QByteArray before = padded(version, front + text(version, id, "Old") + back, 20);
        const auto after = [&](const QByteArray& value, qsizetype padding) {
            return padded(version, front + text(version, id, value) + back, padding);
        };
        EXPECT_EQ(edited(before, title("Newer")), after("Newer", 18));
        EXPECT_EQ(edited(before, title("N")), after("N", 22));
        EXPECT_EQ(edited(before, title(QString(23, 'x'))), after(QByteArray(23, 'x'), 0));
        EXPECT_EQ(edited(before, title(QString(24, 'x'))), after(QByteArray(24, 'x'), 20));
        EXPECT_EQ(edited(before, title({})),
                  padded(version, front + back, 20 + text(version, id, "Old").size()));
        const QByteArray artist = text(version, version == 2 ? "TP1" : "TPE1", "Who");
        EXPECT_EQ(edited(before, [](AudioMetadata& m) { m.setArtist("Who"); }).size(), before.size());
        EXPECT_TRUE(edited(before, [](AudioMetadata& m) {
                        m.setArtist("Who");
                    }).startsWith(before.first(10) + front + text(version, id, "Old") + back + artist));
    }
}

TEST(Id3EditTest, AppendsFramesInTheFormOfTheVersion)
{
    const auto change = [](AudioMetadata& metadata) {
        metadata.setYear("1999");
        metadata.setComments("Ж");
        metadata.setTrackNumber(3);
        metadata.setCategory("cat");
        metadata.setPodcastURL("http://ü");
    };
    const struct {
        int version;
        QByteArray appended;
    } cases[] = {
        {2, text(2, "TCT", "cat") + frame(2, "COM", bytes("\1eng\xFF\xFE\0\0\xFF\xFE\x16\4")) +
                frame(2, "WFD", "http://\xFC") + text(2, "TRK", "3") + text(2, "TYE", "1999")},
        {3, text(3, "TCAT", "cat") + frame(3, "COMM", bytes("\1eng\xFF\xFE\0\0\xFF\xFE\x16\4")) +
                frame(3, "WFED", "http://\xFC") + text(3, "TRCK", "3") + text(3, "TYER", "1999")},
        {4, text(4, "TCAT", "cat") + frame(4, "COMM", bytes("\3eng\0\xD0\x96")) +
                frame(4, "WFED", "http://\xFC") + text(4, "TRCK", "3") + text(4, "TDRC", "1999")},
    };
    for (const auto& c : cases) {
        const QByteArray frames = text(c.version, titleID(c.version), "T");
        const QByteArray made = edited(padded(c.version, frames, 500), change);
        EXPECT_TRUE(made.sliced(10).startsWith(frames + c.appended)) << made.toHex(' ').toStdString();
        const AudioMetadata read = metadataOf(made);
        EXPECT_EQ(read.comments(), "Ж");
        EXPECT_EQ(read.podcastURL(), "http://ü");
    }
}

TEST(Id3EditTest, KeepsTheEncodingWhereItCanHoldTheText)
{
    const struct {
        int version;
        QByteArray before;
        QString now;
        QByteArray after;
    } cases[] = {
        {3, bytes("\0Old\0"), "Né", bytes("\0N\xE9\0")},
        {3, bytes("\0Old"), "Ж", bytes("\1\xFF\xFE\x16\4")},
        {4, bytes("\0Old\0"), "Ж", bytes("\3\xD0\x96\0")},
        {4, bytes("\3Old"), "é", bytes("\3\xC3\xA9")},
        {3, bytes("\1\xFF\xFEO\0\0\0"), "N", bytes("\1\xFF\xFEN\0\0\0")},
        {3, bytes("\1\xFE\xFF\0O"), "Ж", bytes("\1\xFE\xFF\4\x16")},
        {4, bytes("\2\0O"), "Ж", bytes("\2\4\x16")},
        {4, bytes("\3A\0B"), "A; C", bytes("\3A\0C")},
        {4, bytes("\7x"), "N", bytes("\0N")},
    };
    for (const auto& c : cases) {
        const QByteArray made =
            edited(padded(c.version, frame(c.version, "TIT2", c.before), 40), title(c.now));
        EXPECT_TRUE(made.sliced(10).startsWith(frame(c.version, "TIT2", c.after)))
            << made.toHex(' ').toStdString();
        EXPECT_EQ(metadataOf(made).title(), c.now);
    }
}

TEST(Id3EditTest, ChangesEveryFrameThatTellsTheValue)
{
    const auto year = [](const QString& text) {
        return [text](AudioMetadata& metadata) { metadata.setYear(text); };
    };
    const QByteArray years = text(4, "TDRC", "2010-10-11") + text(4, "XYZW", "x") + text(4, "TYER", "2010");
    EXPECT_EQ(edited(padded(4, years, 0), year("2020")),
              padded(4, text(4, "TDRC", "2020") + text(4, "XYZW", "x") + text(4, "TYER", "2020"), 6));
    EXPECT_EQ(edited(padded(4, years, 0), year("")), padded(4, text(4, "XYZW", "x"), 36));
    // The format allows one; a compressed one cannot be read, and would come back.
    const QByteArray titles =
        text(3, "TIT2", "A") + frame(3, "TIT2", "\1\2\3\4\5", '\x80') + text(3, "TIT2", "B");
    EXPECT_TRUE(edited(padded(3, titles, 0), title("C")).startsWith(padded(3, text(3, "TIT2", "C"), 27)));
    EXPECT_EQ(edited(padded(3, text(3, "TIT2", "A"), 30), title({})), QByteArray()) << "no frame is left";
}

TEST(Id3EditTest, KeepsOtherCommentsWithTheirLanguages)
{
    const auto comment = [](const QByteArray& head, const QByteArray& value) {
        return frame(3, "COMM", '\0' + head + '\0' + value);
    };
    const auto set = [](const QString& text) {
        return [text](AudioMetadata& metadata) { metadata.setComments(text); };
    };
    const QByteArray described = comment("engID3v1", "shown");
    const QByteArray before = comment("deu", "andere") + described + comment("fra", "shown") +
                              comment("engiTunPGAP", "shown") + comment("engx", "other");
    EXPECT_EQ(edited(padded(3, before, 0), set("newer")),
              padded(3,
                     comment("deu", "andere") + comment("engID3v1", "newer") + comment("fra", "newer") +
                         comment("engiTunPGAP", "shown") + comment("engx", "other"),
                     0));
    EXPECT_EQ(edited(padded(3, before, 0), set("")),
              padded(3, comment("deu", "andere") + comment("engiTunPGAP", "shown") + comment("engx", "other"),
                     described.size() + comment("fra", "shown").size()));
    EXPECT_EQ(
        edited(padded(3, described, 0), set("Ж")),
        padded(3, frame(3, "COMM", "\1eng" + bytes("\xFF\xFEI\0D\0003\0v\0001\0\0\0\xFF\xFE\x16\4")), 0));
    // An empty one is filled; a single letter is read only with its end.
    EXPECT_EQ(edited(padded(3, comment("eng", ""), 2), set("a")), padded(3, comment("eng", bytes("a\0")), 0));
    const QByteArray made = edited(padded(3, frame(3, "USLT", bytes("\0deu\0la")), 30),
                                   [](AudioMetadata& metadata) { metadata.setLyrics("la la"); });
    EXPECT_TRUE(made.sliced(10).startsWith(frame(3, "USLT", bytes("\0deu\0la la"))));
}

TEST(Id3EditTest, PicturesKeepTheirFramesAndFillThePlacesInOrder)
{
    for (const int version : {2, 3, 4}) {
        SCOPED_TRACE(version);
        const QByteArray a = picture(version, png("a"));
        const QByteArray b = picture(version, png("bb"));
        const QByteArray linked =
            frame(version, version == 2 ? "PIC" : "APIC",
                  version == 2 ? bytes("\0-->\3\0http://x") : bytes("\0-->\0\3\0http://x"));
        const QByteArray rest = foreignFrames(version);
        const QByteArray before = padded(version, a + linked + rest + b + rest, 2000);
        const QList<AttachedPicture> pictures = metadataOf(before).artwork();
        ASSERT_EQ(pictures.size(), 2);
        const auto framesWith = [&](const QList<AttachedPicture>& now) {
            const QByteArray made = edited(before, [&](AudioMetadata& m) { m.setArtwork(now); });
            EXPECT_EQ(metadataOf(made).artwork(), now);
            EXPECT_EQ(made.size(), before.size());
            return made.sliced(10);
        };
        EXPECT_TRUE(framesWith({pictures[1], pictures[0]}).startsWith(b + linked + rest + a + rest + '\0'));
        EXPECT_TRUE(framesWith({pictures[1]}).startsWith(b + linked + rest + rest + '\0'));
        EXPECT_TRUE(framesWith({}).startsWith(linked + rest + rest + '\0'));
        AttachedPicture other = *AttachedPicture::withPictureData(png("ccc"));
        other.setPictureType(4);
        const QByteArray c =
            version == 2 ? frame(2, "PIC", other.id3v220Data()) : frame(version, "APIC", other.id3v230Data());
        EXPECT_TRUE(
            framesWith({pictures[0], pictures[1], other}).startsWith(a + linked + rest + b + c + rest));
        EXPECT_TRUE(framesWith({pictures[0], other}).startsWith(a + linked + rest + c + rest));
    }
}

TEST(Id3EditTest, FramesKeepTheirFlags)
{
    // Groups: a byte in front of the payload. Other frames of the tag are compressed, encrypted, in a group.
    const QByteArray version3 = frame(3, "TPE1", "\1\2\3\4\5", '\x80') + frame(3, "TALB", "\1\2\3", '\x40') +
                                frame(3, "TXXX", bytes("\7\0a\0b"), '\x20');
    EXPECT_EQ(edited(padded(3, version3 + frame(3, "TIT2", bytes("\7\0Old"), '\x20'), 0), title("New")),
              padded(3, version3 + frame(3, "TIT2", bytes("\7\0New"), '\x20'), 0));
    const QByteArray unsynchronised = frame(4, "XYZW", bytes("\0\0\0\2\xFF\0\xE0"), '\x03');
    EXPECT_EQ(edited(padded(4, unsynchronised + frame(4, "TIT2", bytes("\7\0\0\0\4\0Old"), '\x41'), 0),
                     title("New")),
              padded(4, unsynchronised + frame(4, "TIT2", bytes("\7\0New"), '\x40'), 4));
}

TEST(Id3EditTest, UnsynchronisedTagsStayThat)
{
    // As stored: the size of a frame counts without the zero bytes that were put in.
    const auto stored = [](const char* id, quint32 size, const QByteArray& payload) {
        return id + bigEndian32(size) + bytes("\0\0") + payload;
    };
    const QByteArray foreign = stored("XYZW", 3, bytes("\xFF\0\xE0\xFF"));
    const QByteArray before = padded(3, foreign + stored("TIT2", 3, bytes("\0A\xFF\0")), 10, '\x80');
    const QByteArray made = edited(before, title("ÿÿþ"));
    EXPECT_EQ(made, padded(3, foreign + stored("TIT2", 4, bytes("\0\xFF\0\xFF\0\xFE")), 8, '\x80'));
    EXPECT_EQ(metadataOf(made).title(), "ÿÿþ");
    EXPECT_EQ(edited(before, title({})), padded(3, foreign + bytes("\0"), 23, '\x80'))
        << "padding must not look like what was put in";

    const QByteArray version4 = padded(4, frame(4, "TIT2", bytes("\0A"), '\2'), 20, '\x80');
    const QByteArray made4 = edited(version4, title("ÿà"));
    EXPECT_EQ(made4, padded(4, frame(4, "TIT2", bytes("\0\xFF\0\xE0"), '\2'), 18, '\x80'));
    EXPECT_EQ(metadataOf(made4).title(), "ÿà");
}

/// CRC-32, bit by bit.
quint32 sumOf(const QByteArray& bytes)
{
    quint32 sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        for (int bit = 0; bit < 8; ++bit) {
            const bool isSet = ((sum ^ (static_cast<quint32>(static_cast<uint8_t>(byte)) >> bit)) & 1) != 0;
            sum = isSet ? 0xEDB88320 ^ (sum >> 1) : sum >> 1;
        }
    }
    return ~sum;
}

TEST(Id3EditTest, ExtendedHeadersAndFootersFollow)
{
    ASSERT_EQ(sumOf("123456789"), 0xCBF43926);
    const auto version3 = [](const QByteArray& frames, qsizetype padding) {
        return padded(3,
                      bigEndian32(10) + bytes("\x80\0") + bigEndian32(static_cast<quint32>(padding)) +
                          bigEndian32(sumOf(frames)) + frames,
                      padding, '\x40');
    };
    EXPECT_EQ(edited(version3(text(3, "TIT2", "Old"), 9), title("Newer")),
              version3(text(3, "TIT2", "Newer"), 7));
    const auto version4 = [](const QByteArray& frames, qsizetype padding) {
        const quint32 sum = sumOf(frames + QByteArray(padding, '\0'));
        return padded(4,
                      synchSafe(15) + bytes("\1\x70\0\5") + static_cast<char>(sum >> 28) +
                          synchSafe(sum & 0xFFFFFFF) + bytes("\1\x40") + frames,
                      padding, '\x40');
    };
    EXPECT_EQ(edited(version4(text(4, "TIT2", "Old"), 9), title("Newer")),
              version4(text(4, "TIT2", "Newer"), 7));

    const auto footed = [](const QByteArray& frames) {
        const QByteArray whole = padded(4, frames, 0, '\x10');
        return whole + "3DI" + whole.sliced(3, 7);
    };
    EXPECT_EQ(edited(footed(text(4, "TIT2", "Old")), title("Newer")), footed(text(4, "TIT2", "Newer")));
    EXPECT_EQ(edited(footed(text(4, "TIT2", "Old")), title("N")), footed(text(4, "TIT2", "N")));
}

TEST(Id3EditTest, DamageBehindTheFramesStaysWhereItIs)
{
    const QByteArray damage = "TPE1" + bytes("\0\0\xFF\xFF\0\0A");
    EXPECT_EQ(edited(padded(3, text(3, "TIT2", "Old") + damage, 0), title("Newer")),
              padded(3, text(3, "TIT2", "Newer") + damage, 0));
    const QByteArray behindPadding = QByteArray(20, '\0') + "rubbish";
    EXPECT_EQ(edited(padded(3, text(3, "TIT2", "Old") + behindPadding, 0), title({})),
              padded(3, behindPadding, 0));
    EXPECT_FALSE(Id3Edit::ofTag(tag(5, "")));
    EXPECT_FALSE(Id3Edit::ofTag("TAG"));
}

TEST(Id3EditTest, TablesOfPacketsGoWithThePacketsAndLengthsFollow)
{
    const QByteArray tables = frame(3, "MLLT", "table");
    const QByteArray sizes = text(3, "TSIZ", "1000");
    const QByteArray foreign = foreignFrames(3);
    const QByteArray before = padded(3, tables + text(3, "TLEN", "5000") + sizes + foreign, 0);
    const auto nothing = [](AudioMetadata&) {};
    EXPECT_EQ(edited(before, nothing), before);
    EXPECT_EQ(edited(before, nothing, {true, std::nullopt, std::nullopt}),
              padded(3, text(3, "TLEN", "5000") + foreign, tables.size() + sizes.size()));
    EXPECT_EQ(edited(before, nothing, {true, 12345, std::nullopt}),
              padded(3, text(3, "TLEN", "12345") + foreign, tables.size() + sizes.size() - 1));
}

TEST(Id3EditTest, WhatIsTooLargeIsLeftOut)
{
    const LogCapture log;
    const QByteArray before = padded(2, text(2, "TT2", "T"), 0);
    const QByteArray made = edited(before, [](AudioMetadata& metadata) {
        metadata.setArtwork({*AttachedPicture::withPictureData(png("") + QByteArray(0x1000000, 'x'))});
    });
    EXPECT_EQ(made, before);
    EXPECT_EQ(log.logged().size(), 1);
}

} // namespace
} // namespace velloria
