#include "formats/file/StartTime.h"

#include <QLocale>

namespace velloria
{

void declareStartTime(double seconds, FileLedger& ledger)
{
    if (seconds > 0.0)
        ledger.add({ItemKind::value,
                    Keeping::withSound,
                    QStringLiteral("the start of the sound at %1 s becomes 0")
                        .arg(QLocale::c().toString(seconds, 'f', 3)),
                    {}});
}

} // namespace velloria
