#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace velloria
{

/// Text in Mac Roman, one byte a character, as AIFF files hold it. Characters that Mac Roman does not have
/// lose their accents, and become "?" where that does not help.
QByteArray macRomanFromString(const QString& text);

/// The inverse, for all 256 bytes.
QString stringFromMacRoman(QByteArrayView bytes);

} // namespace velloria
