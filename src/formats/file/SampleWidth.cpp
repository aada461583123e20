#include "formats/file/SampleWidth.h"

namespace velloria
{

void declareSampleWidth(uint32_t bits, uint32_t writtenBits, FileLedger& ledger)
{
    if (bits != 0 && bits != writtenBits)
        ledger.addNotKept(
            ItemKind::value,
            QStringLiteral("samples of %1 bits become %2 bits wide").arg(bits).arg(writtenBits));
}

} // namespace velloria
