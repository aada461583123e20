#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <QList>
#include <functional>
#include <optional>

namespace velloria
{

/// The packets in front of the sound of an Ogg file that holds one stream, and where its pages of sound lie.
struct OggHeaders {
    uint32_t serialNumber = 0;
    QList<QByteArray> packets;
    /// That they fill; those of the sound are numbered from there.
    long numPages = 0;
    /// Everything behind them, whatever stands between the pages.
    ByteRange sound;

    /// Tells by all packets so far whether the last one is that of the headers.
    using AreComplete = std::function<bool(const QList<QByteArray>& packets)>;

    /// Nothing where the file does not begin with that, or where the sound does not begin on a page of its
    /// own, as it must.
    static std::optional<OggHeaders> ofFile(const FileHandle& handle, const AreComplete& areComplete);

    /// Pages of other packets for the same stream; `numPages` becomes how many they are.
    static QByteArray pagesOf(const QList<QByteArray>& packets, uint32_t serialNumber, long* numPages);
};

} // namespace velloria
