#include "formats/ogg/OggSerialNumber.h"

#include <QCryptographicHash>
#include <QtEndian>
#include <algorithm>

namespace velloria
{

int oggSerialNumber(const FrameSource& document, const SaveRange& range, const QByteArray& tags)
{
    // What the encoder is given first anyway, so that it costs little.
    constexpr int64_t mostFrames = 16384;
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(QByteArray::number(range.numFrames) + ' ' + QByteArray::number(document.sampleRate()) + ' ' +
                 QByteArray::number(range.numTracks) + ' ' + tags);
    SaveBlockBuilder builder(document.audioTracks(), range.firstTrack, range.numTracks, sizeof(float));
    const std::span<const float> start =
        builder.buildFloats(range.startFrame, std::min(mostFrames, range.numFrames));
    hash.addData(QByteArray::fromRawData(reinterpret_cast<const char*>(start.data()),
                                         static_cast<qsizetype>(start.size_bytes())));
    return static_cast<int>(qFromLittleEndian<quint32>(hash.result().constData()) >> 1);
}

} // namespace velloria
