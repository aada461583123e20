#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <QByteArrayView>
#include <optional>

namespace velloria
{

/// The account of a FLAC file that is not in Ogg.
namespace FlacLedger
{

/// What a cue sheet is called: it stays only as long as the sound beside it has its length.
inline const QString cueSheet = QStringLiteral("cue sheet");

/// The name for a person of a metadata block that is carried over as it is, by its type and first bytes;
/// empty for one that is made anew or taken in.
QString nameOfBlock(int type, QByteArrayView firstBytes);

/// Tags around the stream, its metadata blocks one by one, and its frames, which count as in the model.
FileLedger ofFile(const FileHandle& handle);

/// What stands behind the last frame, which is only known when it was decoded, and is no tag; nothing for
/// zeros.
std::optional<FileItem> behindSound(const FileHandle& handle, int64_t endOfSound);

/// True where a frame's head with the right checksum stands.
bool isFrameAt(const FileHandle& handle, int64_t offset);

} // namespace FlacLedger

} // namespace velloria
