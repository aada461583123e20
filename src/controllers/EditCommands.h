#pragma once

#include "controllers/RecentDocuments.h"
#include "controllers/SelectionModel.h"
#include "document/ClipboardClip.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace velloria
{

/// Cut, copy, paste and what else takes sound out of a document or puts it in. Each command is one undo step
/// named `actionName` (the menu item's title); all but copy(), paste() and insertSilence() do nothing when
/// the selection is empty. Main thread.
class EditCommands
{
public:
    EditCommands(SoundDocument& document, SelectionModel& selection, SoundControllerHost& host)
        : mDocument(document)
        , mSelection(selection)
        , mHost(host)
    {
    }

    void copy();
    void cut(const QString& actionName);
    bool canPaste() const;
    /// Sound of another rate is converted on the way, with progress; cancelled, what was converted until then
    /// is pasted. Fewer tracks than are selected go to the first ones, tracks beyond the last are left out;
    /// the host is told. False when there is nothing on the clipboard or the conversion fails; `error` says
    /// why.
    bool paste(const QString& actionName, MaybeError* error);
    /// At the selection's start, on its tracks; the silence is selected then.
    MaybeError insertSilence(double seconds, const QString& actionName);
    void deleteSelection(const QString& actionName);
    void clear(const QString& actionName);
    void crop(const QString& actionName);
    void undo();
    void redo();

    /// Puts a range of any document on the application clipboard, and the listing of its markers on the
    /// pasteboard.
    static void copyFrom(const SoundDocument& document, const SoundSelection& selection);
    /// What copyFrom() puts there: one line a marker in `markerListing`.
    static std::shared_ptr<ClipboardClip>
    clipWithSelection(const SoundDocument& document, const SoundSelection& selection, QString* markerListing);
    /// The sound of another file, opened once and kept for the next time; null with `error` filled.
    std::shared_ptr<SoundDocument> documentForCopyingFrom(const std::filesystem::path& path,
                                                          MaybeError* error);

    /// What is wrong with making the document longer by so much, if anything.
    MaybeError checkRoomFor(double seconds) const;
    struct ConvertedTracks {
        std::vector<AudioTrackPtr> tracks;
        /// They end where the work stood.
        bool wasCancelled = false;
    };
    /// The clip's tracks at the document's rate, with a progress face where they must be converted.
    ConvertedTracks tracksOfClip(const ClipboardClip& clip, int32_t numTracks, const QString& title,
                                 MaybeError* error);

private:
    void replaceSelection(const SoundSelection& selection, const AudioClipPtr& clip);
    std::optional<PartialResult> partialResultOf(const ConvertedTracks& pasted) const;
    void installPasted(const ClipboardClip& clip, const std::vector<AudioTrackPtr>& tracks);
    void pasteMarkers(const ClipboardClip& clip, int64_t start, int64_t end, int64_t numFrames);

    SoundDocument& mDocument;
    SelectionModel& mSelection;
    SoundControllerHost& mHost;
    RecentDocuments mRecentDocuments;
};

} // namespace velloria
