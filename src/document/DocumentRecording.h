#pragma once

#include "Classes/CoreAudio/VLRTAudioRecorder.h"
#include "document/clips/AudioMarker.h"
#include "document/clips/MutableAudioClip.h"

#include <functional>
#include <optional>

namespace velloria
{

class SoundDocument;

/// Records into a document: from idle over recording and stopping back to idle. What comes in is appended to
/// growing clips that stand in the document's tracks from the start, so a take is on disk as it comes and
/// stays whatever ends it. While it records the tracks must not be edited otherwise. Main thread.
class DocumentRecording final : public VLRTAudioRecordingDelegate
{
public:
    explicit DocumentRecording(SoundDocument& document);
    /// Stops.
    ~DocumentRecording();
    DocumentRecording(const DocumentRecording&) = delete;
    DocumentRecording& operator=(const DocumentRecording&) = delete;

    /// Stops what plays or records, then records in place of a range of time. With three or more tracks a
    /// pair of them is recorded, the first of it even; else the first one or two. Each block goes to the
    /// delegate, if there is one, which hands on what is to be kept; else to the document. An error leaves
    /// the document as it was.
    MaybeError recordFrom(double startTime, double endTime, int32_t track,
                          VLRTAudioRecordingDelegate* delegate = nullptr);
    /// Of what still comes of the present take only that is kept which `sieve` hands on.
    using Keeper = std::function<bool(const FloatBuffer& left, const FloatBuffer& right)>;
    using Sieve = std::function<bool(const FloatBuffer& left, const FloatBuffer& right, const Keeper& keep)>;
    void setSieve(Sieve sieve) { mSieve = std::move(sieve); }
    /// Starts a recorder that stands still anew; the take goes on.
    MaybeError resume();
    /// Does not wait.
    void stop();
    /// What was recorded last stays in its scratch files when the document goes away, for the next start to
    /// offer.
    void leaveBehind();
    /// From recordFrom() until everything that was recorded is in the document.
    bool isInProgress() const { return mRecorder != nullptr; }
    /// Whether the device runs.
    bool isRecording() const { return mRecorder && mRecorder->isRunning(); }

    /// Null when nothing is being recorded.
    VLRTAudioRecorder* audioRecording() const { return mRecorder.get(); }
    /// Those being filled or, after the end, that were filled last: left, then right if there is one.
    const std::vector<std::shared_ptr<MutableAudioClip>>& audioRecordingClips() const { return mClips; }
    const std::optional<std::vector<AudioMarkerPtr>>& audioRecordingSavedMarkers() const { return mSaved; }
    /// Of the take so far.
    int64_t numRecordedFrames() const { return mClips.empty() ? 0 : mClips.front()->numFrames(); }
    /// Document frame behind the take.
    int64_t endFrame() const;

    /// In words for a person, why the last recording ended though nobody asked for it: the disk is full, the
    /// device went away. What was recorded until then is kept.
    const MaybeError& endError() const { return mEndError; }
    /// In words for a person, that the last recording misses what nobody took from the device in time; else
    /// empty.
    QString lossMessage() const;

    // VLRTAudioRecordingDelegate, also for a delegate that hands on.
    bool audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                        const FloatBuffer& rightData) override;
    void audioRecordingDidStop(VLRTAudioRecorder& recorder) override;

private:
    void installClips(int64_t start, int64_t end, int32_t track);
    void saveMarkers(int64_t start, int64_t end);
    void restoreMarkers();
    bool append(const FloatBuffer& leftData, const FloatBuffer& rightData);

    SoundDocument& mDocument;
    std::vector<std::shared_ptr<MutableAudioClip>> mClips;
    std::optional<std::vector<AudioMarkerPtr>> mSaved;
    Sieve mSieve;
    MaybeError mEndError;
    uint64_t mNumLostBlocks = 0; ///< of the last recording
    std::unique_ptr<VLRTAudioRecorder> mRecorder;
};

} // namespace velloria
