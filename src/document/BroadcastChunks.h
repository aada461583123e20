#pragma once

#include "document/clips/FrameSource.h"
#include "document/clips/SoundSelection.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <optional>

namespace velloria
{

class AudioFile;

/// The chunks of a Broadcast Wave file for sound that was edited since they were read.
struct BroadcastChunks {
    /// As they are to be written: with the time at which the sound starts now, where that is known.
    QList<QByteArray> chunks;
    /// What they say that is no longer so, one sentence each.
    QStringList losses;

    /// For a save of a document, or of a selection of it. `read` are the chunks as the document has them,
    /// `file` what it was opened from or saved as last.
    static BroadcastChunks forSaving(const FrameSource& document,
                                     const std::optional<SoundSelection>& selection,
                                     const QList<QByteArray>& read, const AudioFile& file);
};

} // namespace velloria
