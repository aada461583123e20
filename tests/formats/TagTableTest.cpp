#include "formats/CompressedFileKit.h"

namespace velloria::test
{

/// Every tag in every format that has tags, both ways, with mutagen as the other program.
class TagTableTest : public CompressedFileTest
{
protected:
    /// A file of every type with tags, empty of them.
    QStringList makeFiles(const AudioMetadata& metadata) const
    {
        QStringList names;
        for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
            const auto writer = type->create(44100.0, 16, 1);
            if (!writer->canSaveMetadata())
                continue;
            names.append(QStringLiteral("%1.%2").arg(names.size()).arg(type->defaultExtension));
            writer->setMetadata(metadata);
            save(names.back().toStdString(), testSound(20000, 1), *writer);
        }
        return names;
    }
    QString python(const QString& script) const
    {
        return QString::fromUtf8(run("/usr/bin/python3", {"-c", script}));
    }
    static QStringList sorted(QStringList names)
    {
        names.sort();
        return names;
    }
    static bool hasId3Tag(const QString& name)
    {
        return name.endsWith(".wav") || name.endsWith(".mp3") || name.contains(".aif");
    }
};

TEST_F(TagTableTest, EveryTagComesBackFromEveryFormat)
{
    AudioMetadata metadata = metadataWithEverything();
    metadata.setLyrics(QString(200000, u'ж'));
    metadata.setAlbum(QString());
    // An address in an ID3 tag has no other letters.
    metadata.setPodcastURL("https://velloria.example/käse");
    MetadataDictionary expected = metadata.dictionary();
    expected.remove(MetadataKey::attachedPictures);
    EXPECT_FALSE(expected.contains("album"));
    const QStringList names = makeFiles(metadata);
    EXPECT_EQ(names.size(), 9);
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const auto file = open(name.toStdString());
        ASSERT_TRUE(file);
        if (file->requiresConversion())
            decoded(*file);
        MetadataDictionary found = file->metadata().dictionary();
        found.remove(MetadataKey::attachedPictures);
        EXPECT_EQ(found.keys(), expected.keys());
        for (auto each = expected.begin(); each != expected.end(); ++each)
            EXPECT_EQ(found.value(each.key()), each.value()) << each.key().toStdString();
        EXPECT_EQ(file->tagsNotKept(), QStringList());
        EXPECT_EQ(file->metadata().artwork().size(), file->canSaveArtwork() ? 2 : 0);
        for (qsizetype i = 0; i < file->metadata().artwork().size(); ++i)
            EXPECT_EQ(file->metadata().artwork()[i].pictureData(), metadata.artwork()[i].pictureData());
    }
}

TEST_F(TagTableTest, OtherProgramsReadEveryTag)
{
    // The other program's names, in the order of ours.
    const std::pair<const char*, const char*> id3Frames[] = {
        {"artist", "TPE1"},       {"album", "TALB"},         {"tempo", "TBPM"},
        {"track number", "TRCK"}, {"composer", "TCOM"},      {"genre", "TCON"},
        {"title", "TIT2"},        {"copyright", "TCOP"},     {"encoding application", "TSSE"},
        {"grouping", "TIT1"},     {"album artist", "TPE2"},  {"director", "TPE3"},
        {"disc number", "TPOS"},  {"compilation", "TCMP"},   {"format", "TMED"},
        {"description", "TIT3"},  {"comments", "COMM::eng"}, {"lyrics", "USLT::eng"},
    };
    const std::pair<const char*, const char*> mpeg4Items[] = {
        {"title", "©nam"},         {"artist", "©ART"},      {"album artist", "aART"},
        {"album", "©alb"},         {"grouping", "©grp"},    {"composer", "©wrt"},
        {"comments", "©cmt"},      {"year", "©day"},        {"genre", "©gen"},
        {"copyright", "cprt"},     {"description", "desc"}, {"long description", "ldes"},
        {"purchase date", "purd"}, {"category", "catg"},    {"keywords", "keyw"},
        {"podcast url", "purl"},   {"lyrics", "©lyr"},      {"encoding application", "©too"},
        {"egid", "egid"},
    };
    AudioMetadata metadata = metadataWithEverything();
    // The other program takes years for numbers, and ends the description of a comment in UTF-16 by two
    // zeros.
    metadata.setYear("1999");
    metadata.setComments("Käse");
    metadata.setLyrics("Größe\nZeile 2");
    metadata.setPodcastURL("https://velloria.example/käse");
    const MetadataDictionary dictionary = metadata.dictionary();
    for (const QString& name : makeFiles(metadata)) {
        SCOPED_TRACE(name.toStdString());
        if (hasId3Tag(name)) {
            const QString tags = python(
                QStringLiteral(
                    "import mutagen, mutagen.id3 as i; f = i.ID3(\"%1\") if \"%1\".endswith(\"mp3\") "
                    "else mutagen.File(\"%1\").tags; "
                    "print(*(k + \"=\" + str(f[k]) for k in f if not k.startswith(\"APIC\")), sep=\"\\n\"); "
                    "print(sorted(len(p.data) for p in f.getall(\"APIC\")))")
                    .arg(name));
            for (const auto& [key, frame] : id3Frames)
                EXPECT_TRUE(
                    tags.contains(QStringLiteral("%1=%2").arg(frame, dictionary.value(key).toString())))
                    << key << "\n"
                    << tags.toStdString();
            EXPECT_TRUE(tags.contains("TDRC=1999")) << tags.toStdString();
            EXPECT_TRUE(tags.endsWith("[3004, 3008]\n")) << tags.toStdString();
        } else if (name.endsWith(".m4a")) {
            const QString tags =
                python(QStringLiteral("import mutagen.mp4 as m; t = m.MP4(\"%1\").tags; "
                                      "print(*(k + \"=\" + (v[0].decode() if type(v[0]) is bytes "
                                      "else str(v[0])) for k, v in t.items() if k != \"covr\" and "
                                      "type(v) is list), sep=\"\\n\")")
                           .arg(name));
            for (const auto& [key, item] : mpeg4Items)
                EXPECT_TRUE(tags.contains(
                    QStringLiteral("%1=%2").arg(QString::fromUtf8(item), dictionary.value(key).toString())))
                    << key << "\n"
                    << tags.toStdString();
        }
    }
}

TEST_F(TagTableTest, EveryTagOfOtherProgramsIsRead)
{
    // Frames of both later versions, in the encodings that each has, with what we have no room for.
    const char* const script =
        "import mutagen.id3 as i, mutagen.wave, mutagen.aiff, mutagen.mp3, sys\n"
        "for name in [%1]:\n"
        "    for version in 3, 4:\n"
        "        kind = mutagen.wave.WAVE if \".wav\" in name else mutagen.aiff.AIFF if \".aif\" in name "
        "else "
        "mutagen.mp3.MP3\n"
        "        f = kind(name)\n"
        "        f.tags or f.add_tags()\n"
        "        t = f.tags\n"
        "        for n, frame in enumerate(\"TPE1 TALB TCOM TIT2 TCOP TSSE TIT1 TPE2 TPE3 TMED "
        "TIT3\".split()):\n"
        "            t[frame] = i.Frames[frame](encoding=(1, 3 if version == 4 else 1)[n % 2], "
        "text=[frame + \" Ж音楽\"])\n"
        "        t[\"TBPM\"] = i.TBPM(encoding=0, text=[\"99\"]); t[\"TRCK\"] = i.TRCK(encoding=0, "
        "text=[\"4/9\"])\n"
        "        t[\"TPOS\"] = i.TPOS(encoding=0, text=[\"2\"]); t[\"TCON\"] = i.TCON(encoding=0, "
        "text=[\"Folk\"])\n"
        "        t[\"TDRC\"] = i.TDRC(encoding=0, text=[\"1999\"])\n"
        "        t[\"TCMP\"] = i.TCMP(encoding=0, text=[\"1\"]); t[\"PCST\"] = i.PCST(value=1)\n"
        "        t[\"COMM\"] = i.COMM(encoding=1, lang=\"deu\", desc=\"\", text=[\"Ein Wort Ж\"])\n"
        "        t[\"USLT\"] = i.USLT(encoding=1, lang=\"eng\", desc=\"\", text=\"la Ж \" * 50000)\n"
        "        t[\"TXXX\"] = i.TXXX(encoding=1, desc=\"MOOD\", text=[\"x\"]); t[\"PRIV\"] = "
        "i.PRIV(owner=\"o\", data=b\"1\")\n"
        "        for n in range(3):\n"
        "            t.add(i.APIC(encoding=(0, 1)[n %% 2], mime=\"image/png\", type=3 + n, desc=\"Bild %%d\" "
        "%% n, "
        "data=b\"\\x89PNG\" + bytes(1000 + n)))\n"
        "        t.update_to_v23() if version == 3 else None\n"
        "        out = name.replace(\".\", \"-%%d.\" %% version); open(out, \"wb\").write(open(name, "
        "\"rb\").read())\n"
        "        t.save(out, v2_version=version)\n";
    QStringList names;
    for (const QString& name : makeFiles({})) {
        if (hasId3Tag(name))
            names.append(name);
    }
    QString quoted = QStringLiteral("\"%1\"").arg(names.join("\", \""));
    writeBytes("write.py", QString::fromUtf8(script).replace("%1", quoted).replace("%%", "%").toUtf8());
    run("/usr/bin/python3", {"write.py"});
    const std::pair<const char*, const char*> expected[] = {
        {"artist", "TPE1 Ж音楽"},   {"album", "TALB Ж音楽"},        {"composer", "TCOM Ж音楽"},
        {"title", "TIT2 Ж音楽"},    {"copyright", "TCOP Ж音楽"},    {"encoding application", "TSSE Ж音楽"},
        {"grouping", "TIT1 Ж音楽"}, {"album artist", "TPE2 Ж音楽"}, {"director", "TPE3 Ж音楽"},
        {"format", "TMED Ж音楽"},   {"description", "TIT3 Ж音楽"},  {"tempo", "99"},
        {"track number", "4/9"},    {"disc number", "2"},           {"genre", "Folk"},
        {"year", "1999"},           {"compilation", "1"},           {"podcast", "1"},
        {"comments", "Ein Wort Ж"},
    };
    for (const QString& name : names) {
        for (const char* const version : {"-3.", "-4."}) {
            SCOPED_TRACE(name.toStdString() + version);
            const auto file = open(QString(name).replace(".", version).toStdString());
            ASSERT_TRUE(file);
            const MetadataDictionary found = file->metadata().dictionary();
            for (const auto& [key, value] : expected)
                EXPECT_EQ(found.value(key).toString().toStdString(), value) << key;
            EXPECT_EQ(file->metadata().lyrics().size(), 250000);
            EXPECT_EQ(sorted(file->tagsNotKept()), QStringList({"MOOD", "PRIV"}));
            ASSERT_EQ(file->metadata().artwork().size(), 3);
            for (qsizetype i = 0; i < 3; ++i) {
                const AttachedPicture& picture = file->metadata().artwork()[i];
                EXPECT_EQ(picture.pictureData().size(), 1004 + picture.pictureType() - 3);
                EXPECT_EQ(picture.pictureDescription(),
                          QStringLiteral("Bild %1").arg(picture.pictureType() - 3));
            }
        }
    }
}

} // namespace velloria::test
