#pragma once

#include <QByteArray>
#include <QString>
#include <filesystem>

namespace velloria
{

/// Scripting commands are text, but paths in them are bytes of any kind. A byte that is no UTF-8 travels
/// through a QString as a lone surrogate (U+DC80 .. U+DCFF for 0x80 .. 0xFF), which no text holds, and comes
/// out as the same byte.
namespace ScriptText
{
QString fromBytes(QByteArrayView bytes);

/// The bytes that fromBytes() was given.
std::filesystem::path toPath(const QString& text);

/// For a person: such bytes show as U+FFFD.
QString forDisplay(const QString& text);
} // namespace ScriptText

} // namespace velloria
