#include "formats/kit/CompressedFileKit.h"
#include "formats/kit/TagNames.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace velloria::test
{

namespace
{

/// Prints what other programs see in files: {file: {program: {name: text}}}.
const char* const readingScript = R"(
import base64, json, subprocess, sys
import mutagen, mutagen.id3, mutagen.flac

def text(value):
    value = value[0] if isinstance(value, list) else value
    if isinstance(value, bool): return str(int(value))
    if isinstance(value, tuple): return "%d/%d" % value
    return value.decode() if isinstance(value, bytes) else str(value)

def unknown_frame(frame):
    "A frame of version 2.2 that mutagen has no class for."
    name, data = frame[:3].decode(), frame[6:]
    if name[0] != "T": return name, data.decode() if name[0] == "W" else str(data[-1])
    return name, data[1:].decode("utf-16" if data[0] else "latin-1").rstrip("\0")

def mutagen_sees(name):
    tags = mutagen.File(name).tags
    if not hasattr(tags, "getall"): return {k: text(v) for k, v in tags.items() if k != "covr"}
    tags.clear()
    tags.load(name, translate=False)
    seen = {k: str(v) for k, v in tags.items() if not k.startswith("APIC")}
    seen["pictures"] = str(sorted(len(p.data) for p in tags.getall("APIC")))
    seen.update(unknown_frame(u) for u in tags.unknown_frames)
    return seen

def exiftool_text(value):
    value = {"Yes": "1", "No Gap": "1", "Explicit": "1"}.get(value, str(value))
    if value.startswith("base64:"): value = base64.b64decode(value[7:]).decode(errors="replace")
    return value.replace(" of ", "/") if value[0].isdigit() else value

def once(value):
    "Both spellings of a Vorbis comment are shown."
    half = len(value) // 2
    return value[:half - 1] if value[half - 1:half + 2] == " / " and value[:half - 1] == value[half + 2:] else value

def mediainfo_sees(track):
    seen = {k: once(exiftool_text(v)) for k, v in track.items() if isinstance(v, str)}
    seen.update({k: exiftool_text(v) for k, v in track.get("extra", {}).items()})
    for position in "Track_Position", "Part_Position":
        if position in seen: seen[position] += "/" + seen.get(position + "_Total", "")
    return seen

def output(*command): return json.loads(subprocess.check_output(command))

names = sys.argv[1:]
seen = {name: {"mutagen": mutagen_sees(name)} for name in names}
for file in output("exiftool", "-q", "-j", "-b", *names):
    seen[file["SourceFile"]]["exiftool"] = {k: exiftool_text(v) for k, v in file.items()
                                            if isinstance(v, (str, int)) and v != ""}
for file in output("mediainfo", "--Output=JSON", *names):
    seen[file["media"]["@ref"]]["mediainfo"] = mediainfo_sees(file["media"]["track"][0])
print(json.dumps(seen))
)";

/// Puts {file: {name: text}} of tags.json into files with mutagen, with tags that we have no room for, an
/// empty one and three pictures.
const char* const writingScript = R"(
import base64, json, mutagen, mutagen.id3 as i, mutagen.mp4 as m, mutagen.flac, mutagen.mp3

images = [b"\x89PNG" + bytes(1000 + n) for n in range(3)]

def frame(name, encoding, text):
    if name.startswith(("COMM", "USLT")): return i.Frames[name[:4]](encoding=1, lang="eng", desc="", text=text)
    if name == "PCST": return i.PCST(value=1)
    if name == "WFED": return i.WFED(url=text)
    if name not in i.Frames: i.Frames[name] = type(name, (i.TextFrame,), {})
    return i.Frames[name](encoding=encoding, text=[text])

def write_id3(name, tags):
    version = 3 if "-3" in name else 4
    file = mutagen.mp3.MP3(name) if name.endswith(".mp3") else mutagen.File(name)
    if file.tags is None: file.add_tags()
    frames = file.tags
    for n, (key, text) in enumerate(tags.items()):
        frames.add(frame("TDRC" if key == "TYER" and version == 4 else key, (1, 3 if version == 4 else 1)[n % 2], text))
    frames.add(i.TALB(encoding=1, text=[""]))
    frames.add(i.TXXX(encoding=1, desc="MOOD", text=["x"]))
    frames.add(i.PRIV(owner="o", data=b"1"))
    for n, image in enumerate(images):
        frames.add(i.APIC(encoding=n % 2, mime="image/png", type=3 + n, desc="Bild %d" % n, data=image))
    if version == 3: frames.update_to_v23()
    file.save(name, v2_version=version)

def mpeg4_value(key, text):
    if key in ("trkn", "disk"): return [tuple(int(n) for n in text.split("/"))]
    if key in ("cpil", "pgap", "pcst"): return bool(int(text))
    if key in ("tmpo", "rtng"): return [int(text)]
    if key.startswith("----"): return [text.encode()]
    return [text]

def write_mpeg4(name, tags):
    file = m.MP4(name)
    for key, text in tags.items(): file[key] = mpeg4_value(key, text)
    file["\u00a9alb"] = [""]
    file["----:com.apple.iTunes:MOOD"] = [b"x"]
    file["covr"] = [m.MP4Cover(image, m.MP4Cover.FORMAT_PNG) for image in images]
    file.save()

def write_vorbis(name, tags):
    file = mutagen.File(name)
    if file.tags is None: file.add_tags()
    file.update(tags | {"ALBUM": "", "MOOD": "x"})
    pictures = [mutagen.flac.Picture() for image in images]
    for n, picture in enumerate(pictures):
        picture.data, picture.mime, picture.type, picture.desc = images[n], "image/png", 3 + n, "Bild %d" % n
        if name.endswith(".flac"): file.add_picture(picture)
    if name.endswith(".ogg"):
        file["metadata_block_picture"] = [base64.b64encode(p.write()).decode() for p in pictures]
    file.save()

for name, tags in json.load(open("tags.json")).items():
    (write_mpeg4 if name.endswith(".m4a") else write_vorbis if name.endswith((".ogg", ".flac")) else write_id3)(name, tags)
)";

} // namespace

/// Every tag in every format that has tags, both ways, as this program and others see it.
class TagTableTest : public CompressedFileTest
{
protected:
    enum class Kind { id3, mpeg4, vorbis, caf };

    static Kind kindOf(const QString& name)
    {
        if (name.endsWith(".m4a"))
            return Kind::mpeg4;
        if (name.endsWith(".flac") || name.endsWith(".ogg"))
            return Kind::vorbis;
        return name.endsWith(".caf") ? Kind::caf : Kind::id3;
    }

    /// A file of every type with tags.
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
    std::shared_ptr<AudioFile> openWithTags(const QString& name) const
    {
        auto file = open(name.toStdString());
        if (file && file->requiresConversion())
            decoded(*file);
        return file;
    }
    QJsonObject runScript(const char* script, const QStringList& arguments) const
    {
        writeBytes("script.py", script);
        const QByteArray output = run("/usr/bin/python3", QStringList("script.py") + arguments);
        return QJsonDocument::fromJson(output).object();
    }
    static QStringList sorted(QStringList names)
    {
        names.sort();
        return names;
    }
    static QString text(const char* utf8) { return QString::fromUtf8(utf8); }

    /// The names under which three programs must find a tag in a file of that name; null where they cannot.
    struct Expected {
        const char* program;
        QString name;
    };
    static std::vector<Expected> namesOf(const TagNames& tag, const QString& fileName)
    {
        switch (kindOf(fileName)) {
        case Kind::mpeg4:
            return {{"mutagen", text(tag.mpeg4)},
                    {"exiftool", text(tag.mpeg4Exiftool)},
                    {"mediainfo", text(tag.mpeg4Mediainfo)}};
        case Kind::vorbis:
            return {{"mutagen", text(tag.key)},
                    {"exiftool", text(tag.vorbisExiftool)},
                    {"mediainfo", text(tag.vorbisMediainfo)}};
        case Kind::caf:
            return {};
        case Kind::id3:
            break;
        }
        // One does not look for such tags in WAVE files, the other not in compressed AIFF files.
        return {{"mutagen", text(tag.id3 ? tag.id3 : tag.id3Version2)},
                {"exiftool", fileName.endsWith(".wav") ? QString() : text(tag.id3Exiftool)},
                {"mediainfo", fileName.endsWith(".aifc") ? QString() : text(tag.id3Mediainfo)}};
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
        const auto file = openWithTags(name);
        ASSERT_TRUE(file);
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

TEST_F(TagTableTest, OtherProgramsSeeEveryTag)
{
    AudioMetadata metadata = metadataWithEverything();
    metadata.setYear("1999");
    metadata.setPodcastURL("https://velloria.example/a");
    // Others end the description of a comment in UTF-16 by two zeros.
    metadata.setComments("Käse");
    metadata.setLyrics("Größe");
    const MetadataDictionary dictionary = metadata.dictionary();
    ASSERT_EQ(dictionary.size(), static_cast<qsizetype>(tagNames.size()) + 1) << "each tag and the pictures";
    QStringList names = makeFiles(metadata);
    // None of them looks for tags there.
    names.removeIf([](const QString& name) { return kindOf(name) == Kind::caf; });
    const QJsonObject all = runScript(readingScript, names);
    ASSERT_EQ(all.size(), names.size());
    for (const QString& name : names) {
        SCOPED_TRACE(name.toStdString());
        const QJsonObject seen = all[name].toObject();
        for (const TagNames& tag : tagNames) {
            const QString expected = dictionary.value(tag.key).toString();
            for (const Expected& each : namesOf(tag, name)) {
                if (each.name.isEmpty())
                    continue;
                const QJsonObject tags = seen[QLatin1String(each.program)].toObject();
                // Frames that it has no class for go by the name that they have in the file.
                const QString value =
                    tags.value(tags.contains(each.name) ? each.name : text(tag.id3Version2)).toString();
                EXPECT_EQ(value.toStdString(), expected.toStdString()) << each.program << " " << tag.key;
            }
        }
        if (kindOf(name) == Kind::id3) {
            EXPECT_EQ(seen["mutagen"].toObject()["pictures"].toString(), "[3004, 3008]");
        }
    }
}

TEST_F(TagTableTest, EveryTagOfOtherProgramsIsRead)
{
    AudioMetadata metadata = metadataWithEverything();
    metadata.setYear("1999");
    metadata.setPodcastURL("https://velloria.example/a");
    metadata.setLyrics(QString(250000, u'Ж'));
    metadata.setAlbum(QString());
    const MetadataDictionary dictionary = metadata.dictionary();
    QJsonObject tagsOfFiles;
    for (const QString& name : makeFiles({})) {
        const Kind kind = kindOf(name);
        if (kind == Kind::caf)
            continue;
        QJsonObject tags;
        for (const TagNames& tag : tagNames) {
            const QString written = text(kind == Kind::mpeg4 ? tag.mpeg4
                                         : kind == Kind::id3 ? tag.id3
                                                             : tag.key);
            if (!written.isEmpty() && dictionary.contains(tag.key))
                tags[written] = dictionary.value(tag.key).toString();
        }
        tagsOfFiles[name] = tags;
        if (kind != Kind::id3)
            continue;
        tagsOfFiles[QString(name).replace('.', "-3.")] = tags;
        writeBytes(QString(name).replace('.', "-3.").toStdString(), readBytes(name.toStdString()));
    }
    writeBytes("tags.json", QJsonDocument(tagsOfFiles).toJson());
    runScript(writingScript, {});
    for (const QString& name : tagsOfFiles.keys()) {
        SCOPED_TRACE(name.toStdString());
        const auto file = openWithTags(name);
        ASSERT_TRUE(file);
        const MetadataDictionary found = file->metadata().dictionary();
        for (const TagNames& tag : tagNames) {
            const bool isWritten = kindOf(name) != Kind::id3 || tag.id3;
            const QString expected = isWritten ? dictionary.value(tag.key).toString() : QString();
            const QString value = found.value(tag.key).toString();
            EXPECT_TRUE(value == expected) << tag.key << ": " << value.left(60).toStdString();
        }
        const QStringList notKept =
            kindOf(name) == Kind::id3 ? QStringList({"MOOD", "PRIV (O)"}) : QStringList("MOOD");
        // Lost, or carried by a save that only puts other sound into the file.
        const QStringList unknown = file->ledger().namesOf(
            ItemKind::tag, [](const FileItem& item) { return item.keeping >= Keeping::asBytes; });
        EXPECT_EQ(sorted(unknown).join(",").toUpper(), notKept.join(","));
        const QList<AttachedPicture>& pictures = file->metadata().artwork();
        ASSERT_EQ(pictures.size(), 3);
        for (const AttachedPicture& picture : pictures) {
            const auto number = picture.pictureData().size() - 1004;
            EXPECT_EQ(picture.imageFormat(), "image/png");
            if (kindOf(name) == Kind::mpeg4)
                continue;
            EXPECT_EQ(picture.pictureType(), 3U + number);
            EXPECT_EQ(picture.pictureDescription(), QStringLiteral("Bild %1").arg(number));
        }
    }
}

TEST_F(TagTableTest, TagsOfAnotherProgramAreReadFromCafFiles)
{
    const MetadataDictionary dictionary = metadataWithEverything().dictionary();
    writeSource("source.wav", testSound(20000, 1));
    QStringList arguments = {"-v", "error", "-i", "source.wav"};
    for (const TagNames& tag : tagNames)
        arguments +=
            {"-metadata", QStringLiteral("%1=%2").arg(tag.key, dictionary.value(tag.key).toString())};
    run("ffmpeg", arguments + QStringList{"-fflags", "+bitexact", "a.caf"});
    const auto file = openWithTags("a.caf");
    ASSERT_TRUE(file);
    for (const TagNames& tag : tagNames)
        EXPECT_EQ(file->metadata().dictionary().value(tag.key), dictionary.value(tag.key)) << tag.key;
}

} // namespace velloria::test
