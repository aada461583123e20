#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "Classes/CoreAudio/DocumentSource.h"
#include "document/clips/ComputedClip.h"
#include "document/clips/MutableAudioClip.h"
#include "document/clips/SourceWatch.h"
#include "effects/frame/EffectParameters.h"
#include "effects/frame/EffectRemark.h"
#include "effects/frame/PresetRecord.h"
#include "platform/Error.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

class ClipWriter;
class Filter;
class ReadAhead;
class SoundDocument;
class TailMixer;

/// Whom an effect tells how far it is and what it did. Main thread.
class FilterDelegate
{
public:
    virtual ~FilterDelegate() = default;
    virtual void filterDidReachProgress(Filter& filter, double progress) = 0;
    virtual bool filterShouldCancel(Filter& filter) = 0;
    virtual void filterDidFinishProgress(Filter& filter) = 0;
    /// The document was changed: the new data lies at `offset`, `length` frames long.
    virtual void filterDidInsertData(Filter& filter, int64_t offset, int64_t length, int32_t firstTrack,
                                     int32_t numTracks) = 0;
};

/// Base of every effect. It pulls a selection through the subclass's arithmetic in blocks of at most
/// maxBufferNumFrames, collects the output in one growing clip a track and then replaces the selection, as
/// one undoable edit. The document is unchanged when the effect is cancelled or fails. An effect owns its
/// parameters and their description; its dialog is made from that elsewhere. Parameters are set between two
/// blocks, never within one.
class Filter : public DataSource, public std::enable_shared_from_this<Filter>
{
public:
    ~Filter() override;

    /// Display name; a trailing "..." of a menu title is dropped.
    const QString& name() const { return mName; }
    void setName(const QString& name);

    /// Whether the effect shows a dialog before applying.
    bool hasOptionsDialog() const { return mHasOptionsDialog; }
    void setHasOptionsDialog(bool hasDialog) { mHasOptionsDialog = hasDialog; }

    EffectParameters& parameters() { return mParameters; }
    const EffectParameters& parameters() const { return mParameters; }
    double parameterValue(size_t index) const { return mParameters.value(index); }
    void setParameterValue(size_t index, double value) { mParameters.setValue(index, value); }
    void loadDefaults() { mParameters.loadSettings(); }
    void saveDefaults() const { mParameters.saveSettings(); }
    /// Takes the arguments of a scripting command.
    virtual void setParameters(const QVariantMap& arguments) { mParameters.setArguments(arguments); }
    /// Sets a parameter as a person does in the dialog, where others may follow it.
    void editParameter(size_t index, double value);

    /// How the parameters are kept in preset files; null for an effect that has no presets.
    virtual const PresetFormat* presetFormat() const { return nullptr; }
    /// Empty without presets.
    QString presetFolderName() const { return presetFormat() ? presetFormat()->folderName : QString(); }
    QByteArray presetData() const;
    /// After an error the parameters are what they were.
    MaybeError loadPresetData(const QByteArray& data);

    virtual void setSource(std::shared_ptr<DocumentSource> source);
    const std::shared_ptr<DocumentSource>& source() const { return mSource; }
    void setDelegate(FilterDelegate* delegate) { mDelegate = delegate; }
    FilterDelegate* delegate() const { return mDelegate; }

    double sampleRate() const;
    int64_t numFrames() const;
    int32_t numTracks() const;
    uint64_t maxBufferNumFrames() const { return mMaxBufferNumFrames; }
    void setMaxBufferNumFrames(uint64_t numFrames) { mMaxBufferNumFrames = numFrames; }

    /// A result that would take more bytes of scratch files is computed as it is read instead: in any order
    /// where the effect's samples hang on nothing else, else one after another (see SequentialReader), by
    /// this same effect, which must be shared then. For a document that is read once more, to be saved.
    void setMostScratchBytes(int64_t numBytes) { mMostScratchBytes = numBytes; }

    /// Whether the effect measures the whole selection before its first block.
    virtual bool needsAnalysis() const { return false; }
    /// Does that for a preview, if it was not done for this sound; apply() measures anew. The source does not
    /// loop afterwards.
    MaybeError measureForPreview();
    /// Makes the effect ready to give its first frame: resets it and drops what it gives before that.
    void begin();
    /// The same, with larger reads behind the blocks.
    void beginReadingAhead();
    /// Resets state; an override calls the base version unless its description says otherwise.
    virtual void processingWillBegin();
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    virtual void processingFinished() {}

    /// Whether the effect lowers the gain by the level of the sound, which is worth a meter.
    virtual bool lowersGain() const { return false; }
    /// The smallest gain since it was last asked for. On the thread that pulls the blocks.
    virtual float takeLowestGain() { return 1.0F; }

    /// Frames before the selection that are sent through the effect first.
    virtual int64_t latencyNumFrames() const { return 0; }
    /// Frames by which the output is late: so many are dropped at its start, and as many frames of silence
    /// follow the selection so that its last ones come out.
    virtual int64_t lagNumFrames() const { return 0; }
    /// Frames that the effect goes on sounding after its input has ended, as its parameters are now.
    virtual int64_t tailTimeNumFrames() const { return 0; }
    /// Whether it would be heard even longer; so that this is no click, the last second of it fades out.
    virtual bool isTailCut() const { return false; }
    /// Whether that is kept: it is added to what follows the selection, which does not move.
    virtual bool letsRing() const { return false; }
    /// Frames that the selection becomes, without what rings on.
    virtual int64_t outputNumFrames() const { return numFrames(); }
    /// The document's frame that the next frame of output belongs to.
    virtual int64_t heardFrame() const;

    /// What a person should know who applied the effect, with the parameters as they are now: that this sound
    /// gives it less to do than was asked. For one that needs an analysis, after that.
    virtual std::optional<EffectRemark> remark() const { return std::nullopt; }

    /// Runs the effect over its source. Nothing is answered on success and on cancellation (wasCancelled()
    /// tells); an error (a full disk, ...) leaves the document as it was. So does an effect whose remark()
    /// says that it leaves the sound.
    MaybeError apply();
    bool wasCancelled() const { return mWasCancelled; }

    static double factorWithDecibels(double decibels);
    /// x in [0, 1].
    static double blackmanWindowAtPosition(double x);

protected:
    /// Without parameters there is no dialog.
    explicit Filter(const QString& name);
    Filter(const QString& name, const std::vector<ParameterDescription>& parameters);

    /// A parameter has changed, also in a preview: what is computed from it follows. Not called for the
    /// defaults at construction.
    virtual void parameterDidChange(size_t /*index*/) {}

    /// A person changed a parameter. Not called for settings, presets and scripts.
    virtual void parameterWasEdited(size_t /*index*/) {}

    /// The steps of an analysis: the selection comes in blocks of maxBufferNumFrames, one span a track.
    virtual void analysisWillBegin() {}
    virtual void analyseBlock(std::span<const std::span<const float>> /*tracks*/) {}
    /// Not called for one that was cancelled.
    virtual void analysisDidEnd() {}

    /// Tells the delegate how far the run is; true when it asks to stop, which wasCancelled() then tells.
    bool didReachProgress(int64_t numDone, int64_t numTotal);
    void didFinishProgress();

    /// The effect's output for a track of the document, `offset` counted from the selection's start; nothing
    /// for an effect whose samples hang on those before them. `index` counts the selection's tracks.
    virtual ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const;

    /// Whether a result may be computed while it is read, on whichever thread reads it: not for one that
    /// takes longer than a save, or that gives another length.
    virtual bool isQuick() const { return true; }

    /// What an effect gives that only moves samples about: for each selected track the clips themselves, so
    /// that their integers stay what they are. Nothing for one that computes.
    virtual std::vector<ClipList> rearrangedClips() const { return {}; }
    /// The clips of the selection, one list a track; none where the selection is not wholly within the
    /// tracks.
    std::vector<ClipList> selectedClips() const;

    /// Computes the result into the writer's clips: `numInPlace` frames for the selection and `numRinging`
    /// after it. Progress goes on from `numAnalysed` frames of the same run.
    virtual MaybeError processSelection(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace,
                                        int64_t numRinging);

    std::shared_ptr<DocumentSource> mSource;

private:
    SoundDocument* document() const;
    bool addSilence(uint64_t numFrames, SampleBlock& block);
    int64_t numFramesRinging() const;
    bool leavesSound() const;
    std::unique_ptr<TailMixer> makeTailMixer(int64_t numInPlace, int64_t numRinging) const;
    /// The steps of apply() behind the analysis.
    MaybeError compute(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace, int64_t numRinging,
                       std::vector<AudioClipPtr>& clips);
    bool analyse(int64_t numTotal);
    /// The writer of the result, for as many tracks as are selected.
    std::unique_ptr<ClipWriter> makeWriter() const;

    /// Clips that compute the result when they are read, one a track, where setMostScratchBytes() asks for
    /// that; else none.
    std::vector<AudioClipPtr> computedClips();
    /// The output of each track; none where it can only be had as a whole.
    std::vector<ComputedClip::Function> outputsOfTracks(std::span<const AudioTrackPtr> tracks);

    /// The files that the selection is read from; made before the first of them is read.
    SourceWatch watchSources() const;

    /// Gives the document the clips of a selection in another order, as one undo step, and tells the
    /// delegate.
    void installRearranged(int64_t offset, int64_t length, const std::vector<ClipList>& clips);

    /// Gives the clips to the document in place of the selection, as one undo step, and tells the delegate.
    /// The last `numRinging` frames take the place of what follows.
    void replaceSelectionWithClips(int64_t offset, int64_t length, const std::vector<AudioClipPtr>& clips,
                                   int64_t numRinging);

    /// Pulls frames through requestDataWithNumFrames() in blocks of at most blockNumFrames and appends them
    /// to the writer's clips, until numDone, which counts what was asked for, reaches numTotal, the data end
    /// or the delegate asks to stop. Progress is numDone / numTotal. The source must not be looping.
    MaybeError processBlocks(ClipWriter& writer, int64_t blockNumFrames, int64_t& numDone, int64_t numTotal);

    EffectParameters mParameters;

    QString mName;
    FilterDelegate* mDelegate = nullptr;
    bool mWasCancelled = false;
    std::unique_ptr<ReadAhead> mReadAhead; ///< while a result is computed
    std::unique_ptr<TailMixer> mTailMixer; ///< while a result that rings on is computed
    int64_t mNumSilentToCome = 0;          ///< frames of silence that are still to follow the selection
    int64_t mNumSilentGiven = 0;
    size_t mNumTracksRead = 0; ///< tracks of the selection that are there
    TrackList mMeasuredTracks; ///< what measureForPreview() measured
    bool mHasOptionsDialog = false;
    int64_t mMostScratchBytes = INT64_MAX;
    uint64_t mMaxBufferNumFrames = 2048;
};

} // namespace velloria
