#pragma once

#include "formats/tags/AudioMetadata.h"
#include "platform/FourCharCode.h"

#include <QByteArray>
#include <array>

namespace velloria
{

/// A chunk of AIFF files that holds a text of the metadata.
struct AiffTextField {
    FourCharCode ident;
    const QString& (AudioMetadata::*value)() const;
    void (AudioMetadata::*setValue)(const QString&);
};

inline constexpr std::array aiffTextFields = {
    AiffTextField{fourCharCode("NAME"), &AudioMetadata::title, &AudioMetadata::setTitle},
    AiffTextField{fourCharCode("AUTH"), &AudioMetadata::artist, &AudioMetadata::setArtist},
    AiffTextField{fourCharCode("(c) "), &AudioMetadata::copyright, &AudioMetadata::setCopyright},
    AiffTextField{fourCharCode("ANNO"), &AudioMetadata::comments, &AudioMetadata::setComments},
};

/// One that the metadata keep as it is.
struct AiffRawField {
    FourCharCode ident;
    const QByteArray& (AudioMetadata::*payload)() const;
    void (AudioMetadata::*setPayload)(const QByteArray&);
};

inline constexpr std::array aiffRawFields = {
    AiffRawField{fourCharCode("INST"), &AudioMetadata::aiffInstrumentChunk,
                 &AudioMetadata::setAiffInstrumentChunk},
    AiffRawField{fourCharCode("MIDI"), &AudioMetadata::aiffMIDIChunk, &AudioMetadata::setAiffMIDIChunk},
    AiffRawField{fourCharCode("AESD"), &AudioMetadata::aiffAudioRecordingChunk,
                 &AudioMetadata::setAiffAudioRecordingChunk},
    AiffRawField{fourCharCode("COMT"), &AudioMetadata::aiffCommentChunk, &AudioMetadata::setAiffCommentChunk},
};

/// The payload of a text: Mac Roman without the zero byte that some strings end with.
QByteArray aiffTextPayload(const QString& text);
QString aiffTextOf(QByteArray payload);

} // namespace velloria
