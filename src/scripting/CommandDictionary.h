#pragma once

#include "platform/Error.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <vector>

namespace velloria
{

class SoundController;

/// One key of a scripting command, as `velloria-cli commands --json` prints it.
struct CommandParameter {
    enum class Type { number, integer, boolean, string, numberList, path };

    QString key;
    Type type = Type::number;
    QString unit;
    QVariant minimum;      ///< invalid = none; lower values are refused
    QVariant maximum;      ///< invalid = none; higher values are refused
    QVariant defaultValue; ///< invalid = none
    QString summary;
    QStringList
        choices; ///< words for the values 0, 1, ...; for an integer or a string these are all it may be
    /// See ParameterDescription.
    QString (*listedName)(const QString& text) = nullptr;
};

/// One scripting command: the table that the command line, D-Bus and menus share.
struct CommandDescription {
    QString name;
    QString summary;
    std::vector<CommandParameter> parameters;
    /// Runs it on the controller's document; nothing means success.
    std::function<MaybeError(SoundController&, const QVariantMap&)> run;
    /// What is wrong with arguments each of which is right by itself (one is missing, two exclude each
    /// other), or nothing. Null when there is nothing to check.
    std::function<QString(const QVariantMap&)> check;
    /// False for commands that must not run inside an undo group, or have nothing to undo.
    bool makesStep = true;
};

/// A command that was parsed and checked: its keys exist and its values have the key's type: double,
/// qlonglong, bool (as the numbers 0 and 1), QString, a QVariantList of doubles.
struct ParsedCommand {
    const CommandDescription* description = nullptr;
    QVariantMap arguments;
    QString text;
};

namespace CommandDictionary
{
const std::vector<CommandDescription>& commands();

/// By name in any case, words parted by any white space; null when there is none.
const CommandDescription* commandWithName(const QString& name);

/// Parses `name Key=value Key="value with spaces" List=1,2,3`. The name is all words before the first `Key=`.
/// Names and keys match in any case. A key of several words may stand as it is (`album artist="Various"`).
/// Within quotes
/// \" is a quote and \\ a backslash. Nothing, with `error` filled, for an unknown name or key, a key given
/// twice, or a value that is not of the key's type (NaN and infinity are no numbers) or
/// outside its range. See ScriptText for
/// bytes that are no text.
std::optional<ParsedCommand> parse(const QString& text, QString* error);

/// Runs one command as one undo step.
MaybeError run(const ParsedCommand& command, SoundController& controller);
} // namespace CommandDictionary

} // namespace velloria
