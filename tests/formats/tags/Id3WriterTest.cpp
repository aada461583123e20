#include "formats/tags/Id3Writer.h"

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/Id3Frames.h"
#include "formats/tags/Id3Genres.h"
#include "formats/tags/Id3Parser.h"
#include "formats/tags/Id3TestTags.h"
#include "platform/Log.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;
using test::version2Frame;

const QByteArray encoderFrame = version2Frame("TSS", bytes("\0Velloria\0"));

TEST(Id3Writer, PadsAShortTagTo256Bytes)
{
    const QByteArray frames = version2Frame("TT2", bytes("\0A\0")) + encoderFrame;
    const QByteArray tag = generateId3Tag({{"title", "A"}});
    EXPECT_EQ(tag, bytes("ID3\2\0\0\0\0\1\x76") + frames + QByteArray(246 - frames.size(), '\0'));
    EXPECT_EQ(generateId3Tag({}), "");
}

TEST(Id3Writer, StatesTheSizeOfALongTagSevenBitsAByte)
{
    const QByteArray tag = generateId3Tag({{"title", QString(100'000, 'x')}});
    EXPECT_EQ(tag.size(), 10 + 6 + 1 + 100'000 + 1 + encoderFrame.size());
    EXPECT_EQ(tag.mid(6, 4), test::synchSafe(static_cast<quint32>(tag.size() - 10)));
}

TEST(Id3Writer, WritesEachKindOfFrame)
{
    const auto picture = AttachedPicture::withPictureData("\xFF\xD8\xFF\xE0");
    const struct {
        const char* key;
        QVariant value;
        QByteArray frame;
    } cases[] = {
        {"artist", "Ж", version2Frame("TP1", bytes("\1\xFF\xFE\x16\4\0\0"))},
        {"artist", "Ж1", version2Frame("TP1", bytes("\1\xFF\xFE\x16\4\x31\0\0\0"))},
        {"tempo", 120,
         version2Frame("TBP", bytes("\0"
                                    "120\0"))},
        {"genre", 17, version2Frame("TCO", bytes("\0Rock\0"))},
        {"genre", 200,
         version2Frame("TCO", bytes("\0"
                                    "200\0"))},
        {"track number", bytes("\0\0\0\3\0\x0C\0\0"),
         version2Frame("TRK", bytes("\0"
                                    "3/12\0"))},
        {"disc number", bytes("\0\0\0\1"),
         version2Frame("TPA", bytes("\0"
                                    "1\0"))},
        {"disc number", bytes("\0\0\0\2\0\0"),
         version2Frame("TPA", bytes("\0"
                                    "2\0"))},
        {"track number", bytes("\0\0\0\0"), ""},
        {"podcast url", "http://a/ä", version2Frame("WFD", "http://a/\xE4")},
        {"podcast url", "http://a/ä?Ж=1", version2Frame("WFD", "http://a/%C3%A4?%D0%96=1")},
        {"podcast", "1", version2Frame("PCS", bytes("\0\0\0\1"))},
        {"comments", "hi", version2Frame("COM", bytes("\0eng\0hi\0"))},
        {"lyrics", "Ж", version2Frame("ULT", bytes("\1eng\0\xFF\xFE\x16\4\0\0"))},
        {"attached pictures", QVariant::fromValue(QList<AttachedPicture>{*picture, *picture}),
         version2Frame("PIC", picture->id3v220Data()) + version2Frame("PIC", picture->id3v220Data())},
        {"album", "", ""},
        {"file length", "12345", ""},
    };
    for (const auto& c : cases) {
        const QByteArray tag = generateId3Tag({{c.key, c.value}});
        const QByteArray frames = tag.mid(10, c.frame.size() + encoderFrame.size());
        EXPECT_TRUE(frames == c.frame + encoderFrame || frames == encoderFrame + c.frame)
            << c.key << ": " << frames.toHex(' ').toStdString();
        EXPECT_EQ(tag.mid(10 + frames.size()).count('\0'), tag.size() - 10 - frames.size()) << c.key;
    }
}

TEST(Id3Writer, NamesCommentsWhoseFormOtherProgramsDoNotRead)
{
    const struct {
        MetadataDictionary dictionary;
        QString named;
    } cases[] = {
        {{}, ""},
        {{{"comments", "Grüße"}, {"lyrics", ""}, {"title", "Ж"}}, ""},
        {{{"comments", "Ж"}, {"lyrics", "ÿ"}}, "comments"},
        {{{"lyrics", "Ж"}}, "lyrics"},
        {{{"comments", "‘"}, {"lyrics", "Ж"}}, "comments and lyrics"},
    };
    for (const auto& c : cases) {
        const QStringList losses = id3DisplayLosses(c.dictionary, {});
        ASSERT_EQ(losses.size(), c.named.isEmpty() ? 0 : 1) << c.named.toStdString();
        for (const QString& loss : losses)
            EXPECT_TRUE(loss.startsWith("Other programs may not show the " + c.named + ":"))
                << loss.toStdString();
    }
}

TEST(Id3Writer, NamesNothingThatTheTagHeldInTheSameWay)
{
    auto gif = *AttachedPicture::withPictureData("GIF89a");
    gif.setImageFormat("image/gif");
    const QVariant pictures = QVariant::fromValue(QList<AttachedPicture>{gif});
    const MetadataDictionary now = {{"comments", "Ж"}, {"lyrics", "Ж"}, {"attached pictures", pictures}};
    MetadataDictionary before = now;
    EXPECT_EQ(id3DisplayLosses(now, {}).size(), 2) << "letters and pictures";
    EXPECT_EQ(id3DisplayLosses(now, before).size(), 2) << "another program wrote them";
    before["encoding application"] = "Velloria";
    EXPECT_EQ(id3DisplayLosses(now, before), QStringList());
    before["lyrics"] = "Я";
    before.remove("attached pictures");
    const QStringList losses = id3DisplayLosses(now, before);
    ASSERT_EQ(losses.size(), 2);
    EXPECT_TRUE(losses[0].contains("the lyrics:")) << losses[0].toStdString();
    EXPECT_TRUE(losses[1].contains("pictures")) << losses[1].toStdString();
}

TEST(Id3Writer, KeepsEveryKeyInTheOrderOfTheTable)
{
    MetadataDictionary dictionary;
    QByteArrayList ids;
    for (const Id3Frame& frame : id3Frames()) {
        if (frame.version2ID.empty() || frame.kind == Id3FrameKind::pictures)
            continue;
        dictionary.insert(frame.keyString(),
                          frame.kind == Id3FrameKind::podcastFlag ? "1" : "text of " + frame.keyString());
        ids.append(QByteArray(frame.version2ID.data(), 3));
    }
    const QByteArray tag = generateId3Tag(dictionary);
    dictionary["encoding application"] = "Velloria";
    EXPECT_EQ(parseId3Tag(tag), dictionary);
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end(), [&tag](const QByteArray& a, const QByteArray& b) {
        return tag.indexOf(a + '\0') < tag.indexOf(b + '\0');
    }));
}

TEST(Id3Writer, LeavesOutAndNamesWhatIsTooLarge)
{
    auto huge = AttachedPicture::withPictureData("\xFF\xD8" + QByteArray(id3LargestPayload, 'x'));
    auto largest = AttachedPicture::withPictureData("\xFF\xD8" + QByteArray(id3LargestPayload - 2 - 6, 'x'));
    const QList<AttachedPicture> pictures = {*huge, *largest};
    const LogCapture log;
    const QByteArray tag =
        generateId3Tag({{"title", "T"}, {"attached pictures", QVariant::fromValue(pictures)}});
    EXPECT_EQ(log.logged(),
              QStringList("ID3 tag: \"attached pictures\" of 16777223 bytes is too large and was left out."));
    EXPECT_EQ(attachedPictures(*parseId3Tag(tag)), QList<AttachedPicture>{*largest});
    EXPECT_EQ(parseId3Tag(tag)->value("title"), "T");
}

TEST(Id3Genres, HaveNamesAndCodes)
{
    const QMap<int, QString> names = {{0, "Blues"},        {17, "Rock"}, {79, "Hard Rock"}, {80, "Folk"},
                                      {125, "Dance Hall"}, {126, ""},    {-1, ""}};
    for (const auto& [number, name] : names.asKeyValueRange())
        EXPECT_EQ(nameOfGenre(number), name) << number;
    const QMap<QString, int> codes = {
        {"Country", 3},      {"Dance", 4},       {"Jazz", 9},    {"New Age", 11},
        {"Pop", 14},         {"Rock", 18},       {"Techno", 19}, {"Industrial", 20},
        {"Alternative", 21}, {"Soundtrack", 25}, {"Trance", 32}, {"Classical", 33},
        {"House", 36},       {"Electronic", 53}, {"Folk", 81},   {"Easy Listening", 99},
        {"Blues", -1},       {"rock", -1},       {"", -1}};
    for (const auto& [name, code] : codes.asKeyValueRange())
        EXPECT_EQ(numberOfGenre(name), code) << name.toStdString();
}

} // namespace
} // namespace velloria
