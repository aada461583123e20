#include "document/DocumentKit.h"
#include "document/UndoGroup.h"
#include "platform/UserDefaults.h"

using namespace velloria;
using kit::documentOf;
using kit::positionsOf;
using kit::ramp;
using kit::samplesOf;

namespace
{

using Positions = std::vector<int64_t>;

TEST(DocumentEditing, MarkersFollowTheFirstTrackOnly)
{
    struct Case {
        const char* name;
        int32_t track;
        int64_t length;
        int64_t newLength;
        Positions after;
    };
    // Markers at 0, 499, 500, 550, 599, 600 and 700; the edit is at 500.
    const Case cases[] = {
        {"longer on track 1", 1, 100, 300, {0, 499, 500, 550, 599, 600, 700}},
        {"longer", 0, 100, 300, {0, 499, 500, 650, 797, 800, 900}},
        {"shorter", 0, 100, 50, {0, 499, 500, 525, 550, 550, 650}},
        {"removed", 0, 100, 0, {0, 499, 500, 600}},
        {"inserted", 0, 0, 10, {0, 499, 510, 560, 609, 610, 710}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto document = documentOf({ramp(1000, 0), ramp(1000, 5000)});
        kit::setMarkers(*document, {0, 499, 500, 550, 599, 600, 700});
        const Positions before = positionsOf(*document->audioMarkers());
        const int numSteps = document->undoManager().count();
        const AudioClipPtr clip =
            c.newLength > 0 ? kit::clipOf(ramp(static_cast<size_t>(c.newLength), -500)) : nullptr;
        document->replaceDataAndMarkersAtOffset(500, c.length, c.track, clip);
        EXPECT_EQ(positionsOf(*document->audioMarkers()), c.after);
        EXPECT_EQ(document->undoManager().count(), numSteps + 1) << "samples and markers are one step";
        document->undoManager().undo();
        EXPECT_EQ(positionsOf(*document->audioMarkers()), before);
    }
}

TEST(DocumentEditing, MarkersThatStayMakeNoStep)
{
    const auto document = documentOf({ramp(1000, 0)});
    kit::setMarkers(*document, {10, 20});
    const MarkerList before = document->audioMarkers();
    document->scaleMarkersAtOffset(15, 5, 5);
    document->scaleMarkersAtOffset(21, 100, 0);
    EXPECT_EQ(document->audioMarkers(), before);
    EXPECT_EQ(document->undoManager().count(), 1);
}

TEST(DocumentEditing, ReplacesFramesOfOneTrackAndPadsBeyondItsEnd)
{
    const auto document = documentOf({ramp(10, 0), ramp(10, 100)});
    std::vector<AudioClipPtr> clips = {kit::clipOf({-1, -2}), kit::clipOf({-3})};
    document->replaceDataAtOffset(8, 100, 1, ClipList(clips));
    EXPECT_EQ(samplesOf(*document, 1), (FloatBuffer{100, 101, 102, 103, 104, 105, 106, 107, -1, -2, -3}));
    document->replaceDataAtOffset(12, 0, 1, ClipList(clips[1]));
    EXPECT_EQ(samplesOf(*document, 1).size(), 13U);
    EXPECT_EQ(samplesOf(*document, 1)[11], 0.0F);
    EXPECT_EQ(samplesOf(*document, 0), ramp(10, 0));
    EXPECT_EQ(document->numberOfFrames(), 13);
}

TEST(DocumentEditing, DoesNothingForTracksAndRangesThatAreNone)
{
    const auto document = documentOf({ramp(10, 0)});
    const ClipList clip(AudioClipPtr(kit::clipOf({1})));
    document->replaceDataAtOffset(0, 5, 1, clip);
    document->replaceDataAtOffset(0, 5, -1, clip);
    document->replaceDataAtOffset(3, 0, 0, ClipList());
    document->removeFromTracksAtIndex(1);
    document->setNumTracks(1);
    document->setNumTracks(-1);
    document->removeAudioMarker(kit::markerAt(1));
    EXPECT_EQ(document->undoManager().count(), 0);
    EXPECT_TRUE(document->clipsAtOffset(0, 5, 1).isEmpty());
    EXPECT_TRUE(document->minMaxDataFrom(0, 1, 0.1, -1).empty());
}

TEST(DocumentEditing, CropKeepsRangeTracksAndMarkers)
{
    const auto document = documentOf({ramp(100, 0), ramp(100, 1000), ramp(50, 2000), ramp(100, 3000)});
    kit::setMarkers(*document, {9, 10, 59, 60});
    const int numSteps = document->undoManager().count();
    document->cropFrom(10 / 44100.0, 60 / 44100.0, 1, 2);
    EXPECT_EQ(samplesOf(*document), (kit::TrackSamples{ramp(50, 1010), ramp(40, 2010)}));
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0}));
    EXPECT_EQ(positionsOf(*document->audioMarkers()), (Positions{0, 49}));
    EXPECT_EQ(document->undoManager().count(), numSteps + 1);
    document->undoManager().undo();
    EXPECT_EQ(document->trackCount(), 4);
    EXPECT_EQ(document->numberOfFrames(), 100);
    document->cropFrom(-5.0, 1e300, 3, 9);
    EXPECT_EQ(samplesOf(*document), (kit::TrackSamples{ramp(100, 3000)}));
    EXPECT_EQ(kit::pansOf(*document), std::vector<double>{0.0});
}

TEST(DocumentEditing, PansTracksAsTheirNumberTells)
{
    const auto document = documentOf({ramp(5, 0), ramp(5, 0)});
    document->updateTrackPanning();
    document->setNumTracks(3);
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0, -1.0}));
    document->setNumTracks(1);
    EXPECT_EQ(kit::pansOf(*document), std::vector<double>{-1.0});
    document->setNumTracks(0);
    document->setNumTracks(2);
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{0.0, 1.0})) << "new tracks";
}

TEST(DocumentEditing, UndoOfAnInsertedTrackBringsThePansBack)
{
    const auto document = documentOf({ramp(5, 0)});
    const AudioTrackPtr inserted = kit::trackOf(ramp(5, 10));
    document->insertInTracks(inserted);
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0}));
    EXPECT_EQ((*document->audioTracks())[1], inserted);
    document->undoManager().undo();
    EXPECT_EQ(kit::pansOf(*document), std::vector<double>{0.0}) << "a mono sound stays in the centre";
    document->undoManager().redo();
    document->insertInTracks(kit::trackOf(ramp(5, 20)), 0);
    document->removeFromTracksAtIndex(1);
    EXPECT_EQ(samplesOf(*document), (kit::TrackSamples{ramp(5, 20), ramp(5, 10)}));
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0}));
}

TEST(DocumentEditing, ConstrainsSelections)
{
    struct Case {
        size_t trackCount;
        SoundSelection selection;
        SoundSelection constrained;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Case cases[] = {
        {2, {-1.0, 5.0, 0, 2}, {0.0, 1.0, 0, 2}}, {2, {0.25, 0.75, 1, 1}, {0.25, 0.75, 0, 1}},
        {3, {0.0, 1.0, 1, 9}, {0.0, 1.0, 1, 2}},  {3, {nan, nan, -4, -1}, {0.0, 0.0, 0, 0}},
        {3, {5.0, -1.0, 7, 1}, {1.0, 0.0, 1, 1}}, {1, {0.0, 1.0, 0, 1}, {0.0, 1.0, -1, 1}},
    };
    for (const Case& c : cases) {
        const auto document = documentOf(kit::TrackSamples(c.trackCount, FloatBuffer(44100)));
        SoundSelection selection = c.selection;
        document->constrainSelection(selection);
        EXPECT_EQ(selection, c.constrained) << c.trackCount << " tracks from " << c.selection.firstTrack;
    }
}

TEST(DocumentEditing, KeepsMarkersByIdentityAndOrdersThemByPosition)
{
    const auto document = documentOf({ramp(100, 0)});
    const AudioMarkerPtr late = kit::markerAt(50, QStringLiteral("late"));
    const AudioMarkerPtr early = kit::markerAt(10, QStringLiteral("early"));
    const AudioMarkerPtr twin = kit::markerAt(50, QStringLiteral("late"));
    for (const AudioMarkerPtr& marker : {late, early, twin})
        document->addMarker(marker);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Add Marker"));
    EXPECT_EQ(*document->orderedMarkers(), (std::vector<AudioMarkerPtr>{early, late, twin}));
    EXPECT_EQ(document->audioMarkers()->front(), late);
    document->removeAudioMarker(late);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Remove Marker"));
    EXPECT_EQ(*document->orderedMarkers(), (std::vector<AudioMarkerPtr>{early, twin}));
}

TEST(SoundDocument, StartsAsThePreferencesSay)
{
    struct Case {
        QVariant rate;
        QVariant size;
        double sampleRate;
        int64_t sampleSize;
    };
    const Case cases[] = {{QVariant(), QVariant(), 44100.0, 16},
                          {96000.0, 24, 96000.0, 24},
                          {-5.0, 99, 44100.0, 16},
                          {QStringLiteral("nan"), 0, 44100.0, 16},
                          {1e300, -8, 44100.0, 16}};
    for (const Case& c : cases) {
        UserDefaults::standard().setValue(QStringLiteral("file.sampleRate"), c.rate);
        UserDefaults::standard().setValue(QStringLiteral("file.sampleSize"), c.size);
        const SoundDocument document;
        EXPECT_EQ(document.sampleRate(), c.sampleRate);
        EXPECT_EQ(document.sampleSize(), c.sampleSize);
        EXPECT_EQ(kit::pansOf(document), (std::vector<double>{-1.0, 1.0}));
        EXPECT_EQ(document.numberOfFrames(), 0);
        EXPECT_FALSE(document.isDocumentEdited());
    }
    UserDefaults::standard().removeValue(QStringLiteral("file.sampleRate"));
    UserDefaults::standard().removeValue(QStringLiteral("file.sampleSize"));
}

} // namespace
