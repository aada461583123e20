#pragma once

#include <QString>

namespace velloria
{

/// Names of files, markers and documents as they are shown. They come from anywhere: they may be as long as a
/// page, go over several lines, or turn the direction of the text around them.
namespace ItemNames
{
/// How long a name is shown in a title, a menu or a question.
inline constexpr qsizetype kMostCharacters = 80;

/// In one line, without the characters that turn the direction of what follows, and with an ellipsis in the
/// middle of a name that is too long, so that an extension can still be read.
QString shown(const QString& name, qsizetype mostCharacters = kMostCharacters);
/// The same in a menu, where an ampersand would mark a mnemonic and a tabulator a shortcut.
QString inMenu(const QString& name);
/// A message with names in it, without such characters either, that can be wrapped wherever a word would make
/// it wider than a screen.
QString wrappable(const QString& message);
} // namespace ItemNames

} // namespace velloria
