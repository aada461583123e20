#include "formats/chunks/UnusedBytes.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t bytesPerRead = 65536;
// What programs fill up with zeros is short; more is not worth the time of every opening.
constexpr int64_t longestFiller = int64_t{1} << 20;

bool areZeros(const FileHandle& handle, ByteRange bytes)
{
    if (bytes.length > longestFiller)
        return false;
    for (int64_t offset = bytes.offset; offset < bytes.end(); offset += bytesPerRead) {
        const QByteArray block = handle.readAt(offset, std::min(bytesPerRead, bytes.end() - offset));
        if (std::any_of(block.begin(), block.end(), [](char byte) { return byte != 0; }))
            return false;
    }
    return true;
}

} // namespace

void declareUnused(FileLedger& ledger, const FileHandle& handle, ByteRange bytes, const QString& name)
{
    if (bytes.length <= 0)
        return;
    if (areZeros(handle, bytes))
        ledger.addStructure(bytes);
    else
        ledger.addNotKept(ItemKind::part, name.arg(bytes.length), bytes);
}

} // namespace velloria
