#include "formats/kit/CompressedFileKit.h"
#include "formats/mpeg4/Mpeg4AACFile.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"

namespace velloria::test
{

namespace
{

/// Gives every track of the files that are named, whose 'moov' box is the last one, a table of 64-bit
/// offsets.
const char* const wideTablesScript = R"(
import struct, sys

def boxes(data):
    at = 0
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        yield kind, data[at + 8:at + size]
        at += size

def box(kind, payload): return struct.pack(">I4s", len(payload) + 8, kind) + payload

def wide(kind, payload):
    if kind in (b"moov", b"trak", b"mdia", b"minf", b"stbl"):
        payload = b"".join(wide(k, p) for k, p in boxes(payload))
    elif kind == b"stco":
        kind = b"co64"
        payload = payload[:8] + b"".join(struct.pack(">Q", n) for (n,) in struct.iter_unpack(">I", payload[8:]))
    return box(kind, payload)

for name in sys.argv[1:]:
    data = open(name, "rb").read()
    open(name, "wb").write(b"".join(wide(k, p) for k, p in boxes(data)))
)";

/// Prints whether there are entries in the indexes of a fragmented film ('sidx', 'tfra'), how many of them do
/// not lead to the start of a fragment, to their own track there or, of sound, to its time, and the
/// tracks.
const char* const indexScript = R"(
import struct, sys

data, at, tops = open(sys.argv[1], "rb").read(), 0, []
while at < len(data):
    size, kind = struct.unpack(">I4s", data[at:at + 8])
    tops.append((at, kind, size))
    at += size
moofs = {at for at, kind, size in tops if kind == b"moof"}
starts = moofs | {at for at, kind, size in tops if kind in (b"sidx", b"styp")}
led, tracks = [], []

def inside(at, size):
    at, end = at + 8, at + size
    while at < end:
        length, name = struct.unpack(">I4s", data[at:at + 8])
        yield at, length, name
        at += length

def leads(moof, track, time, number):
    size = struct.unpack(">I", data[moof:moof + 4])[0]
    traf = [(a, n) for a, n, name in inside(moof, size) if name == b"traf"][number - 1]
    parts = {name: a for a, n, name in inside(*traf)}
    start = struct.unpack(">Q", data[parts[b"tfdt"] + 12:parts[b"tfdt"] + 20])[0]
    own = struct.unpack(">I", data[parts[b"tfhd"] + 12:parts[b"tfhd"] + 16])[0] == track
    # Pictures have their times out of order.
    return own and (time == start or track == 1)

for at, kind, size in tops:
    if kind == b"sidx":
        wide = data[at + 8] == 1
        first = struct.unpack(">Q", data[at + 28:at + 36])[0] if wide else struct.unpack(">I", data[at + 24:at + 28])[0]
        entry, place = at + (36 if wide else 28), at + size + first
        count = struct.unpack(">H", data[entry + 2:entry + 4])[0]
        for n in range(count):
            led.append(place in starts)
            place += struct.unpack(">I", data[entry + 4 + 12 * n:entry + 8 + 12 * n])[0] & 0x7FFFFFFF
    if kind == b"mfra":
        inner = at + 8
        while inner < at + size:
            length, name = struct.unpack(">I4s", data[inner:inner + 8])
            if name == b"tfra":
                wide = data[inner + 8] == 1
                track, lengths, count = struct.unpack(">III", data[inner + 12:inner + 24])
                sizes = [(lengths >> s & 3) + 1 for s in (4, 2, 0)]
                tracks.append(track)
                for n in range(count):
                    here = inner + 24 + n * ((16 if wide else 8) + sum(sizes))
                    time, moof = struct.unpack(">QQ" if wide else ">II", data[here:here + (16 if wide else 8)])
                    here += 16 if wide else 8
                    number = int.from_bytes(data[here:here + sizes[0]], "big")
                    led.append(moof in moofs and leads(moof, track, time, number))
            inner += length
print(len(led) > 0, led.count(False), tracks)
)";

} // namespace

/// Saves over films that ffmpeg made; ffmpeg and ffprobe judge what became of them.
class Mpeg4FilmTest : public CompressedFileTest
{
protected:
    void SetUp() override
    {
        writeSource("sound.wav", testSound(3 * 48000, 2, 48000.0));
        writeSource("other.wav", testSound(3 * 44100, 1, 44100.0));
        writeBytes("s.srt",
                   "1\n00:00:00,500 --> 00:00:01,000\nHello\n\n2\n00:00:01,500 --> 00:00:02,000\nWorld\n");
        writeBytes("c.txt", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=One\n"
                            "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=3000\ntitle=Two\n");
    }

    /// A film of pictures with B-frames and the sound; `line` holds the rest.
    void makeFilm(const QString& line) const
    {
        ffmpeg(QStringLiteral("-f lavfi -i testsrc=d=3:s=160x120:r=25 ") + line);
    }

    /// A save of another sound of the same length over `name`, as `Writer` does it.
    template <typename Writer>
    std::shared_ptr<Writer> saveInto(const std::shared_ptr<AudioFile>& film, const std::string& to,
                                     const Sound& sound, MarkerList markers) const
    {
        auto writer =
            std::make_shared<Writer>(sound.sampleRate, 16, static_cast<uint32_t>(sound.numChannels));
        writer->setOpenedFile(film);
        writer->setMetadata(film->metadata());
        writer->setMarkers(std::move(markers));
        writer->setNumberOfFrames(sound.numFrames());
        save(to, sound, *writer);
        return writer;
    }

    /// Packets of a stream with their times, as ffmpeg copies them.
    QByteArray packetsOf(const QString& name, const QString& stream) const
    {
        return run("ffmpeg",
                   {"-v", "error", "-i", name, "-map", "0:" + stream, "-c", "copy", "-f", "framemd5", "-"});
    }
    QByteArray withoutSound(const QString& name) const { return withoutSound(name, probed(name)); }
    QByteArray withoutSound(const QString& name, const QJsonObject& probedBefore) const
    {
        QByteArray all = packetsOf(name, "v");
        for (const QJsonValue& each : probedBefore["streams"].toArray()) {
            const QJsonObject stream = each.toObject();
            const int index = stream["index"].toInt();
            const bool isSound = stream["codec_type"].toString() == u"audio";
            // Streams of data have no packets that ffmpeg would copy to text.
            if (index > 1 && (isSound || stream["codec_type"].toString() == u"subtitle"))
                all += packetsOf(name, QString::number(index));
            all += QJsonDocument(stream["tags"].toObject()).toJson();
        }
        return all;
    }
    /// What ffmpeg has to complain about.
    QByteArray complaintsAbout(const QString& name) const
    {
        return run(
            "bash",
            {"-c", QStringLiteral("ffmpeg -v warning -i %1 -map 0:v -map 0:a -f null - 2>&1").arg(name)});
    }
};

struct Film {
    const char* name;
    const char* line;
    /// Where the file does not tell the encoder's delay, silence stands for what readers take it to be.
    size_t numSilentFrames = 0;
};

void PrintTo(const Film& film, std::ostream* stream)
{
    *stream << film.name;
}

const Film films[] = {
    Film{"plain.mp4", "-i sound.wav -c:v libx264 -bf 2 -c:a aac"},
    Film{"front.mp4", "-i sound.wav -c:v libx264 -bf 2 -c:a aac -movflags +faststart"},
    Film{"wide.mp4", "-i sound.wav -c:v mpeg4 -c:a aac"},
    Film{"movie.mov", "-i sound.wav -c:v libx264 -bf 2 -c:a alac"},
    Film{"timecode.mov", "-i sound.wav -c:v libx264 -c:a aac -timecode 01:00:00:00"},
    Film{"late.mp4", "-itsoffset 0.7 -i sound.wav -c:v libx264 -bf 2 -c:a aac"},
    Film{"two.mp4", "-i sound.wav -i other.wav -map 0 -map 1 -map 2 -c:v mpeg4 -c:a aac "
                    "-metadata:s:a:1 language=deu"},
    Film{"subtitles.mp4", "-i sound.wav -i s.srt -map 0 -map 1 -map 2 -c:v mpeg4 -c:a aac -c:s mov_text"},
    Film{"chapters.mp4", "-i sound.wav -i c.txt -map_metadata 2 -map 0 -map 1 -c:v mpeg4 -c:a aac"},
    Film{"pcm.mov", "-i sound.wav -c:v mjpeg -c:a pcm_s16le"},
    Film{"fragments.mp4", "-i sound.wav -c:v libx264 -bf 2 -g 12 -c:a aac -movflags frag_keyframe+empty_moov",
         2112},
    Film{"base.mp4",
         "-i sound.wav -c:v libx264 -bf 2 -g 12 -c:a aac -movflags "
         "frag_keyframe+empty_moov+default_base_moof",
         2112},
    Film{"hybrid.mp4", "-i sound.wav -c:v libx264 -bf 2 -g 12 -c:a aac -movflags frag_keyframe", 2112},
    Film{"index.mp4", "-i sound.wav -c:v libx264 -bf 2 -g 12 -c:a aac -movflags cmaf+dash+global_sidx", 2112},
    Film{"separate.mp4", "-i sound.wav -c:v libx264 -g 12 -c:a aac -movflags frag_keyframe+separate_moof",
         2112},
};

/// One test a film: each takes some seconds.
class EveryFilmTest : public Mpeg4FilmTest, public testing::WithParamInterface<Film>
{
};

INSTANTIATE_TEST_SUITE_P(Mpeg4, EveryFilmTest, testing::ValuesIn(films), [](const auto& each) {
    const QString name = QString::fromLatin1(each.param.name);
    return name.chopped(4).toStdString();
});

TEST_P(EveryFilmTest, KeepsEverythingButTheSound)
{
    const Film& each = GetParam();
    const auto name = QString::fromLatin1(each.name);
    makeFilm(QStringLiteral("%1 %2").arg(each.line, each.name));
    if (name == u"wide.mp4")
        run("/usr/bin/python3", {"-c", wideTablesScript, name});
    const auto film = open(each.name);
    ASSERT_TRUE(film);
    Sound sound = decoded(*film);
    for (float& sample : sound.samples)
        sample = -std::round(sample * 16384.0F) / 32768.0F;
    const auto writer =
        saveInto<Mpeg4AppleLosslessFile>(film, "new-" + std::string(each.name), sound, film->markers());
    // Starting other programs is what takes the time here.
    const QJsonObject before = probed(name);
    const QJsonObject after = probed("new-" + name);
    const QByteArray pictures = withoutSound(name, before);
    EXPECT_EQ(withoutSound("new-" + name, after), pictures);
    EXPECT_EQ(complaintsAbout("new-" + name), "");
    EXPECT_EQ(after["chapters"], before["chapters"]);
    EXPECT_EQ(after["format"].toObject()["tags"], before["format"].toObject()["tags"]);
    EXPECT_EQ(readBytes("new-" + std::string(each.name)).count("co64"), name == u"wide.mp4" ? 2 : 0);
    if (each.numSilentFrames > 0) {
        EXPECT_EQ(run("/usr/bin/python3", {"-c", indexScript, "new-" + name}), "True 0 [1, 2]\n");
    }
    // The second save of the document.
    writer->setFileHandle(FileHandle::openForReading(path("new-" + std::string(each.name))));
    writer->takeOverLedger();
    const auto again =
        saveInto<Mpeg4AppleLosslessFile>(writer, "again-" + std::string(each.name), sound, film->markers());
    EXPECT_EQ(withoutSound("again-" + name), pictures);
    const auto reopened = open("again-" + std::string(each.name));
    ASSERT_TRUE(reopened);
    std::vector<float> wanted(2 * each.numSilentFrames, 0.0F);
    wanted.insert(wanted.end(), sound.samples.begin(), sound.samples.end());
    EXPECT_EQ(decoded(*reopened).samples, wanted);
}

TEST_F(Mpeg4FilmTest, PutsChangedTagsAndChaptersIntoTheFilm)
{
    makeFilm(
        "-itsoffset 0.7 -i sound.wav -c:v mpeg4 -c:a aac -metadata title=Old -metadata album=Kept film.mp4");
    run("/usr/bin/python3", {"-c", "import mutagen.mp4 as m; f = m.MP4(\"film.mp4\"); "
                                   "f.tags[\"----:com.apple.iTunes:ISRC\"] = [b\"X\"]; "
                                   "f.tags[\"trkn\"] = [(0, 12)]; f.save()"});
    const auto film = open("film.mp4");
    ASSERT_TRUE(film);
    const Sound sound = decoded(*film);
    AudioMetadata tags = film->metadata();
    tags.setTitle("New");
    film->setMetadata(tags);
    const std::vector<std::pair<int64_t, QString>> markers = {{12345, "first"}, {70001, "second"}};
    saveInto<Mpeg4AACFile>(film, "new.mp4", sound, markerList(markers));
    EXPECT_EQ(packetsOf("new.mp4", "v"), packetsOf("film.mp4", "v"));
    EXPECT_EQ(run("/usr/bin/python3",
                  {"-c", "import mutagen.mp4 as m; t = m.MP4(\"new.mp4\").tags; print(t[\"\\xa9nam\"], "
                         "t[\"\\xa9alb\"], t[\"trkn\"], t[\"----:com.apple.iTunes:ISRC\"][0] == b\"X\")"})
                  .trimmed(),
              "['New'] ['Kept'] [(0, 12)] True");
    EXPECT_EQ(markersOf(*open("new.mp4")), markers);
    // The sound begins later than the film, so its chapters do.
    const double start =
        probed("film.mp4")["streams"].toArray()[1].toObject()["start_time"].toString().toDouble();
    const QJsonArray chapters = probed("new.mp4")["chapters"].toArray();
    ASSERT_EQ(chapters.size(), 2);
    const auto startOf = [&](int i) { return chapters[i].toObject()["start_time"].toString().toDouble(); };
    EXPECT_NEAR(startOf(0), start + 12345 / 48000.0, 0.001);
    EXPECT_NEAR(startOf(1), start + 70001 / 48000.0, 1e-5);
    // Without markers there are no chapters.
    saveInto<Mpeg4AACFile>(open("new.mp4"), "none.mp4", sound, nullptr);
    EXPECT_TRUE(probed("none.mp4")["chapters"].toArray().isEmpty());
    EXPECT_EQ(packetsOf("none.mp4", "v"), packetsOf("film.mp4", "v"));
}

// The clock of a film often has 1000 ticks a second, which lie between frames.
TEST_F(Mpeg4FilmTest, PutsChaptersAtTheirFramesAtEveryRate)
{
    writeSource("sound.wav", testSound(2 * 44100, 1, 44100.0));
    for (const char* start : {"0", "0.7"}) {
        makeFilm(QStringLiteral("-itsoffset %1 -i sound.wav -c:v mpeg4 -c:a aac film.mp4").arg(start));
        const auto film = open("film.mp4");
        ASSERT_TRUE(film);
        const Sound sound = decoded(*film);
        for (int64_t first = 1; first < 80'000; first = first * 3 + 7) {
            SCOPED_TRACE(first);
            const std::vector<std::pair<int64_t, QString>> markers = {
                {first, "a"}, {first + 1, "b"}, {first + 1000, "c"}, {first + 1001, "d"}};
            saveInto<Mpeg4AACFile>(film, "new.mp4", sound, markerList(markers));
            EXPECT_EQ(markersOf(*open("new.mp4")), markers);
            std::filesystem::remove(path("new.mp4"));
        }
    }
}

TEST_F(Mpeg4FilmTest, KeepsWhatStandsInFreeSpaceOrTellsIt)
{
    makeFilm("-i sound.wav -c:v mpeg4 -c:a aac film.mp4");
    const QByteArray left = mpeg4Box(fourCharCode("skip"), "left here");
    const QByteArray empty = mpeg4Box(fourCharCode("free"), QByteArray(1000, '\0'));
    writeBytes("film.mp4", readBytes("film.mp4") + left + empty);
    const auto film = open("film.mp4");
    ASSERT_TRUE(film);
    const auto lostBy = [&](int64_t numFrames) {
        Mpeg4AACFile writer(48000.0, 16, 2);
        writer.setFilePath(path("film.mp4"));
        writer.setOpenedFile(film);
        writer.setNumberOfFrames(numFrames);
        return film->ledger().namesOf(ItemKind::part,
                                      [&](const FileItem& item) { return !writer.willWrite(item); });
    };
    EXPECT_EQ(lostBy(film->numberOfFrames()), QStringList());
    EXPECT_EQ(lostBy(film->numberOfFrames() - 100), QStringList("contents of free space (skip)"));
    saveInto<Mpeg4AACFile>(film, "new.mp4", decoded(*film), nullptr);
    EXPECT_TRUE(readBytes("new.mp4").contains(left));
    EXPECT_EQ(packetsOf("new.mp4", "v"), packetsOf("film.mp4", "v"));
}

TEST_F(Mpeg4FilmTest, KeepsWhatStandsBesideSoundOfAnotherLength)
{
    for (const char* const line : {"-c:a alac", "-c:a alac -movflags +faststart", "-c:a aac"}) {
        ffmpeg(QStringLiteral("-i sound.wav -i c.txt -map_metadata 1 -metadata title=Kept %1 alone.m4a")
                   .arg(line));
        const QByteArray box = mpeg4Box(fourCharCode("uuid"), QByteArray(16, 'u') + "private");
        writeBytes("alone.m4a", readBytes("alone.m4a") + box);
        const auto file = open("alone.m4a");
        ASSERT_TRUE(file);
        const Sound whole = decoded(*file);
        for (const int64_t numFrames : {int64_t{1}, int64_t{50001}, whole.numFrames() * 2}) {
            SCOPED_TRACE(QStringLiteral("%1, %2").arg(line).arg(numFrames).toStdString());
            Sound sound = whole;
            sound.samples.resize(static_cast<size_t>(numFrames) * 2);
            for (size_t n = 0; n < sound.samples.size(); ++n)
                sound.samples[n] = std::round(whole.samples[n % whole.samples.size()] * 16384.0F) / 32768.0F;
            const std::vector<std::pair<int64_t, QString>> markers = {{0, "first"}};
            saveInto<Mpeg4AppleLosslessFile>(file, "new.m4a", sound, markerList(markers));
            EXPECT_TRUE(readBytes("new.m4a").contains(box));
            const auto again = open("new.m4a");
            ASSERT_TRUE(again);
            EXPECT_EQ(decoded(*again).samples, sound.samples);
            EXPECT_EQ(markersOf(*again), markers);
            EXPECT_EQ(again->metadata().title(), "Kept");
            const QJsonObject found = probed("new.m4a");
            const double seconds = static_cast<double>(numFrames) / sound.sampleRate;
            EXPECT_NEAR(found["format"].toObject()["duration"].toString().toDouble(), seconds, 0.002);
            EXPECT_EQ(run("bash", {"-c", "ffmpeg -v warning -i new.m4a -map 0:a -f null - 2>&1"}), "");
            EXPECT_EQ(
                run("ffmpeg", {"-v", "error", "-i", "new.m4a", "-map", "0:a", "-f", "s16le", "-"}).size(),
                numFrames * 4);
            std::filesystem::remove(path("new.m4a"));
        }
        std::filesystem::remove(path("alone.m4a"));
    }
}

TEST_F(Mpeg4FilmTest, TellsWhatItCannotKeepAndRefusesToReplaceTheFilm)
{
    makeFilm(
        "-i sound.wav -i other.wav -map 0 -map 1 -map 2 -c:v mpeg4 -c:a aac -metadata:s:a:1 language=deu "
        "film.mp4");
    const auto film = open("film.mp4");
    ASSERT_TRUE(film);
    const auto isCarried = [&](int64_t numFrames, const char* name) {
        Mpeg4AACFile writer(48000.0, 16, 2);
        writer.setFilePath(path(name));
        writer.setOpenedFile(film);
        writer.setNumberOfFrames(numFrames);
        const MaybeError refusal = writer.refusalToReplace(*film);
        EXPECT_TRUE(!refusal ||
                    refusal->message.contains("video track (mp4v, 160 × 120), further sound track "
                                              "(mp4a, German)"));
        return !refusal;
    };
    for (const char* name : {"film.mp4", "film.m4v", "film.m4b", "film.mov", "film"})
        EXPECT_TRUE(isCarried(film->numberOfFrames(), name));
    EXPECT_FALSE(isCarried(film->numberOfFrames() - 100, "film.mp4"));
    EXPECT_FALSE(isCarried(film->numberOfFrames(), "sound.m4a"));
}

TEST_F(Mpeg4FilmTest, StopsWhenItIsCancelledOrTheFilmChangesMeanwhile)
{
    makeFilm("-i sound.wav -c:v mpeg4 -c:a aac film.mp4");
    const auto film = open("film.mp4");
    ASSERT_TRUE(film);
    const Sound sound = decoded(*film);
    const auto errorOfSave = [&](Progress& progress) {
        Mpeg4AACFile writer(48000.0, 16, 2);
        writer.setFilePath(path("new.mp4"));
        writer.setOpenedFile(film);
        writer.setNumberOfFrames(sound.numFrames());
        writer.setFileHandle(newFile("new.mp4"));
        writer.validateAndCorrectParameters();
        MaybeError error;
        EXPECT_FALSE(writer.saveDocument(documentOfSound(sound), nullptr, progress, &error));
        return error.value_or(Error());
    };
    RecordingProgress cancelled(1);
    EXPECT_TRUE(errorOfSave(cancelled).isUserCancelled());
    SilentProgress progress;
    writeBytes("film.mp4", readBytes("film.mp4").first(20000));
    EXPECT_TRUE(errorOfSave(progress).message.contains("changed by another program"));
}

} // namespace velloria::test
