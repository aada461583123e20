#pragma once

#include "scripting/CommandDictionary.h"

#include <QStringView>

namespace velloria
{

/// One word of a command line: blanks part words, except within double quotes (which go away).
struct CommandWord {
    QString text;
    /// Of the first '=' in `text`; -1 when there is none.
    qsizetype equalsIndex = -1;
};

namespace CommandParser
{
/// Nothing, with `error` filled, when a quote does not end.
std::optional<std::vector<CommandWord>> words(QStringView text, QString* error);

/// The value of a key's type, within the key's range; nothing, with `error` filled, when the text is none.
std::optional<QVariant> value(const CommandParameter& parameter, const QString& text, QString* error);
} // namespace CommandParser

} // namespace velloria
