#include "formats/wave/BroadcastWave.h"

#include "formats/chunks/RiffChunkList.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::BroadcastWave
{

namespace
{

// Offsets in the payload of "bext": behind description (256 bytes), originator and its reference (32 each),
// date (10) and time (8) stand the time reference (64 bits) and the version (16); behind an identifier of 64
// bytes five values of loudness (16 each), since version 2.
constexpr qsizetype timeOffset = RiffChunk::headerLength + 338;
constexpr qsizetype versionOffset = timeOffset + 8;
constexpr qsizetype loudnessOffset = versionOffset + 2 + 64;
constexpr int numLoudnessValues = 5;
constexpr quint16 unknownLoudness = 0x7FFF;

/// Null for none that is as long as that.
template <typename Chunks> auto* findChunk(Chunks& chunks, const char* ident, qsizetype shortest)
{
    const auto found = std::find_if(chunks.begin(), chunks.end(), [&](const QByteArray& chunk) {
        return chunk.startsWith(ident) && chunk.size() >= shortest;
    });
    return found == chunks.end() ? nullptr : &*found;
}

} // namespace

std::optional<int64_t> timeReference(const QList<QByteArray>& chunks)
{
    const QByteArray* const chunk = findChunk(chunks, "bext", versionOffset);
    return chunk ? std::optional(qFromLittleEndian<qint64>(chunk->constData() + timeOffset)) : std::nullopt;
}

QList<QByteArray> withTimeReference(QList<QByteArray> chunks, int64_t numFrames)
{
    if (QByteArray* const chunk = findChunk(chunks, "bext", versionOffset))
        qToLittleEndian<qint64>(numFrames, chunk->data() + timeOffset);
    return chunks;
}

bool hasTimeInText(const QList<QByteArray>& chunks)
{
    const QByteArray* const chunk = findChunk(chunks, "iXML", 0);
    return chunk && chunk->contains("TIMESTAMP_SAMPLES_SINCE_MIDNIGHT");
}

bool hasPeakEnvelope(const QList<QByteArray>& chunks)
{
    return findChunk(chunks, "levl", 0) != nullptr;
}

bool hasLoudness(const QList<QByteArray>& chunks)
{
    const QByteArray* const chunk =
        findChunk(chunks, "bext", loudnessOffset + numLoudnessValues * qsizetype{sizeof(quint16)});
    if (!chunk || qFromLittleEndian<quint16>(chunk->constData() + versionOffset) < 2)
        return false;
    for (int i = 0; i < numLoudnessValues; ++i) {
        const auto value =
            qFromLittleEndian<quint16>(chunk->constData() + loudnessOffset + i * qsizetype{sizeof(quint16)});
        // Some programs leave zeros where they know nothing.
        if (value != unknownLoudness && value != 0)
            return true;
    }
    return false;
}

} // namespace velloria::BroadcastWave
