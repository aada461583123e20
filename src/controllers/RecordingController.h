#pragma once

#include "controllers/InputLevelsController.h"
#include "controllers/SelectionModel.h"

namespace velloria
{

class TransportController;
class VLRTAudioRecordingDelegate;

/// Records into a document. The input meters run meanwhile, and the cue rides the end of the take; what fails
/// the host is told. TransportController::stopAudio() ends a recording. Main thread.
class RecordingController
{
public:
    RecordingController(SoundDocument& document, SelectionModel& selection, TransportController& transport,
                        SoundControllerHost& host);

    bool isRecording() const;
    /// Begins one, or goes on with one whose device stands still.
    void record();
    void recordOrStop();
    /// In place of the selection, on the pair of tracks that it begins in.
    void beginRecording();
    /// Appends to the first tracks; each block goes to the delegate, if there is one.
    MaybeError recordAtEnd(VLRTAudioRecordingDelegate* delegate);
    /// The preference; whether the waveform is drawn as it comes.
    static bool updatesWaveformDuringRecording();

    /// All that was recorded is in the document.
    void recordingDidStop();

private:
    MaybeError startRecorder(const SoundSelection& range, VLRTAudioRecordingDelegate* delegate);
    void recordingDidTick(double timeBefore);

    SoundDocument& mDocument;
    SelectionModel& mSelection;
    TransportController& mTransport;
    SoundControllerHost& mHost;
    InputLevelsController::MeterUse mMeters; ///< while it records
};

} // namespace velloria
