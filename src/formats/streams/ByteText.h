#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace velloria
{

/// The texts of RIFF and AU files end at the first zero byte. They are UTF-8 where they can be that, else
/// Windows-1252.
namespace ByteText
{

/// What stands before the first zero byte.
QByteArray bytesOfText(QByteArrayView value);
bool isUtf8(const QByteArray& text);
QString stringOf(const QByteArray& text);
/// UTF-8, unless the texts around it are Windows-1252, which has all the letters.
QByteArray textOf(const QString& string, bool isAmongWindows1252);

} // namespace ByteText

} // namespace velloria
