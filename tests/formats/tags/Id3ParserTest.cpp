#include "formats/tags/Id3Parser.h"

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/Id3TestTags.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;
using test::tag;
using test::version2Frame;
using test::version3Frame;
using test::version4Frame;

MetadataDictionary parsed(const QByteArray& tag)
{
    const auto dictionary = parseId3Tag(tag);
    EXPECT_TRUE(dictionary) << tag.toHex(' ').toStdString();
    return dictionary.value_or(MetadataDictionary());
}

QString titleOf(const QByteArray& tag)
{
    return parsed(tag).value("title").toString();
}

TEST(Id3Parser, DecodesTextInEveryEncoding)
{
    const struct {
        QByteArray payload;
        QString text;
    } cases[] = {
        {bytes("\0K\xE4se"), "Käse"},
        {bytes("\0padded\0\0\0"), "padded"},
        {bytes("\1\xFF\xFE\x16\4\0\0"), "Ж"},
        {bytes("\1\xFE\xFF\4\x16"), "Ж"},
        {bytes("\1\x16\4"), "Ж"},     // no mark: as this machine writes
        {bytes("\2\4\x16\0\0"), "Ж"}, // no mark, big-endian by the standard
        {bytes("\2\xFF\xFE\x16\4"), "Ж"},
        {bytes("\1\xFF\xFE\x41\0\0"), "A"}, // half a terminator
        {bytes("\3\xD0\x96\0"), "Ж"},
        {bytes("\3One\0Two\0\0Three\0"), "One; Two; Three"},
        {bytes("\1\xFF\xFE\x41\0\0\0\xFF\xFE\x42\0"), "A; B"},
        {bytes("\4unknown"), ""},
        {bytes("\0"), ""},
        {bytes("\1\xFF\xFE"), ""},
        {bytes("\1\xFF"), ""},
        {bytes(""), ""},
    };
    for (const auto& c : cases) {
        const MetadataDictionary dictionary = parsed(tag(3, version3Frame("TIT2", c.payload)));
        EXPECT_EQ(dictionary.value("title").toString(), c.text) << c.payload.toHex(' ').toStdString();
        EXPECT_EQ(dictionary.contains("title"), !c.text.isEmpty()) << c.payload.toHex(' ').toStdString();
        EXPECT_EQ(titleOf(tag(2, version2Frame("TT2", c.payload))), c.text);
    }
}

TEST(Id3Parser, KnowsTheFramesThatAreNotPlainText)
{
    const MetadataDictionary version2 =
        parsed(tag(2, version2Frame("WFD", "http://a.b/\xE4") + version2Frame("PCS", bytes("\0\0\0\1")) +
                          version2Frame("XYZ", "ignored") + version2Frame("TXX", bytes("\0a\0b"))));
    EXPECT_EQ(version2, (MetadataDictionary{{"podcast url", "http://a.b/ä"}, {"podcast", "1"}}));

    const MetadataDictionary version3 = parsed(
        tag(3, version3Frame("TTSG", bytes("\0") + "1984") + version3Frame("TDAT", bytes("\0") + "0102") +
                   version3Frame("PCST", bytes("\0\0\0\0")) + version3Frame("WFED", bytes("\0http://a")) +
                   version3Frame("TXXX", bytes("\0a\0b")) + version3Frame("WOAR", "http://b")));
    EXPECT_EQ(
        version3,
        (MetadataDictionary{
            {"year", "1984"}, {"recorded date", "0102"}, {"podcast", "1"}, {"podcast url", "http://a"}}));
    EXPECT_EQ(parsed(tag(4, version4Frame("WFED", "http://c"))).value("podcast url"), "http://c");
    EXPECT_EQ(parsed(tag(4, version4Frame("TDRC", bytes("\0") + "2010-10-11") +
                                version4Frame("TCMP", bytes("\0") + "1"))),
              (MetadataDictionary{{"year", "2010-10-11"}, {"compilation", "1"}}));
}

TEST(Id3Parser, NamesGenreNumbersInVersion2Only)
{
    const struct {
        const char* text;
        const char* version2;
    } cases[] = {{"(17)", "Rock"}, {"(17)Rock", "Rock"}, {"(126)", "(126)"}, {"(RX)", "(RX)"},
                 {"(", "("},       {"()", "()"},         {"17", "17"},       {"Folk", "Folk"}};
    for (const auto& c : cases) {
        const QByteArray payload = bytes("\0") + c.text;
        EXPECT_EQ(parsed(tag(2, version2Frame("TCO", payload))).value("genre"), c.version2);
        EXPECT_EQ(parsed(tag(3, version3Frame("TCON", payload))).value("genre"), c.text);
    }
}

TEST(Id3Parser, FindsCommentsBehindTheirDescription)
{
    const struct {
        QByteArray payload;
        QString text;
    } cases[] = {
        {bytes("\0eng\0plain"), "plain"},
        {bytes("\0deuabout\0\0text\0"), "text"},
        {bytes("\0engiTunNORM\0 0000"), ""},
        {bytes("\1eng\xFF\xFEi\0T\0u\0n\0\0\0\xFF\xFEx\0y\0"), ""},
        {bytes("\1eng\0\xFF\xFE\x16\4\0\0"), "Ж"}, // single zero byte, as we write it
        {bytes("\1eng\xFF\xFE\0\0\xFF\xFE\x16\4"), "Ж"},
        {bytes("\1eng\xFF\xFE"
               "a\0\0\1\0\0\xFF\xFE"
               "b\0c\0"),
         "bc"}, // a zero byte inside the description
        {bytes("\2eng\0\0\0b\0c"), "bc"},
        {bytes("\3eng\0\xD0\x96"), "Ж"},
        {bytes("\0engno terminator"), ""},
        {bytes("\0eng\0x"), ""},
        {bytes("\0eng\0\0\0\0"), ""},
        {bytes("\0eng"), ""},
        {bytes("\0"), ""},
        {bytes("\5eng\0text"), ""},
    };
    for (const auto& c : cases) {
        const QByteArray frames = version3Frame("COMM", c.payload) + version3Frame("USLT", c.payload);
        const MetadataDictionary dictionary = parsed(tag(3, frames));
        EXPECT_EQ(dictionary.value("comments").toString(), c.text) << c.payload.toHex(' ').toStdString();
        EXPECT_EQ(dictionary.value("lyrics").toString(), c.text);
        EXPECT_EQ(dictionary.size(), c.text.isEmpty() ? 0 : 2);
    }
}

TEST(Id3Parser, PrefersTheCommentWithoutADescription)
{
    const QByteArray plain = version3Frame("COMM", bytes("\0eng\0mine"));
    const QByteArray described = version3Frame("COMM", bytes("\0engprivate\0program's"));
    for (const QByteArray& frames : {plain + described, described + plain})
        EXPECT_EQ(parsed(tag(3, frames)).value("comments"), "mine");
    EXPECT_EQ(parsed(tag(3, described)).value("comments"), "program's");
}

TEST(Id3Parser, SkipsOrUnwrapsFlaggedFrames)
{
    const QByteArray before = bytes("\0before");
    const auto version3Title = [&](char flags, const QByteArray& payload) {
        return titleOf(tag(3, version3Frame("TIT2", before) + version3Frame("TIT2", payload, flags)));
    };
    const auto version4Title = [&](char flags, const QByteArray& payload) {
        return titleOf(tag(4, version4Frame("TIT2", before) + version4Frame("TIT2", payload, flags)));
    };
    EXPECT_EQ(version3Title('\x80', bytes("\0packed")), "before");
    EXPECT_EQ(version3Title('\x40', bytes("\0secret")), "before");
    EXPECT_EQ(version3Title('\x20', bytes("G\0grouped")), "grouped");
    EXPECT_EQ(version4Title('\x08', bytes("\0packed")), "before");
    EXPECT_EQ(version4Title('\x04', bytes("\0secret")), "before");
    EXPECT_EQ(version4Title('\x01', bytes("\0\0\0\x05\0long")), "long");
    EXPECT_EQ(version4Title('\x41', bytes("G\0\0\0\x05\0both")), "both");
    EXPECT_EQ(version4Title('\x01', bytes("\0\0")), "before");
    EXPECT_EQ(version4Title('\x02', bytes("\0\xFF\0\xFF\0\xFF")), "ÿÿÿ");
    EXPECT_EQ(version4Title('\x00', bytes("\0\xFF\0\xFF")), "ÿ; ÿ");
}

TEST(Id3Parser, UndoesUnsynchronisation)
{
    EXPECT_EQ(unsynchronizeData(bytes("\xFF\0\0\xFF\xFF\0"
                                      "a\0")),
              bytes("\xFF\0\xFF\xFF"
                    "a\0"));

    // Up to version 2.3 for the whole tag, sizes counting what comes out of it; in 2.4 frame by frame.
    const char flag = '\x80';
    EXPECT_EQ(titleOf(tag(2, "TT2" + bytes("\0\0\3\0\xFF\0\xFF") + version2Frame("TP1", bytes("\0A")), flag)),
              "ÿÿ");
    const QByteArray version3 =
        "TIT2" + bytes("\0\0\0\3\0\0\0\xFF\0\xFF") + version3Frame("TPE1", bytes("\0A"));
    EXPECT_EQ(parsed(tag(3, version3, flag)), (MetadataDictionary{{"title", "ÿÿ"}, {"artist", "A"}}));
    const QByteArray version4 =
        version4Frame("TIT2", bytes("\0\xFF\0\xFF"), 2) + version4Frame("TPE1", bytes("\0\xFF\0\xFF"));
    EXPECT_EQ(parsed(tag(4, version4, flag)), (MetadataDictionary{{"title", "ÿÿ"}, {"artist", "ÿÿ"}}));
}

TEST(Id3Parser, FindsTheFramesBehindAnExtendedHeader)
{
    const QByteArray title3 = version3Frame("TIT2", bytes("\0T"));
    const QByteArray title4 = version4Frame("TIT2", bytes("\0T"));
    const char flag = '\x40';
    EXPECT_EQ(titleOf(tag(3, bytes("\0\0\0\x06\0\0\0\0\0\0") + title3, flag)), "T") << "own size not counted";
    EXPECT_EQ(titleOf(tag(3, bytes("\0\0\0\x0A\0\0\0\0\0\0") + title3, flag)), "T") << "own size counted";
    EXPECT_EQ(titleOf(tag(3, title3, flag)), "T") << "flag without a header";
    EXPECT_EQ(titleOf(tag(4, bytes("\0\0\0\x06\1\0") + title4, flag)), "T");
    EXPECT_EQ(parsed(tag(3, bytes("\xFF\xFF\xFF\xFF\0\0\0\0") + title3, flag)), MetadataDictionary());
}

TEST(Id3Parser, AcceptsBothKindsOfSizesInVersion4)
{
    const QByteArray longTitle = bytes("\0") + QByteArray(1000, 'x');
    const QByteArray artist = bytes("\0A");
    const MetadataDictionary expected{{"title", QString(1000, 'x')}, {"artist", "A"}};
    EXPECT_EQ(parsed(tag(4, version4Frame("TIT2", longTitle) + version4Frame("TPE1", artist))), expected);
    EXPECT_EQ(parsed(tag(4, version3Frame("TIT2", longTitle) + version3Frame("TPE1", artist))), expected);
    EXPECT_EQ(parsed(tag(4, version3Frame("TPE1", artist) + version3Frame("TIT2", longTitle))), expected);
}

TEST(Id3Parser, KeepsWhatStandsBeforeTheDamage)
{
    const QByteArray title2 = version2Frame("TT2", bytes("\0T"));
    const QByteArray title3 = version3Frame("TIT2", bytes("\0T"));
    const QByteArray title4 = version4Frame("TIT2", bytes("\0T"));
    const QByteArray tags[] = {
        tag(2, title2 + "TP1" + bytes("\xFF\xFF\xFF\0A")),
        tag(2, title2 + bytes("T\0P") + version2Frame("TP1", bytes("\0A"))),
        tag(3, title3 + "TPE1" + bytes("\xFF\xFF\xFF\xFF\0\0\0A")),
        tag(3, title3 + bytes("\0\0\0\0") + version3Frame("TPE1", bytes("\0A"))),
        tag(3, title3 + "TPE1"),
        tag(4, title4 + "TPE1" + bytes("\xFF\xFF\xFF\xFF\0\0\0A")),
        tag(4, title4 + bytes("\0\0\0\0") + version4Frame("TPE1", bytes("\0A"))),
    };
    for (const QByteArray& tag : tags)
        EXPECT_EQ(parsed(tag), (MetadataDictionary{{"title", "T"}})) << tag.toHex(' ').toStdString();
}

TEST(Id3Parser, RefusesWhatIsNoTagItKnows)
{
    const QByteArray frames = version3Frame("TIT2", bytes("\0T"));
    EXPECT_FALSE(parseId3Tag(""));
    EXPECT_FALSE(parseId3Tag(tag(3, frames).first(13)));
    EXPECT_FALSE(parseId3Tag("XXX" + tag(3, frames).mid(3)));
    EXPECT_FALSE(parseId3Tag(tag(1, frames)));
    EXPECT_FALSE(parseId3Tag(tag(5, frames)));
    EXPECT_FALSE(parseId3Tag(tag(2, version2Frame("TT2", bytes("\0T")), '\x40')));
    EXPECT_EQ(parsed(tag(3, frames).first(14)), MetadataDictionary());
}

TEST(Id3Parser, ReadsThousandsOfPicturesAndKeepsTheirOrder)
{
    constexpr int numPictures = 50'000;
    QByteArray frames;
    for (int i = 0; i < numPictures; ++i)
        frames += version3Frame("APIC", bytes("\0image/png\0\3\0\x89PNG") + QByteArray::number(i));
    FileLedger ledger;
    const auto dictionary = parseId3Tag(tag(3, frames), &ledger);
    ASSERT_TRUE(dictionary);
    const QList<AttachedPicture> pictures = attachedPictures(*dictionary);
    ASSERT_EQ(pictures.size(), 10'000);
    EXPECT_EQ(pictures.last().pictureData(), "\x89PNG9999");
    const auto all = [](const FileItem&) { return true; };
    EXPECT_EQ(ledger.namesOf(ItemKind::part, all), QStringList("picture (40000 times)"));
}

} // namespace
} // namespace velloria
