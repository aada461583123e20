#include "document/DocumentKit.h"
#include "document/UndoGroup.h"

using namespace velloria;
using kit::documentOf;
using kit::ramp;

namespace
{

struct Snapshot {
    TrackList tracks;
    kit::TrackSamples samples;
    std::vector<std::pair<QString, int64_t>> markers;
    AudioMetadata metadata;
    double sampleRate;
    int64_t numFrames;
    SoundSelection selection;

    bool operator==(const Snapshot&) const = default;
};

Snapshot snapshotOf(const SoundDocument& document, const kit::ControllerRecorder& controller)
{
    std::vector<std::pair<QString, int64_t>> markers;
    for (const AudioMarkerPtr& marker : *document.audioMarkers())
        markers.emplace_back(marker->name(), marker->position());
    return {document.audioTracks(),   kit::samplesOf(document), markers,
            document.audioMetadata(), document.sampleRate(),    document.numberOfFrames(),
            controller.selection};
}

/// One random command, made of one to four changes.
class RandomEdits
{
public:
    RandomEdits(SoundDocument& document, kit::ControllerRecorder& controller, unsigned seed)
        : mDocument(document)
        , mController(controller)
        , mGenerator(seed)
    {
    }

    void perform()
    {
        const UndoGroup group(mDocument, QStringLiteral("Random"));
        for (int changes = number(1, 4); changes > 0; --changes)
            change();
        mController.selection = {number(0, 9) * 0.1, 1.0, 0, number(0, 2)};
    }

private:
    int number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mGenerator); }

    AudioClipPtr randomClip()
    {
        return kit::clipOf(
            kit::noise(static_cast<size_t>(number(1, 40)), static_cast<unsigned>(number(0, 999))));
    }

    void change()
    {
        switch (number(0, 6)) {
        case 0:
            mDocument.replaceDataAndMarkersAtOffset(number(0, 120), number(0, 30), number(0, 2),
                                                    randomClip());
            break;
        case 1:
            mDocument.replaceDataAndMarkersAtOffset(number(0, 90), number(0, 30), number(0, 1), nullptr);
            break;
        case 2:
            mDocument.setNumTracks(number(1, 4));
            break;
        case 3:
            mDocument.addMarker(kit::markerAt(number(0, 100), QString::number(number(0, 9))));
            break;
        case 4:
            changeMarker();
            break;
        case 5:
            mDocument.undoableSetSampleRate(number(1, 3) * 1000.0);
            break;
        default:
            changeTitle();
        }
    }

    void changeMarker()
    {
        const std::vector<AudioMarkerPtr> markers = *mDocument.audioMarkers();
        if (markers.empty())
            return;
        const AudioMarkerPtr& marker = markers[static_cast<size_t>(number(0, 999)) % markers.size()];
        mDocument.setName(QString::number(number(0, 9)), marker);
        mDocument.setPosition(number(0, 99), marker);
    }

    void changeTitle()
    {
        AudioMetadata metadata = mDocument.audioMetadata();
        metadata.setTitle(QString::number(number(0, 9)));
        mDocument.undoableSetAudioMetadata(metadata);
    }

    SoundDocument& mDocument;
    kit::ControllerRecorder& mController;
    std::mt19937 mGenerator;
};

TEST(DocumentUndo, WalksThroughRandomHistoriesBackAndForth)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        const auto document = documentOf({ramp(50, 0), ramp(70, 100)});
        kit::ControllerRecorder controller(*document);
        RandomEdits edits(*document, controller, seed);
        std::vector<Snapshot> snapshots = {snapshotOf(*document, controller)};
        for (int i = 0; i < 30; ++i) {
            // Where nothing was changed, the selection is no step of its own.
            const SoundSelection selection = controller.selection;
            edits.perform();
            if (document->undoManager().count() == static_cast<int>(snapshots.size()))
                snapshots.push_back(snapshotOf(*document, controller));
            else
                controller.selection = selection;
        }
        std::mt19937 generator(seed);
        for (int walk = 0; walk < 6; ++walk) {
            const auto target = static_cast<size_t>(generator() % snapshots.size());
            document->undoManager().setIndex(static_cast<int>(target));
            ASSERT_EQ(snapshotOf(*document, controller), snapshots[target]) << "step " << target;
        }
    }
}

TEST(DocumentUndo, AGroupIsOneStepUnderItsOutermostName)
{
    const auto document = documentOf({ramp(50, 0)});
    const TrackList before = document->audioTracks();
    {
        const UndoGroup cut(*document, QStringLiteral("Cut"));
        const UndoGroup unnamed(*document);
        const UndoGroup deletion(*document, QStringLiteral("Delete"));
        document->replaceDataAtOffset(0, 10, 0, ClipList());
        document->addMarker(kit::markerAt(3));
        document->replaceDataAtOffset(0, 10, 0, ClipList());
        document->addMarker(kit::markerAt(4));
    }
    EXPECT_EQ(document->undoManager().count(), 1);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Cut"));
    EXPECT_EQ(document->numberOfFrames(), 30);
    document->undoManager().undo();
    EXPECT_EQ(document->audioTracks(), before);
    EXPECT_TRUE(document->audioMarkers()->empty());
    document->undoManager().redo();
    EXPECT_EQ(document->numberOfFrames(), 30);
    EXPECT_EQ(document->audioMarkers()->size(), 2U);
}

TEST(DocumentUndo, AGroupThatChangesNothingIsNoStep)
{
    const auto document = documentOf({ramp(50, 0)});
    const AudioMarkerPtr marker = kit::markerAt(3, QStringLiteral("a"));
    document->addMarker(marker);
    const TrackList before = document->audioTracks();
    const MarkerList markers = document->audioMarkers();
    {
        const UndoGroup group(*document, QStringLiteral("Back and forth"));
        document->setNumTracks(3);
        document->undoableSetAudioTracks(before);
        document->undoableSetAudioTracks(before);
        document->undoableSetAudioMarkers(nullptr);
        document->undoableSetAudioMarkers(markers);
        document->setName(QStringLiteral("b"), marker);
        document->setName(QStringLiteral("a"), marker);
        document->undoableSetSampleRate(8000);
        document->undoableSetSampleRate(44100);
        document->undoableSetAudioMetadata(AudioMetadata());
    }
    EXPECT_EQ(document->undoManager().count(), 1);
}

TEST(DocumentUndo, NamesAStepLaterButNeverAnothers)
{
    const auto document = documentOf({ramp(50, 0)});
    document->setUndoActionName(QStringLiteral("Nothing"));
    document->replaceDataAtOffset(0, 10, 0, ClipList());
    document->setUndoActionName(QStringLiteral("Delete"));
    document->setUndoActionName(QStringLiteral("Cancelled effect"));
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Delete"));
    {
        const UndoGroup group(*document, QStringLiteral("Old"));
        document->replaceDataAtOffset(0, 10, 0, ClipList());
        document->setUndoActionName(QStringLiteral("New"));
    }
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("New"));
}

TEST(DocumentUndo, TellsControllersWhatChangedAndRestoresTheSelection)
{
    const auto document = documentOf({ramp(50, 0)});
    const AudioMarkerPtr marker = kit::markerAt(3);
    document->addMarker(marker);
    kit::ControllerRecorder controller(*document);
    struct Case {
        const char* name;
        std::function<void()> edit;
        QStringList calls;
    };
    AudioMetadata titled;
    titled.setTitle(QStringLiteral("x"));
    const QStringList reload = {QStringLiteral("tracks 1"), QStringLiteral("reload")};
    const QStringList markers = {QStringLiteral("markers")};
    const Case cases[] = {
        {"tracks", [&] { document->replaceDataAtOffset(0, 1, 0, ClipList()); }, reload},
        {"rate", [&] { document->undoableSetSampleRate(22050); }, reload},
        {"markers", [&] { document->undoableSetAudioMarkers(nullptr); }, markers},
        {"rename", [&] { document->setName(QStringLiteral("n"), marker); }, markers},
        {"move", [&] { document->setPosition(9, marker); }, markers},
        {"tags", [&] { document->undoableSetAudioMetadata(titled); }, {QStringLiteral("metadata")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const SoundSelection before = {0.1, 0.2, 0, 1};
        const SoundSelection after = {0.3, 0.4, 0, 1};
        controller.selection = before;
        document->beginUndoGroup(QStringLiteral("Edit"));
        c.edit();
        controller.selection = after;
        document->endUndoGroup();
        EXPECT_EQ(controller.takeCalls(), c.calls);
        controller.selection = {};
        document->undoManager().undo();
        EXPECT_EQ(controller.takeCalls(), c.calls + QStringList(QStringLiteral("selection")));
        EXPECT_EQ(controller.selection, before);
        document->undoManager().redo();
        EXPECT_EQ(controller.takeCalls(), c.calls + QStringList(QStringLiteral("selection")));
        EXPECT_EQ(controller.selection, after);
        document->undoManager().undo();
        controller.takeCalls();
    }
}

TEST(DocumentUndo, RenamingAndMovingAreStepsOfTheirOwn)
{
    const auto document = documentOf({ramp(50, 0)});
    const AudioMarkerPtr marker = kit::markerAt(3, QStringLiteral("old"));
    document->addMarker(marker);
    document->setName(QStringLiteral("new"), marker);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Rename Marker"));
    document->setPosition(7, marker);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Change Marker Time"));
    document->setName(QStringLiteral("new"), marker);
    document->setPosition(7, marker);
    EXPECT_EQ(document->undoManager().count(), 3);
    document->undoManager().setIndex(1);
    EXPECT_EQ(marker->name(), QStringLiteral("old"));
    EXPECT_EQ(marker->position(), 3);
    document->undoManager().setIndex(3);
    EXPECT_EQ(marker->name(), QStringLiteral("new"));
    EXPECT_EQ(marker->position(), 7);
}

TEST(DocumentUndo, IsEditedAwayFromTheSavedStep)
{
    const auto document = documentOf({ramp(50, 0)});
    EXPECT_FALSE(document->isDocumentEdited());
    document->setNumTracks(2);
    EXPECT_TRUE(document->isDocumentEdited());
    document->undoManager().undo();
    EXPECT_FALSE(document->isDocumentEdited());
}

} // namespace
