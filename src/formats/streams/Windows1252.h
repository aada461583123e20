#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <optional>

namespace velloria
{

/// Text in Windows-1252, one byte a character. Five bytes stand for nothing; they become control characters
/// of the same number, and come back as what they were.
QString stringFromWindows1252(QByteArrayView bytes);

/// The inverse; nothing for a text with other characters.
std::optional<QByteArray> windows1252FromString(const QString& text);

} // namespace velloria
