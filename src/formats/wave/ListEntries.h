#pragma once

#include "platform/FourCharCode.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// One entry of a "LIST" chunk: four characters, a 32-bit size, the value and, where its size is odd, a pad
/// byte, which some programs leave out.
struct ListEntry {
    FourCharCode ident = 0;
    /// With header and pad byte, as it stands in the file.
    QByteArray bytes;
    /// Of the header, in the chunk's payload; of a new one 0.
    qsizetype offset = 0;

    static ListEntry ofValue(FourCharCode ident, const QByteArray& value);
    QByteArray value() const;
};

/// The entries of a list's payload and what stands behind the last whole one.
struct ListEntries {
    std::vector<ListEntry> entries;
    QByteArray rest;

    /// A payload whose first four bytes are the list's type. At most so many entries are told apart.
    static ListEntries ofPayload(const QByteArray& payload, size_t mostEntries);
};

} // namespace velloria
