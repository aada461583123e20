#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/kit/CompressedFileKit.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"

namespace velloria::test
{

using Positions = std::vector<std::pair<int64_t, QString>>;

class Mpeg4ChaptersTest : public CompressedFileTest
{
protected:
    /// Saves markers and reads them again.
    Positions roundTrip(const Positions& markers, int64_t numFrames = 50000) const
    {
        Mpeg4AppleLosslessFile writer(44100.0, 16, 1);
        writer.setMarkers(markerList(markers));
        save("a.m4a", Sound{44100.0, 1, std::vector<float>(static_cast<size_t>(numFrames))}, writer);
        const auto file = open("a.m4a");
        EXPECT_EQ(file->numberOfFrames(), numFrames);
        return markersOf(*file);
    }
};

TEST_F(Mpeg4ChaptersTest, ComeBackAtTheFrameWithNamesOfEveryScript)
{
    const Positions cases[] = {
        {},
        {{0, "Start"}},
        {{1, "one"}, {2, "two"}, {49999, "last"}},
        {{7, ""}, {7, "same place"}, {12345, QString(300, u'ж')}, {30000, "音楽 שלום Ünï 🎵"}, {50000, "end"}},
    };
    for (const Positions& markers : cases)
        EXPECT_EQ(roundTrip(markers), markers);
    const Positions unordered = {{300, "c"}, {100, "a"}, {200, "b"}};
    EXPECT_EQ(roundTrip(unordered), (Positions{{100, "a"}, {200, "b"}, {300, "c"}}));
}

TEST_F(Mpeg4ChaptersTest, CanBeTenThousand)
{
    Positions markers;
    for (int i = 0; i < 10000; ++i)
        markers.emplace_back(3 + 4 * i, QStringLiteral("marker number %1").arg(i));
    EXPECT_EQ(roundTrip(markers), markers);
    EXPECT_EQ(floatsFromFfmpeg("a.m4a").size(), 50000U);
}

TEST_F(Mpeg4ChaptersTest, AreSeenByOtherPrograms)
{
    const Positions markers = {{441, "one"}, {22050, QString(200, u'ж')}, {30000, "three"}};
    roundTrip(markers);
    const QJsonArray chapters = probed("a.m4a")["chapters"].toArray();
    ASSERT_EQ(chapters.size(), 3);
    for (qsizetype i = 0; i < 3; ++i) {
        const QJsonObject chapter = chapters[i].toObject();
        const auto& [position, name] = markers[static_cast<size_t>(i)];
        EXPECT_NEAR(chapter["start_time"].toString().toDouble(), static_cast<double>(position) / 44100.0,
                    1e-4);
        const int64_t end = i < 2 ? markers[static_cast<size_t>(i) + 1].first : 50000;
        EXPECT_NEAR(chapter["end_time"].toString().toDouble(), static_cast<double>(end) / 44100.0, 1e-4);
        EXPECT_EQ(chapter["tags"].toObject()["title"].toString(), name);
    }
    // The list holds at most 255 bytes, whole characters of two bytes each.
    const QByteArray lengths =
        run("/usr/bin/python3", {"-c", "import mutagen.mp4 as m; f = m.MP4(\"a.m4a\"); "
                                       "print([len(c.title) for c in f.chapters])"});
    EXPECT_EQ(lengths.trimmed().toStdString(), "[3, 127, 5]");
}

TEST_F(Mpeg4ChaptersTest, OfOtherProgramsAreRead)
{
    writeSource("source.wav", testSound(88200, 1));
    writeBytes("chapters.txt", ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=500\ntitle=Anfang\n"
                               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=500\nEND=2000\ntitle=Größe\n");
    ffmpeg("-i source.wav -i chapters.txt -map_metadata 1 -c:a alac a.m4a");
    const Positions expected = {{0, "Anfang"}, {22050, "Größe"}};
    EXPECT_EQ(markersOf(*open("a.m4a")), expected);
    // Without the track that refers to them, the list is all there is.
    QByteArray bytes = readBytes("a.m4a");
    bytes.replace("tref", "free");
    writeBytes("b.m4a", bytes);
    EXPECT_EQ(markersOf(*open("b.m4a")), expected);
}

} // namespace velloria::test
