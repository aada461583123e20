#include "controllers/ArrayModel.h"
#include "controllers/ControllerKit.h"
#include "controllers/ConversionCommands.h"
#include "controllers/EditCommands.h"
#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "document/clips/MemorySource.h"
#include "platform/ScratchFolder.h"

#include <random>

namespace velloria
{

namespace
{

using kit::ArrayModel;

constexpr int64_t kTooShort = 200;
constexpr int64_t kLongEnough = 6000;

/// Frames that tell where they came from, with silence in the middle, all of them 16-bit integers.
FloatBuffer speechAround(size_t numFrames, int first)
{
    FloatBuffer samples(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        if (i < numFrames / 3 || i >= numFrames * 2 / 3)
            samples[i] = static_cast<float>(first + static_cast<int>(i)) / 32768.0F;
    return samples;
}

/// The same as a track that reads a file in place, then is silent, then reads a scratch file.
AudioTrackPtr trackOfAllKinds(const FloatBuffer& samples)
{
    const size_t third = samples.size() / 3;
    const size_t rest = samples.size() * 2 / 3;
    std::vector<int16_t> integers;
    for (size_t i = 0; i < third; ++i)
        integers.push_back(static_cast<int16_t>(samples[i] * 32768.0F));
    const auto track = AudioTrack::track();
    track->addClip(std::make_shared<AudioClip>(MemorySource::of(integers, 1), 0, std::ssize(integers), 0));
    track->addClip(std::make_shared<AudioClip>(static_cast<int64_t>(rest - third)));
    track->addClip(
        kit::clipOf(FloatBuffer(samples.begin() + static_cast<std::ptrdiff_t>(rest), samples.end())));
    return track;
}

/// Does the same to a document and to arrays, and compares them after every step.
class Twins
{
public:
    Twins(const kit::TrackSamples& samples, unsigned seed)
        : mWindow(samples)
        , mModel(samples)
        , mGenerator(seed)
    {
        AudioClipboard::clipboard().setContents(nullptr);
        std::vector<AudioTrackPtr> tracks;
        for (const FloatBuffer& track : samples)
            tracks.push_back(trackOfAllKinds(track));
        mWindow.document->undoableSetAudioTracks(
            std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
        mWindow.document->undoManager().clear();
        mWindow.controller.selection().selectAll();
        mModel.selection.end = mModel.numFrames();
    }

    void step()
    {
        if (mModel.numFrames() < kTooShort)
            return undo();
        switch (mModel.numFrames() > kLongEnough ? randomNumber(6, 8) : randomNumber(0, 22)) {
        case 6:
            mWindow.controller.editing().deleteSelection({});
            return mModel.deleteSelection();
        case 7:
            mWindow.controller.editing().cut({});
            return mModel.cut();
        case 8:
            return crop();
        case 9:
        case 10:
            return copy();
        case 11:
        case 12:
            return paste();
        case 13:
            mWindow.controller.editing().clear({});
            return mModel.clear();
        case 14:
            return changeMarkers();
        case 15:
        case 16:
            return undo();
        case 17:
            mWindow.controller.editing().redo();
            return mModel.redo();
        case 18:
            return insertSilence();
        case 19:
            return changeTracks();
        case 20:
            return changeFormat();
        case 21:
            return mixdown();
        default:
            return select();
        }
    }

    /// What steps besides those that compute sound may not do: write samples.
    void setComputesNothing() { mComputesNothing = true; }

    /// All the way back and forward again, comparing at every step.
    void auditHistory()
    {
        const int numSteps = mWindow.document->undoManager().index();
        for (int i = 0; i < numSteps; ++i) {
            undo();
            ASSERT_NO_FATAL_FAILURE(expectEqual()) << "back by " << i + 1;
        }
        ASSERT_FALSE(mWindow.document->undoManager().canUndo());
        const int numForward = mWindow.document->undoManager().count();
        for (int i = 0; i < numForward; ++i) {
            mWindow.controller.editing().redo();
            mModel.redo();
            ASSERT_NO_FATAL_FAILURE(expectEqual()) << "forward by " << i + 1;
        }
    }

    void expectEqual()
    {
        ASSERT_EQ(kit::samplesOf(*mWindow.document), mModel.content.tracks);
        std::vector<ArrayModel::Marker> markers;
        for (const AudioMarkerPtr& marker : *mWindow.document->audioMarkers())
            markers.push_back({marker->position(), marker->name()});
        ASSERT_EQ(markers, mModel.content.markers);
        ASSERT_EQ(mWindow.document->audioMetadata().title(), mModel.content.title);
        ASSERT_EQ(mWindow.document->sampleRate(), mModel.content.sampleRate);
        const SoundSelection selection = mWindow.controller.selection().normalizedSelection();
        const auto [start, end] = mWindow.selectedFrames();
        const ArrayModel::Selection selected = {start, end, selection.firstTrack, selection.numTracks};
        ASSERT_EQ(selected, mModel.selection);
    }

private:
    int64_t randomNumber(int64_t first, int64_t last)
    {
        return std::uniform_int_distribution<int64_t>(first, last)(mGenerator);
    }

    void select()
    {
        ArrayModel::Selection& selection = mModel.selection;
        selection.start = randomNumber(0, mModel.numFrames());
        selection.end =
            std::min(mModel.numFrames(), selection.start + randomNumber(0, 1) * randomNumber(0, 800));
        selection.firstTrack = static_cast<int32_t>(randomNumber(0, mModel.numTracks() - 1));
        if (randomNumber(0, 1) == 0)
            selection.firstTrack = 0;
        selection.numTracks =
            static_cast<int32_t>(randomNumber(1, mModel.numTracks() - selection.firstTrack));
        mWindow.select(selection.start, selection.end, selection.firstTrack, selection.numTracks);
    }

    void undo()
    {
        mWindow.controller.editing().undo();
        mModel.undo();
    }

    void copy()
    {
        // Markers at one place, copied and pasted there, would double each time.
        if (mModel.selection.start == mModel.selection.end && mModel.content.markers.size() > 20)
            return select();
        mWindow.controller.editing().copy();
        mModel.copy();
    }

    void paste()
    {
        // Sound of another rate would be converted, which arrays cannot.
        const auto& clip = AudioClipboard::clipboard().contents();
        if (clip && clip->sampleRate() != mModel.content.sampleRate)
            return copy();
        mWindow.controller.editing().paste({}, nullptr);
        mModel.paste();
    }

    void insertSilence()
    {
        const int64_t numFrames = randomNumber(0, 300);
        EXPECT_FALSE(mWindow.controller.editing().insertSilence(
            static_cast<double>(numFrames) / mModel.content.sampleRate, {}));
        if (numFrames > 0)
            mModel.insertSilence(numFrames);
    }

    void changeTracks()
    {
        if (mModel.numTracks() < 4) {
            mWindow.controller.conversions().addTrack({});
            return mModel.addTrack();
        }
        mWindow.controller.conversions().removeSelectedTracks({});
        mModel.removeSelectedTracks();
    }

    void changeFormat()
    {
        if (randomNumber(0, 1) == 0) {
            const double rate = randomNumber(0, 1) == 0 ? 44'100 : 8000;
            EXPECT_FALSE(mWindow.controller.conversions().setProperties(rate, 16, {}));
            return mModel.setSampleRate(rate);
        }
        AudioMetadata metadata = mWindow.document->audioMetadata();
        const QString title = QString::number(randomNumber(0, 9));
        metadata.setTitle(title);
        mWindow.document->undoableSetAudioMetadata(metadata);
        mModel.setTitle(title);
    }

    void mixdown()
    {
        if (mComputesNothing || randomNumber(0, 9) != 0)
            return select();
        EXPECT_FALSE(mWindow.controller.conversions().mixdown(1, {}));
        mModel.mixdownToMono();
    }

    void crop()
    {
        // Rarely, for little is left of the tracks.
        if (randomNumber(0, 9) != 0)
            return select();
        mWindow.controller.editing().crop({});
        mModel.crop();
    }

    void changeMarkers()
    {
        const int64_t position = randomNumber(0, mModel.numFrames());
        const QString name = QString::number(randomNumber(0, 99));
        const auto& markers = *mWindow.document->audioMarkers();
        const int64_t choice = markers.empty() ? 0 : randomNumber(0, 12);
        if (choice == 12) {
            mWindow.controller.markers().deleteAllMarkers({});
            return mModel.deleteAllMarkers();
        }
        if (choice <= 5) {
            mWindow.document->addMarker(kit::markerAt(position, name));
            return mModel.addMarker(position, name);
        }
        const auto index = static_cast<size_t>(randomNumber(0, std::ssize(markers) - 1));
        if (choice <= 8) {
            mWindow.document->setPosition(position, markers[index]);
            return mModel.moveMarker(index, position);
        }
        mWindow.document->setName(name, markers[index]);
        mModel.renameMarker(index, name);
    }

    kit::Window mWindow;
    ArrayModel mModel;
    std::mt19937 mGenerator;
    bool mComputesNothing = false;
};

/// Bytes of all scratch files.
uint64_t scratchBytes()
{
    uint64_t numBytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(ScratchFolder::path()))
        if (entry.is_regular_file())
            numBytes += entry.file_size();
    return numBytes;
}

} // namespace

class EditCommandsModelTest : public testing::TestWithParam<unsigned>
{
};

TEST_P(EditCommandsModelTest, AnySequenceOfCommandsGivesWhatArraysGive)
{
    Twins twins({speechAround(2000, 1), speechAround(2000, 10'000), speechAround(700, 20'000)}, GetParam());
    for (int i = 0; i < 2500; ++i) {
        SCOPED_TRACE(testing::Message() << "step " << i);
        twins.step();
        ASSERT_NO_FATAL_FAILURE(twins.expectEqual());
    }
    ASSERT_NO_FATAL_FAILURE(twins.auditHistory());
}

TEST(EditCommandsModel, EditsCopyNoSample)
{
    Twins twins({speechAround(2000, 1), speechAround(2000, 10'000)}, 5);
    twins.setComputesNothing();
    const uint64_t before = scratchBytes();
    EXPECT_GT(before, 2U * 666 * sizeof(float));
    for (int i = 0; i < 3000; ++i)
        twins.step();
    ASSERT_NO_FATAL_FAILURE(twins.expectEqual());
    EXPECT_EQ(scratchBytes(), before);
}

INSTANTIATE_TEST_SUITE_P(Seeds, EditCommandsModelTest, testing::Values(1, 2, 3, 4));

} // namespace velloria
