#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velloria
{

/// What a scratch file holds and for whom: written as a note beside the file, so that a later run can say
/// what was left and put the tracks of one sound together. The scratch file itself says nothing of this.
struct ScratchLabel {
    enum class Use {
        recording,   ///< a take, which exists nowhere else
        document,    ///< a whole document that could not be saved
        decoding,    ///< the samples of a compressed file, which is still there
        computation, ///< what a command computed out of other samples
    };

    Use use = Use::computation;
    /// Shared by the tracks of one sound, and by nothing else.
    QString soundID;
    int32_t numTracks = 1;
    /// Shared by all that was made for one open document.
    QString documentID;
    QString documentName;
    /// Where the document lives, or what was decoded; empty for one that was never saved. The system's bytes.
    QByteArray file;
    /// The command that computed it; empty for other uses.
    QString command;
    /// Of the document's samples, which the scratch file holds as floats; 0 when that is not known.
    int64_t sampleBits = 0;
    QDateTime made;

    /// Of sound that is made now, as a new one of that many tracks.
    ScratchLabel forNewSound(int32_t numTracks) const;

    bool operator==(const ScratchLabel&) const = default;
};

/// The label of one track of a sound, as it stands in a note.
struct ScratchTrackLabel {
    ScratchLabel label;
    int32_t track = 0;

    QByteArray toNote() const;
    /// Nothing for what is damaged, or of another kind.
    static std::optional<ScratchTrackLabel> ofNote(const QByteArray& note);
};

/// Says for whom scratch files are made on this thread, as long as it lives. Between the command that knows
/// and the clip that is made lie decoders, effects and conversions that need not know.
class ScratchLabelScope
{
public:
    /// `label` is asked only when a file is made, which most commands do not do.
    explicit ScratchLabelScope(std::function<ScratchLabel()> label);
    ~ScratchLabelScope();
    ScratchLabelScope(const ScratchLabelScope&) = delete;
    ScratchLabelScope& operator=(const ScratchLabelScope&) = delete;

    /// That of the innermost scope, for a new sound of that many tracks; null outside of every scope.
    static std::shared_ptr<const ScratchLabel> labelForNewSound(int32_t numTracks);

private:
    const std::function<ScratchLabel()> mLabel;
};

} // namespace velloria
