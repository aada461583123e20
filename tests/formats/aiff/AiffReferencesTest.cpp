#include "formats/aiff/AiffFile.h"

#include "formats/kit/SavingTestKit.h"
#include "formats/wave/WaveFile.h"

#include <functional>

namespace velloria
{
namespace
{

using namespace test;

using AiffReferencesTest = SavingTest;

/// A sustain loop that is played from one marker to another.
QByteArray instrumentWithLoop(int begin, int end)
{
    return bytes("\x3C\0\0\x7F\1\x7F\0\0\0\1") + bigEndian16(begin) + bigEndian16(end) + QByteArray(6, '\0');
}

QByteArray commentAt(int ident)
{
    return bigEndian16(1) + bigEndian32(0) + bigEndian16(ident) + bigEndian16(1) + bytes("c\0");
}

TEST_F(AiffReferencesTest, FindsLoopsAndCommentsThatWouldPointAtOtherMarkers)
{
    using Change = std::function<void(std::vector<AudioMarkerPtr>&)>;
    const auto nothing = [](std::vector<AudioMarkerPtr>&) {};
    const auto addAtEnd = [](auto& markers) { markers.push_back(std::make_shared<AudioMarker>(0, 9, "b")); };
    const auto addInFront = [](auto& markers) {
        markers.insert(markers.begin(), std::make_shared<AudioMarker>(0, 0, "x"));
    };
    const auto removeFirst = [](auto& markers) { markers.erase(markers.begin()); };
    const auto removeLast = [](auto& markers) { markers.pop_back(); };
    const auto moveOne = [](auto& markers) { markers[1]->setPosition(77); };
    const auto renameOne = [](auto& markers) { markers[0]->setName("other"); };
    const auto replaceFirst = [](auto& markers) { markers[0] = std::make_shared<AudioMarker>(0, 1, "new"); };
    // As an edit of the sound before them does.
    const auto shift = [](auto& markers) {
        for (AudioMarkerPtr& marker : markers) {
            marker = AudioMarker::markerWithMarker(*marker);
            marker->setPosition(marker->position() + 100);
        }
    };
    const auto removeFirstAndShift = [&](auto& markers) {
        removeFirst(markers);
        shift(markers);
    };
    const QByteArray loop = iffChunk("INST", instrumentWithLoop(0, 1));
    const QByteArray otherLoop = iffChunk("INST", instrumentWithLoop(1, 2));
    const struct {
        const char* name;
        /// The numbers of the markers in the file; none for a file that was saved here.
        std::vector<int> numbers;
        QByteArray chunks;
        Change change;
        bool moves;
    } cases[] = {
        {"as it is", {0, 1}, loop, nothing, false},
        {"added at the end", {0, 1}, loop, addAtEnd, false},
        {"added in front", {0, 1}, loop, addInFront, true},
        {"first removed", {0, 1}, loop, removeFirst, true},
        {"last removed", {0, 1}, loop, removeLast, true},
        {"the one behind removed", {0, 1, 2}, loop, removeLast, false},
        {"moved", {0, 1}, loop, moveOne, false},
        {"renamed", {0, 1}, loop, renameOne, false},
        {"first replaced", {0, 1}, loop, replaceFirst, true},
        {"shifted", {0, 1}, loop, shift, false},
        {"numbered from 1", {1, 2}, otherLoop, nothing, true},
        {"numbered from 1, not named", {1, 2}, {}, nothing, false},
        {"comment", {0, 1}, iffChunk("COMT", commentAt(1)), nothing, false},
        {"comment, first removed", {0, 1, 2}, iffChunk("COMT", commentAt(1)), removeFirst, true},
        {"comment on no marker", {1, 2}, iffChunk("COMT", commentAt(0)), removeFirst, false},
        {"loop that is not played", {0, 1}, iffChunk("INST", QByteArray(20, '\0')), removeFirst, false},
        {"named by nobody", {0, 1}, iffChunk("INST", instrumentWithLoop(40, 41)), removeFirst, false},
        {"saved here", {}, loop, nothing, false},
        {"saved here, shifted", {}, loop, shift, false},
        {"saved here, first removed", {}, loop, removeFirst, true},
        {"saved here, first removed and shifted", {}, loop, removeFirstAndShift, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QByteArray marks = bigEndian16(static_cast<int>(c.numbers.size()));
        for (const int number : c.numbers)
            marks += bigEndian16(number) + bigEndian32(10 * number) + "\1m";
        // Not numbered at all: markers that were made here all have the number 0.
        const MarkerList own = markerList({{1, "m"}, {2, "m"}, {3, "m"}});
        const QByteArray ownMarks =
            iffChunk("MARK", AiffMarkers::payloadOfMarkers(*own)) + iffChunk("uMrk", archivedMarkers(own));
        makeFile("in.aif",
                 aiff({}, "abcd", (c.numbers.empty() ? ownMarks : iffChunk("MARK", marks)) + c.chunks));
        const auto file = opened("in.aif");
        std::vector<AudioMarkerPtr> markers = *file->markers();
        c.change(markers);
        AiffFile writer(44100.0, 16, 1);
        writer.setMetadata(file->metadata());
        writer.setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
        EXPECT_EQ(AiffFile::movesReferences(*file, writer), c.moves);
        // What was saved is what the next save is compared with.
        EXPECT_FALSE(AiffFile::movesReferences(writer, writer));
    }
}

TEST_F(AiffReferencesTest, FindsReferencesThatALaterSaveOrOneWithoutMarkersWouldMove)
{
    AudioMetadata metadata;
    metadata.setAiffInstrumentChunk(instrumentWithLoop(0, 1));
    const std::vector<AudioMarkerPtr> all = *markerList({{1, "a"}, {2, "b"}, {3, "c"}});
    AiffFile saved(44100.0, 16, 1);
    saved.setMetadata(metadata);
    saved.setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(all));
    const struct {
        std::vector<AudioMarkerPtr> markers;
        bool moves;
    } cases[] = {{all, false},
                 {{all[0], all[1]}, false},
                 {{all[1], all[2]}, true},
                 {{all[1], all[0]}, true},
                 {{}, true}};
    for (const auto& c : cases) {
        AiffFile next(44100.0, 16, 1);
        next.setMetadata(metadata);
        next.setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(c.markers));
        EXPECT_EQ(AiffFile::movesReferences(saved, next), c.moves);
        // Where nothing is written that names markers, nothing points elsewhere.
        WaveFile wave(44100.0, 16, 1);
        wave.setMetadata(metadata);
        EXPECT_FALSE(AiffFile::movesReferences(saved, wave));
    }
}

} // namespace
} // namespace velloria
