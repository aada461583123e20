#pragma once

#include <QByteArray>
#include <QList>
#include <cstdint>
#include <optional>

namespace velloria
{

/// What the chunks of a Broadcast Wave file (EBU Tech 3285) tell of the sound beside them, so that it ceases
/// to be true when that is edited. The chunks are whole, each with its header.
namespace BroadcastWave
{

/// Of the "bext" chunk: the frames from midnight to the first one, at the file's rate. Nothing without one.
std::optional<int64_t> timeReference(const QList<QByteArray>& chunks);
QList<QByteArray> withTimeReference(QList<QByteArray> chunks, int64_t numFrames);

/// True when the "iXML" chunk repeats the time reference.
bool hasTimeInText(const QList<QByteArray>& chunks);
/// True for a "levl" chunk, the peaks of the sound.
bool hasPeakEnvelope(const QList<QByteArray>& chunks);
/// True when the "bext" chunk tells how loud the sound was measured to be.
bool hasLoudness(const QList<QByteArray>& chunks);

} // namespace BroadcastWave

} // namespace velloria
