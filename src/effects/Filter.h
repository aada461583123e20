#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "Classes/CoreAudio/DocumentSource.h"
#include "document/clips/ComputedClip.h"
#include "document/clips/MutableAudioClip.h"
#include "document/clips/SourceWatch.h"
#include "effects/ParameterDescription.h"
#include "platform/Error.h"

#include <QVariantMap>
#include <memory>
#include <vector>

namespace velloria
{

class ClipWriter;
class Filter;
class ReadAhead;
class SoundDocument;

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
/// parameters and their description; its dialog is made from that elsewhere.
class Filter : public DataSource
{
public:
    ~Filter() override;

    /// Display name; a trailing "..." of a menu title is dropped.
    const QString& name() const { return mName; }
    void setName(const QString& name);

    /// Whether the effect shows a dialog before applying.
    bool hasOptionsDialog() const { return mHasOptionsDialog; }
    void setHasOptionsDialog(bool hasDialog) { mHasOptionsDialog = hasDialog; }

    virtual const std::vector<ParameterDescription>& parameters() const;
    double parameterValue(size_t index) const;
    virtual void setParameterValue(size_t index, double value);
    /// Takes the values kept in the user defaults; absent keys leave the default.
    void loadDefaults();
    void saveDefaults() const;
    /// Takes the arguments of a scripting command; absent keys give the script default.
    virtual void setParameters(const QVariantMap& arguments);

    virtual void setSource(std::shared_ptr<DocumentSource> source);
    const std::shared_ptr<DocumentSource>& source() const { return mSource; }
    void setDelegate(FilterDelegate* delegate) { mDelegate = delegate; }
    FilterDelegate* delegate() const { return mDelegate; }

    double sampleRate() const;
    int64_t numFrames() const;
    int32_t numTracks() const;
    uint64_t maxBufferNumFrames() const { return mMaxBufferNumFrames; }
    void setMaxBufferNumFrames(uint64_t numFrames) { mMaxBufferNumFrames = numFrames; }

    /// A result that would take more bytes of scratch files, and whose samples can be computed in any order,
    /// is computed each time it is read instead. For a document that is read once more, to be saved.
    void setMostScratchBytes(int64_t numBytes) { mMostScratchBytes = numBytes; }

    /// Resets state; an override calls the base version unless its description says otherwise.
    virtual void processingWillBegin();
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    virtual void processingFinished() {}
    /// The source was moved back by so many frames, which are asked for again: who counts frames counts back.
    virtual void sourceDidMoveBack(int64_t /*numFrames*/) {}
    /// Frames of look-ahead.
    virtual int64_t latencyNumFrames() const { return 0; }
    virtual int64_t tailTimeNumFrames() const { return 0; }

    /// Runs the effect over its source. Nothing is answered on success and on cancellation (wasCancelled()
    /// tells); an error (a full disk, ...) leaves the document as it was.
    virtual MaybeError apply();
    bool wasCancelled() const { return mWasCancelled; }

    static double factorWithDecibels(double decibels);
    /// x in [0, 1].
    static double blackmanWindowAtPosition(double x);

protected:
    /// Without parameters there is no dialog.
    explicit Filter(const QString& name, bool hasOptionsDialog = false);

    /// Gives every parameter its dialog default; called by the constructors of effects that have some.
    void resetParameters();

    /// Tells the delegate how far the run is; true when it asks to stop, which wasCancelled() then tells.
    bool didReachProgress(int64_t numDone, int64_t numTotal);
    void didFinishProgress();

    /// The effect's output for a track of the document, `offset` counted from the selection's start; nothing
    /// for an effect whose samples hang on those before them. `index` counts the selection's tracks.
    virtual ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const;

    /// The writer of the result, for as many tracks as are selected.
    std::unique_ptr<ClipWriter> makeWriter() const;

    /// Clips that compute the result when they are read, one a track, where setMostScratchBytes() asks for
    /// that; else none.
    std::vector<AudioClipPtr> computedClips() const;

    /// The files that the selection is read from; made before the first of them is read.
    SourceWatch watchSources() const;

    /// Gives the clips to the document in place of the selection, as one undo step, and tells the delegate.
    void replaceSelectionWithClips(int64_t offset, int64_t length, const std::vector<AudioClipPtr>& clips);

    /// Pulls frames through requestDataWithNumFrames() in blocks of at most blockNumFrames and appends them
    /// to the writer's clips, until numDone, which counts what was asked for, reaches numTotal, the data end
    /// or the delegate asks to stop. Progress is numDone / numTotal. The source must not be looping.
    MaybeError processBlocks(ClipWriter& writer, int64_t blockNumFrames, int64_t& numDone, int64_t numTotal);

    std::shared_ptr<DocumentSource> mSource;
    FilterDelegate* mDelegate = nullptr;
    bool mWasCancelled = false;
    std::vector<double> mParameterValues;

private:
    SoundDocument* document() const;

    QString mName;
    std::unique_ptr<ReadAhead> mReadAhead; ///< while processBlocks() runs
    bool mHasOptionsDialog = false;
    int64_t mMostScratchBytes = INT64_MAX;
    uint64_t mMaxBufferNumFrames = 2048;
};

} // namespace velloria
