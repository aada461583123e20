#pragma once

#include "controllers/SoundController.h"

#include <QStringList>

namespace velloria
{

/// The part of a document that is looked at: it stays what it was when the document is edited.
struct AnalysedSound {
    std::vector<AudioTrackPtr> tracks;
    QStringList trackNames;
    double sampleRate = 0;
    int64_t offset = 0;
    int64_t numFrames = 0;
    QString documentName;
    bool isWhole = false; ///< all of the document

    /// The selection; everything, when it is empty.
    static AnalysedSound selectionOf(SoundController& controller);

    /// "interview.wav, 0'12.5 to 0'14, left": for titles.
    QString description() const;
};

} // namespace velloria
