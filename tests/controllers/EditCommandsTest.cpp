#include "controllers/EditCommands.h"
#include "controllers/ControllerKit.h"
#include "controllers/DisplayController.h"
#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "display/TimeFormatter.h"
#include "document/AudioClipboard.h"
#include "platform/Log.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"

#include <cmath>

namespace velloria
{

namespace
{

using kit::Window;
using Positions = std::vector<int64_t>;

FloatBuffer joined(std::initializer_list<FloatBuffer> parts)
{
    FloatBuffer all;
    for (const FloatBuffer& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class EditCommandsTest : public testing::Test
{
protected:
    void SetUp() override { AudioClipboard::clipboard().setContents(nullptr); }
};

} // namespace

TEST_F(EditCommandsTest, PastesIntoAnotherDocument)
{
    Window source({kit::ramp(1000, 1), kit::ramp(1000, 5001)});
    Window target({kit::ramp(100, 20'001), kit::ramp(100, 30'001)});
    kit::setMarkers(*source.document, {10, 20, 30});
    kit::setMarkers(*target.document, {39, 40, 49, 50});
    source.select(10, 30);
    source.controller.editing().copy();
    target.select(40, 50);
    MaybeError error;
    ASSERT_TRUE(target.controller.editing().paste(QStringLiteral("Paste"), &error));
    EXPECT_EQ(kit::samplesOf(*target.document, 0),
              joined({kit::ramp(40, 20'001), kit::ramp(20, 11), kit::ramp(50, 20'051)}));
    EXPECT_EQ(kit::samplesOf(*target.document, 1),
              joined({kit::ramp(40, 30'001), kit::ramp(20, 5011), kit::ramp(50, 30'051)}));
    // Kept, moved, then the copied ones, the one at the copied range's very end included.
    EXPECT_EQ(target.markers(), (Positions{39, 60, 40, 50, 60}));
    EXPECT_EQ(target.selectedFrames(), std::pair(int64_t{40}, int64_t{60}));
    EXPECT_EQ(target.document->undoManager().undoText(), QStringLiteral("Paste"));
    EXPECT_TRUE(target.host.partialResults.empty());
    target.controller.editing().undo();
    EXPECT_EQ(kit::samplesOf(*target.document, 0), kit::ramp(100, 20'001));
    EXPECT_EQ(target.markers(), (Positions{39, 40, 49, 50}));
    EXPECT_EQ(target.selectedFrames(), std::pair(int64_t{40}, int64_t{50}));
}

TEST_F(EditCommandsTest, DropsPastedTracksBeyondTheLast)
{
    Window source({kit::ramp(50, 1), kit::ramp(50, 1001)});
    source.select(0, 50);
    source.controller.editing().copy();
    Window target({kit::ramp(100, 1), kit::ramp(100, 2001)});
    kit::setMarkers(*target.document, {90});
    target.select(10, 20, 1, 1);
    ASSERT_TRUE(target.controller.editing().paste({}, nullptr));
    EXPECT_EQ(kit::samplesOf(*target.document, 0), kit::ramp(100, 1));
    EXPECT_EQ(kit::samplesOf(*target.document, 1),
              joined({kit::ramp(10, 2001), kit::ramp(50, 1), kit::ramp(80, 2021)}));
    EXPECT_EQ(target.markers(), (Positions{90})) << "the first track is not among those pasted into";
    EXPECT_EQ(target.controller.selection().value().numTracks, 1);
    EXPECT_EQ(target.host.partialResults, std::vector{PartialResult::tracksNotPasted});
}

TEST_F(EditCommandsTest, TellsThatFewerTracksGoToTheFirstOnes)
{
    Window source({kit::ramp(50, 1)});
    Window target({kit::ramp(100, 1), kit::ramp(100, 2001)});
    target.select(10, 10);
    source.select(20, 20);
    source.controller.editing().copy();
    ASSERT_TRUE(target.controller.editing().paste({}, nullptr));
    EXPECT_TRUE(target.host.partialResults.empty()) << "nothing went anywhere";

    source.select(0, 50);
    source.controller.editing().copy();
    target.select(10, 10);
    ASSERT_TRUE(target.controller.editing().paste({}, nullptr));
    EXPECT_EQ(kit::samplesOf(*target.document, 0),
              joined({kit::ramp(10, 1), kit::ramp(50, 1), kit::ramp(90, 11)}));
    EXPECT_EQ(kit::samplesOf(*target.document, 1), kit::ramp(100, 2001));
    EXPECT_EQ(target.host.partialResults, std::vector{PartialResult::fewerTracksPasted});
    target.select(10, 10, 1, 1);
    ASSERT_TRUE(target.controller.editing().paste({}, nullptr));
    EXPECT_EQ(target.host.partialResults.size(), 1U) << "as many as are selected";
}

TEST_F(EditCommandsTest, ACancelledConversionPastesWhatWasConverted)
{
    Window source({kit::noise(400'000, 1), kit::noise(400'000, 2)});
    kit::setMarkers(*source.document, {101, 399'999});
    source.select(0, 400'000);
    source.controller.editing().copy();
    Window target({kit::ramp(1000, 1), kit::ramp(1000, 1)});
    target.document->undoableSetSampleRate(22'050.0);
    target.document->undoManager().clear();
    target.select(100, 200);
    target.host.cancelAfter = 1;
    EXPECT_TRUE(target.controller.editing().paste(QStringLiteral("Paste"), nullptr));
    // A round of the first track, the one at which the work stood; every marker comes along.
    EXPECT_EQ((*target.document->audioTracks())[0]->length(), 900 + 65'536);
    EXPECT_EQ(kit::samplesOf(*target.document, 1), kit::ramp(1000, 1));
    EXPECT_EQ(target.markers(), (Positions{150, 100 + 199'999}));
    EXPECT_EQ(target.selectedFrames(), std::pair(int64_t{100}, int64_t{100 + 65'536}));
    EXPECT_EQ(target.host.partialResults, std::vector{PartialResult::pasteCancelled});
    EXPECT_EQ(target.document->undoManager().count(), 1);
    target.controller.editing().undo();
    EXPECT_EQ(kit::samplesOf(*target.document), (kit::TrackSamples{kit::ramp(1000, 1), kit::ramp(1000, 1)}));
}

TEST_F(EditCommandsTest, SaysWhyItCannotPaste)
{
    Window window({kit::ramp(100, 1)});
    MaybeError error;
    EXPECT_FALSE(window.controller.editing().canPaste());
    EXPECT_FALSE(window.controller.editing().paste({}, &error));
    EXPECT_TRUE(error->message.contains(QStringLiteral("nothing was copied")));

    EXPECT_FALSE(window.document->isDocumentEdited());
}

TEST_F(EditCommandsTest, ConvertsWhatComesFromADocumentOfAnotherRate)
{
    Window source({kit::noise(44'101, 1), kit::noise(44'101, 2)});
    kit::setMarkers(*source.document, {101});
    source.select(0, 44'101);
    source.controller.editing().copy();
    Window target({kit::ramp(1000, 1), kit::ramp(1000, 1)});
    target.document->undoableSetSampleRate(22'050.0);
    target.select(100, 200);
    EXPECT_TRUE(target.controller.editing().paste(QStringLiteral("Paste"), nullptr));
    EXPECT_TRUE(target.host.calls.contains(QStringLiteral("progress Pasting Audio")));
    EXPECT_EQ(target.document->numberOfFrames(), 900 + 22'051);
    EXPECT_EQ(target.markers(), (Positions{150}));
    EXPECT_EQ(target.selectedFrames(), std::pair(int64_t{100}, int64_t{22'151}));
    target.controller.editing().undo();
    EXPECT_EQ(kit::samplesOf(*target.document), (kit::TrackSamples{kit::ramp(1000, 1), kit::ramp(1000, 1)}));
}

TEST_F(EditCommandsTest, ListsCopiedMarkersAsTheRulerTellsTime)
{
    struct Case {
        int units;
        const char* listing;
    };
    const Case cases[] = {{0, "0'00.5000\tb\n0'01.0000\ta\n"},
                          {kRulerUnitsSeconds, "0.5000\tb\n1.0000\ta\n"},
                          {kRulerUnitsSamples, "22,050\tb\n44,100\ta\n"}};
    Window window({kit::ramp(100'000, 1)});
    for (const auto& [position, name] : {std::pair(44'100, "a"), {22'050, "b"}, {22'049, "before"}})
        window.document->addMarker(kit::markerAt(position, QString::fromLatin1(name)));
    window.select(22'050, 44'100);
    QLocale::setDefault(QLocale::c());
    for (const Case& each : cases) {
        UserDefaults::standard().setValue(QStringLiteral("view.ruler.units"), each.units);
        window.controller.editing().copy();
        EXPECT_EQ(Pasteboard::general().text(), QString::fromLatin1(each.listing)) << each.units;
    }
    UserDefaults::standard().removeValue(QStringLiteral("view.ruler.units"));
    window.select(0, 10);
    window.controller.editing().copy();
    EXPECT_EQ(Pasteboard::general().text(), QString());
}

TEST_F(EditCommandsTest, CopiesNoTracksWithAWord)
{
    Window window({kit::ramp(100, 1)});
    window.select(0, 100, 0, 0);
    const LogCapture log;
    window.controller.editing().copy();
    EXPECT_TRUE(log.hasLogged(
        QStringLiteral("SoundController copy: number of tracks in selection is less than one.")));
    EXPECT_EQ(AudioClipboard::clipboard().contents()->numTracks(), 0);
}

TEST_F(EditCommandsTest, LeavesAnEmptySelectionAlone)
{
    Window window({kit::ramp(100, 1)});
    kit::setMarkers(*window.document, {50});
    window.document->undoManager().clear();
    window.select(50, 50);
    window.controller.editing().cut({});
    window.controller.editing().deleteSelection({});
    window.controller.editing().clear({});
    window.controller.editing().crop({});
    window.controller.editing().undo();
    window.controller.editing().redo();
    EXPECT_EQ(kit::samplesOf(*window.document, 0), kit::ramp(100, 1));
    EXPECT_EQ(window.markers(), (Positions{50}));
    EXPECT_EQ(window.document->undoManager().count(), 0);
    EXPECT_FALSE(AudioClipboard::clipboard().hasContent());
}

TEST_F(EditCommandsTest, NamesItsStepsAndTellsTheWindow)
{
    Window window({kit::ramp(100, 1), kit::ramp(100, 1)});
    const auto undoText = [&window] { return window.document->undoManager().undoText(); };
    window.select(10, 20);
    window.host.calls.clear();
    window.controller.editing().cut(QStringLiteral("Cut"));
    EXPECT_EQ(undoText(), QStringLiteral("Cut"));
    EXPECT_EQ(window.host.calls.last(), QStringLiteral("reveal"));
    EXPECT_EQ(window.document->undoManager().count(), 1);
    window.select(10, 20);
    window.controller.editing().deleteSelection({});
    EXPECT_EQ(undoText(), QStringLiteral("Delete"));
    window.select(10, 20);
    window.controller.editing().clear(QStringLiteral("Clear"));
    EXPECT_EQ(undoText(), QStringLiteral("Clear"));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{10}, int64_t{20}));
    window.controller.editing().crop(QStringLiteral("Crop"));
    EXPECT_EQ(undoText(), QStringLiteral("Crop"));
    EXPECT_EQ(window.host.calls.last(), QStringLiteral("constrain"));
    EXPECT_EQ(window.document->undoManager().count(), 4);
}

TEST_F(EditCommandsTest, ClearKeepsTheLengthWhereverTheEndsLie)
{
    Window window({kit::ramp(1000, 1)});
    kit::setMarkers(*window.document, {150, 800});
    // From 100.4 to 200.6 frames: 101 frames are taken out, and the duration alone would round to 100.
    window.controller.selection().setSelection({100.4 / 44100.0, 200.6 / 44100.0, 0, 1});
    window.controller.editing().clear({});
    EXPECT_EQ(kit::samplesOf(*window.document, 0),
              joined({kit::ramp(100, 1), FloatBuffer(101), kit::ramp(799, 202)}));
    EXPECT_EQ(window.markers(), (Positions{150, 800}));
}

TEST_F(EditCommandsTest, InsertsMarkersAtTheSelection)
{
    Window window({kit::ramp(100'000, 1)});
    const auto texts = [&window] {
        QStringList list;
        for (const AudioMarkerPtr& marker : *window.document->audioMarkers())
            list += QStringLiteral("%1 %2").arg(marker->position()).arg(marker->name());
        return list;
    };
    window.select(500, 500);
    window.controller.markers().insertMarker();
    EXPECT_EQ(texts(), QStringList{QStringLiteral("500 New Marker 1")});
    window.controller.selection().setSelection({1.0, 2.0, 0, 1});
    window.controller.markers().insertMarker();
    EXPECT_EQ(texts().sliced(1),
              (QStringList{QStringLiteral("44100 Start Marker"), QStringLiteral("88200 End Marker")}));
    EXPECT_EQ(window.document->undoManager().count(), 2) << "two markers, but one command";
    window.controller.markers().deleteAllMarkers(QStringLiteral("Delete All Markers"));
    EXPECT_TRUE(window.markers().empty());
    window.controller.markers().deleteAllMarkers(QStringLiteral("Delete All Markers"));
    EXPECT_EQ(window.document->undoManager().count(), 3);
    window.controller.editing().undo();
    EXPECT_EQ(texts().size(), 3);
}

TEST_F(EditCommandsTest, FindsTheNearestZeroCrossing)
{
    // At 1 Hz a frame is a second. Crossings are where the second of two samples stands.
    Window window({{1, 1, -1, -1, 0, 0, -1, 1, 1, 1}});
    window.document->undoableSetSampleRate(1.0);
    struct Case {
        double time;
        double halfWidth;
        double expected;
    };
    const Case cases[] = {
        {2.2, 2.0, 2.0},
        {3.0, 1.0, 3.0},   // 2 is within the width, but its pair begins outside; 4 is not read
        {3.0, 2.0, 2.0},   // 2 and 4 are as near: the earlier
        {5.5, 2.0, 6.0},   // from 0 down counts, from -1 to 0 too
        {4.4, 3.0, 4.0},   //
        {9.0, 1.5, 9.0},   // none
        {9.0, 100.0, 7.0}, // the width ends with the document
        {-5.0, 1.0, -5.0}, // outside
        {3.0, 0.0, 3.0},   // no width
        {3.0, NAN, 3.0},
    };
    for (const Case& each : cases)
        EXPECT_EQ(window.controller.display().nearestZeroCrossingWithin(each.halfWidth, each.time, 0),
                  each.expected)
            << each.time << " within " << each.halfWidth;
    EXPECT_EQ(window.controller.display().nearestZeroCrossingWithin(2.0, 2.2, 1), 2.2)
        << "there is no such track";
}

} // namespace velloria
