#include "formats/chunks/UnusedBytes.h"

namespace velloria
{

namespace
{

// What programs fill up with zeros is short; more is not worth the time of every opening.
constexpr int64_t longestFiller = int64_t{1} << 20;

} // namespace

void declareUnused(FileLedger& ledger, const FileHandle& handle, ByteRange bytes, const QString& name)
{
    if (bytes.length <= 0)
        return;
    if (bytes.length <= longestFiller && handle.holdsOnlyZeros(bytes.offset, bytes.length))
        ledger.addStructure(bytes);
    else
        ledger.addNotKept(ItemKind::part, name.arg(bytes.length), bytes);
}

} // namespace velloria
