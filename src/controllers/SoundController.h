#pragma once

#include "controllers/SoundControllerHost.h"
#include "document/SoundDocument.h"

#include <memory>

namespace velloria
{

class ConversionCommands;
class DisplayController;
class EditCommands;
class EffectController;
class MarkerCommands;
class RecordingController;
class SelectionModel;
class TransportController;

/// The face of one document's window without the window: an object for each concern, over one selection and
/// one cue. Every command is one undo step. Tells them, and the host, what happens to the document. Main
/// thread.
class SoundController final : private DocumentController
{
public:
    SoundController(std::shared_ptr<SoundDocument> document, SoundControllerHost& host);
    ~SoundController() override;
    SoundController(const SoundController&) = delete;
    SoundController& operator=(const SoundController&) = delete;

    SoundDocument& document() const { return *mDocument; }
    const std::shared_ptr<SoundDocument>& sharedDocument() const { return mDocument; }
    SoundControllerHost& host() const { return mHost; }

    SelectionModel& selection() const { return *mSelection; }
    DisplayController& display() const { return *mDisplay; }
    TransportController& transport() const { return *mTransport; }
    RecordingController& recording() const { return *mRecording; }
    MarkerCommands& markers() const { return *mMarkers; }
    EditCommands& editing() const { return *mEditing; }
    ConversionCommands& conversions() const { return *mConversions; }
    EffectController& effects() const { return *mEffects; }

    /// What is computed from now on and would take more bytes of scratch files is computed as it is saved,
    /// where its samples can be had in any order.
    void setMostScratchBytes(int64_t numBytes);

    /// Says what writing so would lose and asks whether to go on; then writes, with a progress face. The
    /// error of a refusal isUserCancelled().
    MaybeError save(const SaveRequest& request);

private:
    void setNumTracks(int32_t numTracks) override;
    void reload() override;
    void markersDidChange() override;
    std::optional<SoundSelection> selectionForUndo() const override;
    void restoreSelection(const SoundSelection& selection) override;
    void transportDidChange() override;
    void playbackDidStop() override;
    void recordingDidStop() override;

    std::shared_ptr<SoundDocument> mDocument;
    SoundControllerHost& mHost;
    // Each knows only those before it.
    std::unique_ptr<SelectionModel> mSelection;
    std::unique_ptr<DisplayController> mDisplay;
    std::unique_ptr<TransportController> mTransport;
    std::unique_ptr<RecordingController> mRecording;
    std::unique_ptr<MarkerCommands> mMarkers;
    std::unique_ptr<EditCommands> mEditing;
    std::unique_ptr<ConversionCommands> mConversions;
    std::unique_ptr<EffectController> mEffects;
};

} // namespace velloria
