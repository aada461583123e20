#include "formats/wave/WaveCuesKit.h"

namespace velloria::test
{

TEST_F(WaveCuesTest, PointsRegionsAndLoopsAreMarkers)
{
    const QByteArray texts = list(text("labl", 7, "Größe") + text("labl", 9, "H\xFClle \x80") +
                                  text("note", 9, "a remark") + region(7, 300) + region(3, 20, "Verse"));
    const auto file = openedFrom(riff(kFormat + kSound + chunk("cue ", points({{9, 50}, {7, 100}, {3, 10}})) +
                                      texts + chunk("smpl", sampler({{0, 400, 499}, {9, 50, 59}}))));
    EXPECT_EQ(markersOf(*file), (Markers{{50, "Hülle €"},
                                         {100, "Größe"},
                                         {10, "Verse"},
                                         {400, "Größe (end)"},
                                         {30, "Verse (end)"},
                                         {400, "Loop"},
                                         {500, "Loop (end)"},
                                         {60, "Hülle € (end)"}}));
    std::vector<int32_t> idents;
    for (const AudioMarkerPtr& marker : *file->markers())
        idents.push_back(marker->ident());
    EXPECT_EQ(idents, (std::vector<int32_t>{9, 7, 3, 10, 11, 12, 13, 14}));
    EXPECT_EQ(file->warnings(), QStringList());
}

TEST_F(WaveCuesTest, ChunksOfUnchangedMarkersStayByteForByteBesideAnEditedTitle)
{
    const QByteArray info = chunk("LIST", "INFO" + chunk("INAM", QByteArray("Old\0", 4)));
    const QByteArray odd = "labl" + littleEndian32(7) + littleEndian32(2) + "abc"; // no pad byte
    const QByteArray front =
        list(odd + text("note", 2, "n") + chunk("wxyz", "own") + text("labl", 99, "of none"));
    const QByteArray behind = chunk("cue ", points({{2, 500}, {1, 20}, {1, 40}}) + "rest") +
                              chunk("plst", QByteArray(16, '\0')) +
                              list(text("labl", 1, "\xC4rger") + region(1, 30)) + chunk("inst", "1234567") +
                              chunk("smpl", sampler({{5, 10, 19}, {5, 30, 20}}));
    const auto bytes = [&](const QByteArray& title) {
        return riff(front + kFormat + kSound + title + behind);
    };
    const auto file = openedFrom(bytes(info));
    EXPECT_EQ(savedBytes(file, file->markers()), bytes(info));
    EXPECT_EQ(mLost, QStringList());
    AudioMetadata metadata = file->metadata();
    metadata.setTitle("Newer");
    saved(file, file->markers(), metadata);
    EXPECT_EQ(bytesOf("out.wav"), bytes(chunk("LIST", "INFO" + chunk("INAM", QByteArray("Newer\0", 6)))));
}

TEST_F(WaveCuesTest, AChangedMarkerChangesItsEntriesOnly)
{
    const QByteArray own = chunk("wxyz", "own") + text("labl", 99, "of none");
    const QByteArray texts = text("labl", 4, "A") + text("note", 4, "remark") + own +
                             text("labl", 8,
                                  "\xD6"
                                  "de") +
                             text("note", 8, "other") + region(8, 30);
    const auto bytes = [&](const QByteArray& cues, const QByteArray& entries) {
        return riff(kFormat + list(entries) + kSound + chunk("cue ", cues) + chunk("abcd", "x"));
    };
    const QByteArray before = bytes(points({{4, 100}, {8, 200}}), texts);
    const struct {
        const char* what;
        std::vector<Change> changes;
        Markers added;
        QByteArray cues;
        QByteArray texts;
        QStringList lost;
    } cases[] = {
        {"moved", {{"A", 150}}, {}, points({{4, 150}, {8, 200}}), texts, {}},
        {"renamed",
         {{"Öde", {}, "Ä"}},
         {},
         points({{4, 100}, {8, 200}}),
         text("labl", 4, "A") + text("note", 4, "remark") + own + text("labl", 8, "\xC4") +
             text("note", 8, "other") + region(8, 30),
         {}},
        {"deleted",
         {{"A", {}, {}, true}},
         {},
         points({{8, 200}}),
         own +
             text("labl", 8,
                  "\xD6"
                  "de") +
             text("note", 8, "other") + region(8, 30),
         {"cue notes (note)"}},
        {"added",
         {},
         {{7, "Ж"}, {300, ""}},
         points({{4, 100}, {8, 200}, {1, 7}, {2, 300}}),
         texts + text("labl", 1, "Ж"),
         {}},
        {"end moved",
         {{"Öde (end)", 240}},
         {},
         points({{4, 100}, {8, 200}}),
         texts.chopped(region(8, 30).size()) + region(8, 40),
         {}},
        {"start moved",
         {{"Öde", 190}},
         {},
         points({{4, 100}, {8, 190}}),
         texts.chopped(region(8, 30).size()) + region(8, 40),
         {}},
        {"end deleted",
         {{"Öde (end)", {}, {}, true}},
         {},
         points({{4, 100}, {8, 200}}),
         texts.chopped(region(8, 30).size()) + region(8, 0),
         {}},
        {"end before the start",
         {{"Öde (end)", 20}},
         {},
         points({{4, 100}, {8, 200}, {1, 20}}),
         texts.chopped(region(8, 30).size()) + region(8, 0) +
             text("labl", 1,
                  "\xD6"
                  "de (end)"),
         {}},
        {"end renamed",
         {{"Öde (end)", {}, "Coda"}},
         {},
         points({{4, 100}, {8, 200}}),
         texts,
         {"Ends of regions, and loops, have no names of their own in cue points."}},
        {"start deleted",
         {{"Öde", {}, {}, true}},
         {},
         points({{4, 100}, {1, 230}}),
         text("labl", 4, "A") + text("note", 4, "remark") + own +
             text("labl", 1,
                  "\xD6"
                  "de (end)"),
         {"cue notes (note)"}},
    };
    for (const auto& c : cases) {
        const auto file = openedFrom(before);
        const MarkerList markers = changed(*file, c.changes, c.added);
        EXPECT_EQ(savedBytes(file, markers).toPercentEncoding(), bytes(c.cues, c.texts).toPercentEncoding())
            << c.what;
        EXPECT_EQ(mLost, c.lost) << c.what;
        EXPECT_EQ(markersOf(*opened("out.wav")).size(), markers->size()) << c.what;
    }
}

TEST_F(WaveCuesTest, LoopsFollowTheirMarkers)
{
    const auto bytes = [](const QByteArray& loops, const QByteArray& more = {}) {
        return riff(kFormat + chunk("smpl", loops) + kSound + more);
    };
    const struct {
        std::vector<Change> changes;
        QByteArray loops;
        QByteArray more;
    } cases[] = {
        {{{"Loop (end)", 301}}, sampler({{0, 100, 300}}), {}},
        {{{"Loop", 90}, {"Loop (end)", 191}}, sampler({{0, 90, 190}}), {}},
        {{{"Loop", {}, "Hook"}}, sampler({{0, 100, 199}}), list(text("labl", 0, "Hook"))},
        {{{"Loop", {}, {}, true}, {"Loop (end)", {}, {}, true}}, sampler({}), {}},
    };
    for (const auto& c : cases) {
        const auto file = openedFrom(bytes(sampler({{0, 100, 199}})));
        EXPECT_EQ(savedBytes(file, changed(*file, c.changes)), bytes(c.loops, c.more));
        EXPECT_EQ(mLost, QStringList());
    }
    // Half of a loop is a marker, which needs chunks of its own.
    const auto file = openedFrom(bytes(sampler({{0, 100, 199}})));
    savedBytes(file, changed(*file, {{"Loop", {}, {}, true}}, {{5, "x"}}));
    EXPECT_EQ(sorted(markersOf(*opened("out.wav"))), (Markers{{5, "x"}, {200, "Loop (end)"}}));
    EXPECT_TRUE(bytesOf("out.wav").contains("MARK"));
    // At another rate a frame takes another time.
    saved(file, file->markers(), file->metadata(), 48000.0);
    EXPECT_TRUE(bytesOf("out.wav").contains(chunk("smpl", sampler({{0, 100, 199}}, 20833))));
}

TEST_F(WaveCuesTest, AnEditIsTakenBackByTheNextOne)
{
    const QByteArray bytes =
        riff(kFormat + kSound + chunk("cue ", points({{3, 30}, {4, 40}})) +
             list(text("labl", 3, "A") + text("note", 3, "n") + text("labl", 4, "B") + region(4, 50)) +
             chunk("smpl", sampler({{0, 10, 19}})));
    auto file = openedFrom(bytes);
    const MarkerList markers = changed(*file, {});
    const MarkerList others = changed(*file, {{"A", 31, "AA"}, {"B (end)", 99}, {"Loop", 9}}, {{7, "new"}});
    // Saved again from a new start, and from the file as it was saved.
    savedBytes(file, others);
    EXPECT_NE(bytesOf("out.wav"), bytes);
    const auto again = openedFrom(bytesOf("out.wav"));
    EXPECT_EQ(
        sorted(markersOf(*again)),
        sorted(Markers{{31, "AA"}, {40, "B"}, {99, "B (end)"}, {9, "Loop"}, {20, "Loop (end)"}, {7, "new"}}));
    EXPECT_EQ(
        savedBytes(again,
                   changed(*again, {{"AA", 30, "A"}, {"B (end)", 90}, {"Loop", 10}, {"new", {}, {}, true}})),
        bytes);
    file = openedFrom(bytes);
    const auto written = saved(file, others, file->metadata());
    written->takeOverLedger();
    makeFile("kept.wav", bytesOf("out.wav"));
    written->setFileHandle(FileHandle::openForReading(path("kept.wav")));
    EXPECT_EQ(savedBytes(written, markers), bytes);
}

TEST_F(WaveCuesTest, CuePointsWinOverOtherMarkersOfOurOwn)
{
    const QByteArray cues = chunk("cue ", points({{1, 30}, {2, 40}}));
    const QByteArray texts = list(text("labl", 1, "A") + region(1, 10) + text("labl", 2, "B"));
    const auto mark = [](const Markers& markers) {
        QByteArray payload = littleEndian16(std::ssize(markers));
        for (const auto& [position, name] : markers)
            payload += littleEndian16(0) + littleEndian32(position) + static_cast<char>(name.size()) +
                       name.toUtf8() + QByteArray(1 - name.size() % 2, '\0');
        return chunk("MARK", payload);
    };
    const struct {
        Markers own;
        bool agrees;
    } cases[] = {
        {{{40, "B"}, {30, "A"}, {40, "the end"}}, true},
        {{{30, "A"}, {40, "B"}}, false},
        {{{30, "A"}, {40, "C"}, {40, "A (end)"}}, false},
        {{{30, "A"}, {41, "B"}, {40, "A (end)"}}, false},
        {{{30, "A"}, {40, "B"}, {40, "A (end)"}, {50, "D"}}, false},
    };
    for (const auto& c : cases) {
        const QByteArray bytes = riff(kFormat + kSound + cues + texts + mark(c.own));
        const auto file = openedFrom(bytes);
        // Names for which cue points have no room come from us.
        EXPECT_EQ(markersOf(*file), (Markers{{30, "A"}, {40, "B"}, {40, c.agrees ? "the end" : "A (end)"}}));
        EXPECT_EQ(file->warnings(),
                  c.agrees ? QStringList()
                           : QStringList("The cue points of “in.wav” are not the markers that stand beside "
                                         "them; the cue points were opened."));
        EXPECT_EQ(savedBytes(file, file->markers()), bytes);
        EXPECT_EQ(mLost, QStringList());
        // A change stands in both, and they agree from then on.
        savedBytes(file, changed(*file, {{"B", 45}}));
        EXPECT_EQ(mLost, c.agrees ? QStringList() : QStringList("markers (MARK)"));
        EXPECT_EQ(opened("out.wav")->warnings(), QStringList());
        EXPECT_EQ(markersOf(*opened("out.wav"))[1], std::pair(int64_t{45}, QString("B")));
    }
    // A file with markers of ours alone has no others.
    const auto file = openedFrom(riff(kFormat + kSound + mark({{3, "A"}})));
    EXPECT_EQ(savedBytes(file, changed(*file, {{"A", 4}})), riff(kFormat + kSound + mark({{4, "A"}})));
}

TEST_F(WaveCuesTest, NewFilesHaveBothForOtherProgramsToRead)
{
    WaveFile writer(44100.0, 16, 1);
    writer.setMarkers(markerList({{700, "Ж"}, {0, ""}, {99, QString(300, 'n')}}));
    save(writer, "out.wav", noiseDocument(1000, 1));
    EXPECT_TRUE(
        bytesOf("out.wav").endsWith(chunk("cue ", points({{1, 700}, {2, 0}, {3, 99}})) +
                                    list(text("labl", 1, "Ж") + text("labl", 3, QByteArray(300, 'n')))));
    EXPECT_EQ(markersOf(*opened("out.wav")), (Markers{{700, "Ж"}, {0, ""}, {99, QString(300, 'n')}}));
    EXPECT_EQ(opened("out.wav")->warnings(), QStringList());
    const QByteArray told = run("sndfile-info", {argument("out.wav")});
    EXPECT_TRUE(told.contains("Count : 3")) << told.toStdString();
    for (const char* const point : {"700", "99"})
        EXPECT_TRUE(told.contains(QByteArray("Sample Offset : ") + point) || told.contains(QByteArray(point)))
            << told.toStdString();
}

TEST_F(WaveCuesTest, TakesMoreMarkersThanOurOwnChunkHolds)
{
    Markers many(70000, {5, ""});
    many.front() = {3, "first"};
    many.back() = {9, "last"};
    WaveFile writer(44100.0, 16, 1);
    writer.setMarkers(markerList(many));
    save(writer, "out.wav", silence(100));
    const auto file = opened("out.wav");
    EXPECT_EQ(markersOf(*file), many);
    EXPECT_EQ(file->warnings(), QStringList());
    saved(file, changed(*file, {{"last", 8}}), file->metadata());
    EXPECT_EQ(mMostMarkers, 100'000);
    EXPECT_EQ(markersOf(*opened("out.wav")).back(), std::pair(int64_t{8}, QString("last")));
}

} // namespace velloria::test
