#pragma once

#include "controllers/SoundController.h"
#include "document/ClipboardClip.h"

#include <span>

namespace velloria
{

/// Mixes what is on the clipboard into a document at its selection. The levels are those of the sound that is
/// there and of the one that comes in. Main thread.
class MixPasteController
{
public:
    explicit MixPasteController(SoundController& controller)
        : mController(controller)
    {
    }

    /// In dB.
    double existing() const { return mExisting; }
    void setExisting(double levelDB) { mExisting = levelDB; }
    double pasteboard() const { return mPasteboard; }
    void setPasteboard(double levelDB) { mPasteboard = levelDB; }
    /// True to stay within the selection; else the whole clip is mixed in from the selection's start on.
    bool pasteInto() const { return mPasteInto; }
    void setPasteInto(bool isInto) { mPasteInto = isInto; }

    /// One step, named so. The document grows where it has too few tracks or is too short. Cancelled, what
    /// was mixed until then is there; after an error the document is as it was.
    MaybeError performMixPaste(const QString& actionName);

    /// The sum of two blocks at the given levels, as long as the longer one; empty, logged, when both are.
    FloatBuffer mixedData(std::span<const float> existing, std::span<const float> paste) const;

private:
    struct Target {
        int64_t start = 0;
        int64_t numFrames = 0;
        int32_t firstTrack = 0;
        int32_t numTracks = 0;
        /// Silence that the document needs behind its end.
        int64_t numMissingFrames = 0;
    };

    Target targetOf(const ClipboardClip& clip) const;
    std::vector<std::shared_ptr<MutableAudioClip>> mixedClips(const std::vector<AudioTrackPtr>& pasted,
                                                              const Target& target, MaybeError* error) const;
    void install(const std::vector<std::shared_ptr<MutableAudioClip>>& clips, const Target& target);

    SoundController& mController;
    double mExisting = 0.0;
    double mPasteboard = 0.0;
    bool mPasteInto = false;
};

} // namespace velloria
