#pragma once

#include "document/DocumentController.h"
#include "document/MarkerEdit.h"
#include "document/OpenedSound.h"
#include "document/clips/FrameSource.h"
#include "document/clips/ScratchLabel.h"
#include "document/clips/SoundSelection.h"
#include "formats/file/AudioFile.h"
#include "platform/Alerts.h"
#include "platform/Progress.h"

#include <QSet>
#include <QUndoStack>
#include <atomic>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace velloria
{

class DecodingWatcher;
class DocumentRecording;
class DocumentStep;
class DocumentTransport;
class LeftOverFile;
class SourceWatch;
struct DecodingStart;

enum class SaveOperation { save, saveAs, saveTo };

/// Preference: whether packets of an opened file are copied where they can be (as when it was never set), or
/// all sound is encoded.
inline const QString copyPacketsKey = QStringLiteral("file.copyPackets");

/// What a save writes and how; see SoundDocument::writeToPath.
struct SaveRequest {
    std::filesystem::path path;
    /// Identifier of a type that can be written.
    QString uti;
    SaveOperation operation = SaveOperation::save;
    /// The format option chosen (bits or bit rate). 0 for none: what the document was opened with or saved
    /// with last, where the type can hold it.
    int optionTag = 0;
    /// When set, only this selection is written, without markers.
    std::optional<SoundSelection> selection;
    /// The selection is cut out between markers; that it has none goes without saying.
    bool isBetweenMarkers = false;
    /// How much of an opened file's packets is copied; what the preference says where it is not set.
    std::optional<SeamMode> seams;
    /// When set, written in place of the document's tags.
    std::optional<AudioMetadata> metadata;
    /// Writes what can still be read where files were changed or cut by others, silence in place of the rest,
    /// instead of failing. saveWarnings() tells.
    bool takesWhatIsLeft = false;
    /// Called when the new file is complete and on the disk, just before it takes its place: the last moment
    /// to say what it lacks while nothing is lost yet. Not called by a save that failed until then.
    std::function<void()> willReplace;
};

/// One open sound: tracks, markers, tags, format settings and the undo history of all changes to them. An
/// edit builds a new track list or marker list and installs it through an undoable setter; nothing is changed
/// in place. All editing is on the main thread; the installed lists may be read on any thread.
class SoundDocument : public FrameSource
{
public:
    /// A new document: rate and size from the preferences, two empty tracks, no history.
    SoundDocument();
    ~SoundDocument() override;
    SoundDocument(const SoundDocument&) = delete;
    SoundDocument& operator=(const SoundDocument&) = delete;

    /// Opens a file, on any thread. Null with `error` in words for a person. `typeName` may be empty: then
    /// extension and header decide.
    static std::shared_ptr<SoundDocument> readFromPath(const std::filesystem::path& path,
                                                       const QString& typeName, Progress& progress,
                                                       MaybeError* error, DecodingWatcher* watcher = nullptr);
    /// What a file that is still being decoded shows: its tracks at their full length, the sound as far as it
    /// is there. To be looked at only; the document that readFromPath() gives takes its place. Main thread.
    static std::shared_ptr<SoundDocument> whileDecoding(const std::filesystem::path& path,
                                                        const DecodingStart& start);

    /// Markers that a document can hold. Commands that would add beyond it refuse: a script that copies and
    /// pastes everything over and over doubles its markers each time.
    static constexpr int64_t maximumNumberOfMarkers = 1'000'000;

    // What is shown.
    int64_t numberOfFrames() const override { return mNumberOfFrames.load(std::memory_order_relaxed); }
    double sampleRate() const override { return mSampleRate.load(std::memory_order_relaxed); }
    TrackList audioTracks() const override;
    /// Never null. Main thread.
    const MarkerList& audioMarkers() const { return mMarkers.list(); }
    /// Sorted by position. Never null. Main thread.
    const MarkerList& orderedMarkers() const { return mMarkers.ordered(); }
    /// The same, where one of many is looked for. Main thread.
    const InstalledMarkers& markers() const { return mMarkers; }
    const AudioMetadata& audioMetadata() const { return mAudioMetadata; }
    int64_t sampleSize() const { return mSampleSize; }
    int64_t bitRate() const { return mBitRate; }
    FourCharCode audioDataFormat() const { return mAudioDataFormat; }
    const std::shared_ptr<AudioFile>& audioFile() const { return mAudioFile; }
    /// Where the document lives; empty for one that was never saved.
    const std::filesystem::path& filePath() const { return mFilePath; }
    /// Identifier of the type that a plain save writes; empty for a document that was never saved.
    const QString& fileType() const { return mFileTypeUTI; }
    /// The file's name; else the title, or "Untitled".
    QString displayName() const;
    /// For a document that was never saved.
    void setTitle(const QString& title) { mTitle = title; }
    /// Sentences about damage found while opening.
    const QStringList& openWarnings() const { return mOpenWarnings; }
    ClipList clipsAtOffset(int64_t offset, int64_t length, int32_t track) const;
    /// (min, max) pairs for drawing, one a column of `stride` seconds; nothing for a track that is not there.
    FloatBuffer minMaxDataFrom(double startTime, double endTime, double stride, int32_t track) const;

    // Sound that an earlier run left, in whose files this document's sound lies.
    /// It is unsaved from now on. The files stay until somebody answered for them.
    void setLeftOvers(std::vector<std::shared_ptr<LeftOverFile>> files);
    /// The person does not want them. A save answers by itself.
    void discardLeftOvers();
    /// Whether those files hold all that the document holds.
    bool isAsRecovered() const { return !mLeftOvers.empty() && mUndoStack.index() == 0; }
    /// For scratch files that are made for this document.
    ScratchLabel scratchLabel(ScratchLabel::Use use) const;

    // Controllers.
    void addController(DocumentController* controller);
    void removeController(DocumentController* controller);
    const std::vector<DocumentController*>& controllers() const { return mControllers; }

    // Undo. Every undoable change made between beginUndoGroup and endUndoGroup is one step; groups nest. A
    // group without a change leaves no step. Outside a group every setter is a step of its own. See also
    // UndoGroup.
    QUndoStack& undoManager() { return mUndoStack; }
    /// The outermost group that has a name gives the step its name.
    void beginUndoGroup(const QString& actionName);
    /// Renames the open group; without one, names the last step if it has no name yet.
    void setUndoActionName(const QString& actionName);
    /// The selection after the step is asked for here: select before the group ends.
    void endUndoGroup();
    bool isInUndoGroup() const { return mGroupDepth > 0; }
    bool isDocumentEdited() const { return !mUndoStack.isClean(); }

    // Undoable setters. While something is recorded the tracks and the rate stay as they are.
    void undoableSetAudioTracks(TrackList tracks);
    void undoableSetAudioMarkers(MarkerList markers);
    void undoableSetAudioMetadata(const AudioMetadata& metadata);
    void undoableSetSampleRate(double sampleRate);
    /// Bits a sample that a plain save writes.
    void undoableSetSampleSize(int64_t sampleSize);
    /// Installs what became of the present list; costs the history less than a whole new list does.
    void undoableEditAudioMarkers(MarkerEdit edit);

    // Editing; frames and track indexes.
    void replaceDataAtOffset(int64_t offset, int64_t length, int32_t track, const ClipList& clips);
    void replaceDataAndMarkersAtOffset(int64_t offset, int64_t length, int32_t track,
                                       const AudioClipPtr& clip);
    void scaleMarkersAtOffset(int64_t offset, int64_t length, int64_t newLength);
    /// Seconds.
    void cropFrom(double startTime, double endTime, int32_t firstTrack, int32_t numTracks);
    void setNumTracks(int32_t numTracks);
    void insertInTracks(const AudioTrackPtr& track, int32_t index);
    void insertInTracks(const AudioTrackPtr& track);
    void removeFromTracksAtIndex(int32_t index);
    void constrainSelection(SoundSelection& selection) const;
    void addMarker(const AudioMarkerPtr& marker);
    /// All as one step.
    void addMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName);
    void removeAudioMarker(const AudioMarkerPtr& marker);
    void removeAudioMarkers(const std::vector<AudioMarkerPtr>& markers, const QString& actionName);
    /// Renames or moves the marker itself, with an undo step when that changes something.
    void setName(const QString& name, const AudioMarkerPtr& marker);
    void setPosition(int64_t position, const AudioMarkerPtr& marker);

    // Conversions, with the progress of a face that can cancel: what was done until then is installed. After
    // an error (a full disk) the document is as it was.
    /// Nothing when there is one track already.
    MaybeError mixdownToMono(Progress& progress);
    MaybeError mixdownToStereo(Progress& progress);
    /// The present sound in `totalTime` seconds at another rate; markers stay with the sound. A result that
    /// would take more bytes of scratch files than `mostScratchBytes` is converted as it is read.
    MaybeError resampleTo(double newRate, double totalTime, Progress& progress,
                          int64_t mostScratchBytes = INT64_MAX);

    void updateTrackPanning();
    static double defaultPanForTrackIndex(int32_t index);
    void recalculateNumFrames();
    void reload();

    /// Plays it.
    DocumentTransport& transport() { return *mTransport; }
    const DocumentTransport& transport() const { return *mTransport; }
    /// Records into it.
    DocumentRecording& recording() { return *mRecording; }
    const DocumentRecording& recording() const { return *mRecording; }

    // Saving.
    /// What writing so would lose, one sentence each: chunks, tags, markers or artwork that the format does
    /// not carry, precision, channels, hard links. Empty when nothing is lost.
    QStringList lossesWhenSaving(const SaveRequest& request) const;
    /// The options of the request's type, with that one chosen which the document was opened with or saved
    /// with last.
    FileOptions fileOptions(const SaveRequest& request) const;
    /// Bytes, for the save panel; -1 when unknown.
    double estimatedFileSize(const SaveRequest& request) const;
    /// Why nothing would be written at all: too many channels for the type, a file that the sound is read
    /// from was changed by another program since it was opened (Error::Code::sourceChanged), or the save
    /// would lose another stream of the document's own file, or overwrite such a change of it
    /// (targetChanged). A saveAs may do the latter, its path having been chosen on purpose.
    MaybeError refusalToSave(const SaveRequest& request) const;
    /// Writes beside the target, then renames over it. After success of anything but saveTo the document
    /// lives at the path, is clean, and its writer is its file. On failure the target and the document are
    /// unchanged. It fails, too, when the files that it reads change before it has read them all.
    MaybeError writeToPath(const SaveRequest& request, Progress& progress);
    /// Sentences about what the last save could not do although it went well.
    const QStringList& saveWarnings() const { return mSaveWarnings; }

private:
    friend class DocumentStep;
    struct ForLoading {
    };
    /// Without tracks, and without a look at the preferences, which are the main thread's.
    explicit SoundDocument(ForLoading);

    bool finishLoadingFileWithAudioClips(const std::vector<AudioClipPtr>& clips);
    void storeTracks(TrackList tracks);
    void undoableSpliceAudioMarkers(int64_t first, int64_t count, std::span<const AudioMarkerPtr> others);
    void tellMarkersDidChange() const;
    void tellMetadataDidChange() const;

    bool hasMarkerWithin(const SoundSelection& selection) const;
    std::shared_ptr<AudioFile> configuredWriter(const SaveRequest& request) const;
    int optionTagFor(const SaveRequest& request) const;
    static SeamMode seamMode(const SaveRequest& request);
    void offerPackets(AudioFile& writer, const SaveRequest& request) const;
    SoundPieces untouchedPieces(const SaveRequest& request) const;
    SourceWatch watchSources(const AudioFile& writer, const SaveRequest& request) const;
    /// What another program did to the document's own file, where the request would overwrite it.
    std::optional<QString> changeOfOwnFile(const SaveRequest& request) const;
    MaybeError writeWithWriter(const std::shared_ptr<AudioFile>& writer, const SaveRequest& request,
                               Progress& progress);
    // What shows only when computed clips are read: why the file that was written is no good, and what it
    // lost.
    MaybeError errorWhileComputing() const;
    QString lossesWhileComputing(const AudioFile& writer) const;
    QString lossOfChangedSource(const AudioFile& writer) const;
    void adoptWriter(const std::shared_ptr<AudioFile>& writer, const SaveRequest& request);

    std::atomic<int64_t> mNumberOfFrames = 0;
    int64_t mSampleSize = 16;
    std::atomic<double> mSampleRate = 44100.0;
    int64_t mBitRate = 0;
    FourCharCode mAudioDataFormat = 0;
    /// Written on the main thread under the lock; other threads copy it under the lock.
    TrackList mAudioTracks;
    mutable std::mutex mTracksMutex;
    InstalledMarkers mMarkers;
    AudioMetadata mAudioMetadata;
    std::shared_ptr<AudioFile> mAudioFile;
    OpenedSound mOpenedSound;
    std::filesystem::path mFilePath;
    QString mFileTypeUTI;
    QString mTitle;
    const QString mScratchID;
    std::vector<std::shared_ptr<LeftOverFile>> mLeftOvers;
    /// The option that a file of mFileTypeUTI was saved with last; 0 for none since it was opened.
    int mFileOptionTag = 0;
    QStringList mOpenWarnings;
    QStringList mSaveWarnings;
    std::vector<DocumentController*> mControllers;
    QUndoStack mUndoStack;
    std::unique_ptr<DocumentStep> mOpenStep;
    std::optional<ScratchLabelScope> mScratchScope;
    int mGroupDepth = 0;
    QSet<QString> mActionNames;
    std::unique_ptr<DocumentRecording> mRecording;
    // Last: it reads the tracks until it is gone.
    std::unique_ptr<DocumentTransport> mTransport;
};

} // namespace velloria
