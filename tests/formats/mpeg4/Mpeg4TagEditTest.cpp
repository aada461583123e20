#include "formats/kit/CompressedFileKit.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"
#include "platform/codec/Mpeg4Box.h"

#include <QtEndian>

namespace velloria::test
{

namespace
{

QByteArray box(const char* type, const QByteArray& payload)
{
    return mpeg4Box(qFromBigEndian<uint32_t>(type), payload);
}

/// A value: its type (1 is UTF-8), a locale, the bytes.
QByteArray value(const QByteArray& bytes, char type = 1)
{
    return box("data", QByteArray("\0\0\0", 3) + type + QByteArray(4, '\0') + bytes);
}

QByteArray item(const char* type, const QByteArray& text)
{
    return box(type, value(text));
}

QByteArray meta(const QByteArray& items)
{
    const QByteArray handler = QByteArray(8, '\0') + "mdirappl" + QByteArray(9, '\0');
    return box("meta", QByteArray(4, '\0') + box("hdlr", handler) + box("ilst", items));
}

} // namespace

/// Saves over files whose user data is put together by hand.
class Mpeg4TagEditTest : public CompressedFileTest
{
protected:
    void SetUp() override
    {
        writeSource("source.wav", testSound(20000, 1, 48000.0));
        ffmpeg("-i source.wav -c:a alac -sample_fmt s16p plain.m4a");
    }

    /// A file whose 'moov' box, the last one, ends with `userData`.
    std::shared_ptr<AudioFile> fileWith(const QByteArray& userData) const
    {
        const QByteArray plain = readBytes("plain.m4a");
        writeBytes("a.m4a", mpeg4PayloadWith(Mpeg4Box(plain), [&](const auto& child, const auto& payload) {
                       const bool isMovie = child.type == fourCharCode("moov");
                       return isMovie ? std::optional<QByteArray>(box(
                                            "moov", payload.childrenWithout(fourCharCode("udta")) + userData))
                                      : std::nullopt;
                   }));
        return open("a.m4a");
    }

    static void configure(AudioFile& writer, const std::shared_ptr<AudioFile>& opened, const QString& key,
                          const QString& text)
    {
        MetadataDictionary dictionary = opened->metadata().dictionary();
        if (!key.isEmpty())
            dictionary.insert(key, text);
        AudioMetadata metadata;
        metadata.setValuesWithDictionary(dictionary);
        writer.setMetadata(metadata);
        writer.setOpenedFile(opened);
        writer.setMarkers(opened->markers());
        writer.setNumberOfFrames(opened->numberOfFrames());
    }

    /// All user data of the film after a value was replaced.
    QByteArray savedUserData(const std::shared_ptr<AudioFile>& opened, const QString& key,
                             const QString& text) const
    {
        Mpeg4AppleLosslessFile writer(48000.0, 16, 1);
        configure(writer, opened, key, text);
        save("b.m4a", decoded(*opened), writer);
        return userDataOf("b.m4a");
    }
    QByteArray userDataOf(const std::string& name) const
    {
        const QByteArray movie = readMpeg4Movie(*FileHandle::openForReading(path(name)));
        QByteArray all;
        for (const Mpeg4Box& each : Mpeg4Box(movie).children(fourCharCode("udta")))
            all += box("udta", each.copy(0, each.size()));
        return all;
    }
};

TEST_F(Mpeg4TagEditTest, ChangesTheItemOnlyWhereverItStands)
{
    const QByteArray name = box("udta", box("name", "a name") + box("titl", "a title"));
    const QByteArray artist = item("\251ART", "A");
    const QByteArray private1 = box("mean", "????who");
    const QByteArray private2 = box("zzzz", "what");
    const QByteArray isrc =
        box("mean", QByteArray(4, '\0') + "com.apple.iTunes") + box("name", QByteArray(4, '\0') + "ISRC");
    const QByteArray genre = box("gnre", value(QByteArray("\0\x12", 2), 0));
    const struct {
        const char* what;
        QByteArray before;
        const char* key;
        QByteArray after;
    } cases[] = {
        {"tags in the second", name + box("udta", meta(item("\251nam", "T") + artist)), "title",
         name + box("udta", meta(item("\251nam", "x") + artist))},
        {"tags in both", box("udta", meta(item("\251nam", "T"))) + box("udta", meta(artist)), "title",
         box("udta", meta(item("\251nam", "x"))) + box("udta", meta(artist))},
        {"the first is empty", box("udta", meta({})) + box("udta", meta(artist)), "artist",
         box("udta", meta({})) + box("udta", meta(item("\251ART", "x")))},
        {"more in an item", box("udta", meta(box("\251alb", value("T") + private1 + private2) + artist)),
         "album", box("udta", meta(box("\251alb", value("x") + private1 + private2) + artist))},
        {"nothing that is read",
         box("udta", meta(box("\251alb", private1 + value("T")) + box("\251alb", value("T", 2)) + artist)),
         "album", box("udta", meta(artist + item("\251alb", "x")))},
        {"a free-form item", box("udta", meta(box("----", isrc + value("T") + private2) + artist)), "isrc",
         box("udta", meta(box("----", isrc + value("x") + private2) + artist))},
        {"several values", box("udta", meta(box("\251nam", value("T") + private2 + value("U")) + artist)),
         "title", box("udta", meta(box("\251nam", value("x") + private2) + artist))},
        {"a further item", box("udta", meta(item("\251nam", "T") + artist + item("\251nam", "U"))), "title",
         box("udta", meta(item("\251nam", "x") + artist))},
        {"a numbered genre", box("udta", meta(genre + artist)), "genre",
         box("udta", meta(item("\251gen", "x") + artist))},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        const auto file = fileWith(each.before);
        ASSERT_TRUE(file);
        EXPECT_EQ(savedUserData(file, each.key, "x").toHex(), each.after.toHex());
        const auto saved = open("b.m4a");
        ASSERT_TRUE(saved);
        EXPECT_EQ(metadataText(saved->metadata().dictionary().value(each.key)), "x");
    }
}

TEST_F(Mpeg4TagEditTest, AddsToOneOfSeveralUserData)
{
    const QByteArray first = box("\251swr", "?") + box("name", "a name");
    const QByteArray second = box("udta", box("titl", "a title"));
    const auto file = fileWith(box("udta", first) + second);
    const QByteArray titled = savedUserData(file, "title", "x");
    EXPECT_TRUE(titled.sliced(mpeg4BoxHeaderBytes).startsWith(first));
    EXPECT_TRUE(titled.endsWith(second));
    EXPECT_EQ(open("b.m4a")->metadata().title(), "x");
    // Chapters go to the list that there is, wherever it is.
    writeBytes("a.m4a", readBytes("b.m4a"));
    for (const auto& names : {QStringList{"one"}, QStringList{"two", "three"}, QStringList()}) {
        const auto opened = open("a.m4a");
        Mpeg4AppleLosslessFile writer(48000.0, 16, 1);
        configure(writer, opened, {}, {});
        std::vector<std::pair<int64_t, QString>> markers;
        for (const QString& each : names)
            markers.emplace_back(1000 * (1 + std::ssize(markers)), each);
        writer.setMarkers(markers.empty() ? nullptr : markerList(markers));
        save("b.m4a", decoded(*opened), writer);
        EXPECT_EQ(userDataOf("b.m4a").count("chpl"), names.isEmpty() ? 0 : 1);
        const QByteArray rest = userDataOf("b.m4a");
        EXPECT_TRUE(rest.contains(first) && rest.endsWith(second));
        EXPECT_EQ(markersOf(*open("b.m4a")), markers);
        writeBytes("a.m4a", readBytes("b.m4a"));
    }
}

TEST_F(Mpeg4TagEditTest, PutsNoItemsAmongThoseThatHaveNumbersForNames)
{
    const QByteArray handler = box("hdlr", QByteArray(8, '\0') + "mdta" + QByteArray(13, '\0'));
    const QByteArray keys = box("keys", QByteArray("\0\0\0\0\0\0\0\1", 8) + box("mdta", "com.example.scene"));
    const QByteArray items = box("ilst", box("\0\0\0\1", value("kept")));
    const QByteArray numbered = box("udta", box("meta", QByteArray(4, '\0') + handler + keys + items));
    auto file = fileWith(numbered);
    ASSERT_TRUE(file);
    // The second save finds the list that the first one made.
    for (const char* title : {"x", "y"}) {
        EXPECT_TRUE(savedUserData(file, "title", QString::fromLatin1(title)).endsWith(numbered));
        EXPECT_EQ(userDataOf("b.m4a").count("mdir"), 1);
        writeBytes("a.m4a", readBytes("b.m4a"));
        file = open("a.m4a");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->metadata().title(), QString::fromLatin1(title));
        const QJsonObject tags = probed("a.m4a")["format"].toObject()["tags"].toObject();
        EXPECT_EQ(tags["title"].toString(), QString::fromLatin1(title));
        EXPECT_EQ(tags["com.example.scene"].toString(), "kept");
    }
}

TEST_F(Mpeg4TagEditTest, TellsOnlyWhatComesOutOtherwise)
{
    const QByteArray disc = box("disk", value(QByteArray("\0\0\0\0\0\2", 6), 0));
    const auto file =
        fileWith(box("udta", meta(item("\251nam", "T") + box("\251ART", value("A1") + value("A2")) + disc +
                                  box("\251alb", value("L") + box("zzzz", "what")) + item("\251nam", "U"))));
    ASSERT_TRUE(file);
    const QString total = "“0/2” (disc number) is left out";
    const QString further = "©nam that is not read";
    const QString inside = "box (zzzz) of ©alb";
    const struct {
        const char* key;
        const char* text;
        int64_t numFramesLess;
        QStringList told;
    } cases[] = {
        {"", "", 0, {}},
        {"title", "x", 0, {further}},
        {"artist", "x", 0, {}},
        {"disc number", "1", 0, {total}},
        {"album", "x", 0, {}},
        {"album", "", 0, {inside}},
        // Sound of another length.
        {"", "", 100, {}},
        {"title", "x", 100, {further}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.key << "=" << each.text << " " << each.numFramesLess);
        Mpeg4AppleLosslessFile writer(48000.0, 16, 1);
        writer.setFilePath(path("a.m4a"));
        configure(writer, file, each.key, each.text);
        writer.setNumberOfFrames(file->numberOfFrames() - each.numFramesLess);
        QStringList told;
        for (const ItemKind kind : {ItemKind::part, ItemKind::tag, ItemKind::value})
            told +=
                file->ledger().namesOf(kind, [&](const FileItem& item) { return !writer.willWrite(item); });
        EXPECT_EQ(told, each.told) << told.join('|').toStdString();
    }
}

} // namespace velloria::test
