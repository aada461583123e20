#include "formats/wave/WaveCuesKit.h"

namespace velloria::test
{

using WaveCuesDamageTest = WaveCuesTest;

TEST_F(WaveCuesDamageTest, DamageAndOddHabitsOfProgramsLoseNothing)
{
    const QByteArray one = points({{1, 30}});
    QByteArray playOnly = points({{1, 30}, {2, 60}});
    for (const qsizetype at : {24, 48})
        playOnly.replace(at, 4, QByteArray(4, '\0'));
    const struct {
        const char* what;
        QByteArray chunks;
        Markers markers;
    } cases[] = {
        {"more told than there are", chunk("cue ", littleEndian32(5) + one.mid(4)), {{30, ""}}},
        {"fewer told", chunk("cue ", littleEndian32(1) + points({{1, 30}, {2, 60}}).mid(4)), {{30, ""}}},
        {"cut short", chunk("cue ", one.chopped(1)), {}},
        {"no count", chunk("cue ", "ab"), {}},
        {"a number twice",
         chunk("cue ", points({{1, 30}, {1, 60}})) + list(text("labl", 1, "A") + region(1, 5)),
         {{30, "A"}, {60, "A"}, {35, "A (end)"}}},
        {"beyond the sound",
         chunk("cue ", points({{1, 0xFFFFFFFF}})) + list(region(1, 0xFFFFFFFF)),
         {{0xFFFFFFFF, ""}}},
        {"the place in the other field", chunk("cue ", playOnly), {{30, ""}, {60, ""}}},
        {"text cut short", chunk("cue ", one) + list(chunk("labl", "abc") + "labl\xFF\xFF"), {{30, ""}}},
        {"two names", chunk("cue ", one) + list(text("labl", 1, "A") + text("labl", 1, "B")), {{30, "A"}}},
        {"loops told that are not there", chunk("smpl", sampler({{0, 5, 9}}).chopped(20)), {}},
        {"short sampler data", chunk("smpl", "abc"), {}},
        {"loop backwards", chunk("smpl", sampler({{0, 9, 5}})), {}},
    };
    for (const auto& c : cases) {
        const QByteArray bytes = riff(kFormat + kSound + c.chunks);
        const auto file = openedFrom(bytes);
        EXPECT_EQ(markersOf(*file), c.markers) << c.what;
        EXPECT_EQ(savedBytes(file, changed(*file, {})), bytes) << c.what;
        EXPECT_EQ(mLost, QStringList()) << c.what;
        EXPECT_EQ(file->chunksNotKept(), QStringList()) << c.what;
        // A new one comes beside what is there.
        if (c.markers.empty())
            continue;
        Markers expected = c.markers;
        expected.emplace_back(77, "new");
        savedBytes(file, changed(*file, {}, {{77, "new"}}));
        EXPECT_EQ(sorted(markersOf(*opened("out.wav"))), sorted(expected)) << c.what;
    }
    // Of two with one number each can have a name.
    const auto file = openedFrom(
        riff(kFormat + kSound + chunk("cue ", points({{1, 30}, {1, 60}})) + list(text("labl", 1, "A"))));
    std::vector<AudioMarkerPtr> markers = *changed(*file, {});
    markers[1]->setName("B");
    savedBytes(file, std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
    EXPECT_EQ(markersOf(*opened("out.wav")), (Markers{{30, "A"}, {60, "B"}}));
}

TEST_F(WaveCuesDamageTest, RandomDamageOfTheChunksNeitherCrashesNorChangesWhatNobodyTouched)
{
    const QByteArray cues = points({{1, 30}, {2, 60}, {3, 90}});
    const QByteArray texts = text("labl", 1, "A") + region(1, 5) + text("note", 2, "n") + region(3, 9, "t");
    const QByteArray loops = sampler({{0, 5, 9}, {2, 60, 70}});
    std::mt19937 random(11);
    for (int i = 0; i < 1000; ++i) {
        QByteArray damaged = cues + texts + loops;
        for (int k = 0; k < 1 + i % 4; ++k)
            damaged[static_cast<qsizetype>(random() % static_cast<size_t>(damaged.size()))] =
                static_cast<char>(random() % 3 == 0 ? 0xFF : random());
        const QByteArray bytes =
            riff(kFormat + kSound + chunk("cue ", damaged.first(cues.size())) +
                 list(damaged.mid(cues.size(), texts.size())) + chunk("smpl", damaged.last(loops.size())));
        const LogCapture log;
        makeFile("in.wav", bytes);
        const auto file = AudioFileRegistry::audioFileWithPath(path("in.wav"), nullptr);
        ASSERT_TRUE(file);
        const QByteArray unchanged = savedBytes(file, changed(*file, {}));
        const bool isWhole = mLost.isEmpty() && file->chunksNotKept().isEmpty();
        ASSERT_TRUE(!isWhole || unchanged == bytes) << damaged.toPercentEncoding().toStdString();
        savedBytes(file, changed(*file, {{"A", 31, "AA"}, {"t (end)", 95}}, {{7, "new"}}));
        ASSERT_TRUE(AudioFileRegistry::audioFileWithPath(path("out.wav"), nullptr));
    }
}

} // namespace velloria::test
