#include "scripting/CommandParser.h"

#include "scripting/ScriptText.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr qsizetype kMostNamed = 24;

using Type = CommandParameter::Type;

/// Keys match in any case and with or without the spaces between their words.
QString normalizedKey(const QString& key)
{
    QString folded = key.toCaseFolded();
    folded.remove(u' ');
    return folded;
}

const CommandParameter* parameterWithKey(const CommandDescription& command, const QString& key)
{
    const QString wanted = normalizedKey(key);
    const auto found = std::find_if(
        command.parameters.begin(), command.parameters.end(),
        [&wanted](const CommandParameter& parameter) { return normalizedKey(parameter.key) == wanted; });
    return found == command.parameters.end() ? nullptr : &*found;
}

std::optional<double> finiteNumber(const QString& text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<qlonglong> wholeNumber(const QString& text)
{
    bool isNumber = false;
    const qlonglong number = text.toLongLong(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<QVariant> booleanValue(const QString& text)
{
    for (const char* yes : {"yes", "true", "on"})
        if (text.compare(QLatin1String(yes), Qt::CaseInsensitive) == 0)
            return QVariant(1);
    for (const char* no : {"no", "false", "off"})
        if (text.compare(QLatin1String(no), Qt::CaseInsensitive) == 0)
            return QVariant(0);
    const std::optional<qlonglong> number = wholeNumber(text);
    if (!number || *number < 0 || *number > 1)
        return std::nullopt;
    return QVariant(static_cast<int>(*number));
}

std::optional<QVariant> listValue(const QString& text)
{
    QVariantList numbers;
    for (const QString& part : text.split(u',')) {
        const std::optional<double> number = finiteNumber(part);
        if (!number)
            return std::nullopt;
        numbers.append(*number);
    }
    return numbers;
}

/// A word of the list, or the number of one.
std::optional<QVariant> choiceValue(const CommandParameter& parameter, const QString& text)
{
    const QStringList& choices = parameter.choices;
    const QString name = parameter.listedName ? parameter.listedName(text) : text;
    for (qsizetype i = 0; i < choices.size(); ++i)
        if (choices[i].compare(name, Qt::CaseInsensitive) == 0)
            return parameter.type == Type::integer ? QVariant(i) : QVariant(choices[i]);
    const std::optional<qlonglong> number = wholeNumber(text);
    if (parameter.type == Type::integer && number && *number >= 0 && *number < choices.size())
        return QVariant(*number);
    return std::nullopt;
}

std::optional<QVariant> typedValue(const CommandParameter& parameter, const QString& text)
{
    if (!parameter.choices.isEmpty())
        return choiceValue(parameter, text);
    switch (parameter.type) {
    case Type::number:
        if (const std::optional<double> number = finiteNumber(text))
            return *number;
        return std::nullopt;
    case Type::integer:
        if (const std::optional<qlonglong> number = wholeNumber(text))
            return *number;
        return std::nullopt;
    case Type::boolean:
        return booleanValue(text);
    case Type::numberList:
        return listValue(text);
    case Type::string:
        // What is kept as text must be some: only paths are bytes.
        if (ScriptText::forDisplay(text) != text)
            return std::nullopt;
        break;
    case Type::path:
        break;
    }
    return text;
}

QString wantedKind(const CommandParameter& parameter)
{
    // Of many, notes say, the first and the last tell enough.
    if (parameter.choices.size() > kMostNamed)
        return QStringLiteral("one of %1 ... %2").arg(parameter.choices.front(), parameter.choices.back());
    if (!parameter.choices.isEmpty())
        return QStringLiteral("one of ") + parameter.choices.join(QStringLiteral(", "));
    switch (parameter.type) {
    case Type::number:
        return QStringLiteral("a number");
    case Type::integer:
        return QStringLiteral("a whole number");
    case Type::boolean:
        return QStringLiteral("0 or 1");
    case Type::numberList:
        return QStringLiteral("a list of numbers");
    case Type::string:
    case Type::path:
        break;
    }
    return QStringLiteral("a text in UTF-8");
}

/// What is wrong with a value, or one of a list, that lies outside the range that the dictionary tells, or
/// nothing.
QString rangeProblem(const CommandParameter& parameter, const QVariant& value)
{
    const bool hasMinimum = parameter.minimum.isValid();
    const bool hasMaximum = parameter.maximum.isValid();
    const auto isWithin = [&](const QVariant& each) {
        return (!hasMinimum || each.toDouble() >= parameter.minimum.toDouble()) &&
               (!hasMaximum || each.toDouble() <= parameter.maximum.toDouble());
    };
    const bool isList = parameter.type == Type::numberList;
    const QVariantList numbers = isList ? value.toList() : QVariantList{value};
    if (std::all_of(numbers.begin(), numbers.end(), isWithin))
        return {};
    const QString lowest = parameter.minimum.toString();
    const QString highest = parameter.maximum.toString();
    if (hasMinimum && hasMaximum)
        return QStringLiteral("%1= must be from %2 to %3").arg(parameter.key, lowest, highest);
    return hasMinimum ? QStringLiteral("%1= must be at least %2").arg(parameter.key, lowest)
                      : QStringLiteral("%1= must be at most %2").arg(parameter.key, highest);
}

/// Finds the name among the words before the first '=', `keyWords`: the longest beginning that is a command.
/// Words left over belong to the first key (`set metadata album artist=`).
const CommandDescription* commandInWords(QStringList& keyWords, bool endsWithKey)
{
    const qsizetype most = keyWords.size() - (endsWithKey ? 1 : 0);
    for (qsizetype count = most; count > 0; --count) {
        const CommandDescription* command =
            CommandDictionary::commandWithName(keyWords.first(count).join(u' '));
        if (!command)
            continue;
        const QStringList rest = keyWords.sliced(count);
        if (count < most && (!endsWithKey || !parameterWithKey(*command, rest.join(u' '))))
            continue;
        keyWords = rest;
        return command;
    }
    return nullptr;
}

QString unknownCommand(const QStringList& nameWords)
{
    return nameWords.isEmpty() ? QStringLiteral("there is no command in it")
                               : QStringLiteral("there is no command “%1”").arg(nameWords.join(u' '));
}

/// Turns words into arguments of one command.
class ArgumentCollector
{
public:
    ArgumentCollector(const CommandDescription& command, QStringList keyWords)
        : mCommand(command)
        , mKeyWords(std::move(keyWords))
    {
    }

    void addKeyWord(const QString& word) { mKeyWords.append(word); }

    /// The value of the key whose words were added.
    bool addValue(const QString& text, QString* error)
    {
        const QString key = mKeyWords.join(u' ');
        mKeyWords.clear();
        const CommandParameter* parameter = parameterWithKey(mCommand, key);
        if (!parameter)
            return fail(error, QStringLiteral("“%1” has no key “%2”").arg(mCommand.name, key));
        if (mArguments.contains(parameter->key))
            return fail(error, QStringLiteral("%1= is given twice").arg(parameter->key));
        const std::optional<QVariant> value = CommandParser::value(*parameter, text, error);
        if (value)
            mArguments.insert(parameter->key, *value);
        return value.has_value();
    }

    bool finish(QString* error) const
    {
        if (!mKeyWords.isEmpty())
            return fail(error, QStringLiteral("“%1” is no Key=value").arg(mKeyWords.join(u' ')));
        const QString problem = mCommand.check ? mCommand.check(mArguments) : QString();
        return problem.isEmpty() || fail(error, problem);
    }

    const QVariantMap& arguments() const { return mArguments; }

private:
    static bool fail(QString* error, const QString& message)
    {
        if (error)
            *error = message;
        return false;
    }

    const CommandDescription& mCommand;
    QStringList mKeyWords;
    QVariantMap mArguments;
};

} // namespace

std::optional<std::vector<CommandWord>> CommandParser::words(QStringView text, QString* error)
{
    std::vector<CommandWord> words;
    bool isQuoted = false;
    bool isInWord = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar character = text[i];
        if (!isQuoted && character.isSpace()) {
            isInWord = false;
            continue;
        }
        if (!isInWord)
            words.emplace_back();
        isInWord = true;
        if (character == u'"') {
            isQuoted = !isQuoted;
            continue;
        }
        const QChar next = i + 1 < text.size() ? text[i + 1] : QChar();
        if (isQuoted && character == u'\\' && (next == u'"' || next == u'\\')) {
            character = next;
            ++i;
        }
        CommandWord& word = words.back();
        if (character == u'=' && word.equalsIndex < 0)
            word.equalsIndex = word.text.size();
        word.text += character;
    }
    if (!isQuoted)
        return words;
    if (error)
        *error = QStringLiteral("a quote does not end");
    return std::nullopt;
}

std::optional<QVariant> CommandParser::value(const CommandParameter& parameter, const QString& text,
                                             QString* error)
{
    std::optional<QVariant> value = typedValue(parameter, text);
    const QString problem =
        value ? rangeProblem(parameter, *value)
              : QStringLiteral("%1=%2 is not %3")
                    .arg(parameter.key, ScriptText::forDisplay(text), wantedKind(parameter));
    if (problem.isEmpty())
        return value;
    if (error)
        *error = problem;
    return std::nullopt;
}

std::optional<ParsedCommand> CommandDictionary::parse(const QString& text, QString* error)
{
    const std::optional<std::vector<CommandWord>> words = CommandParser::words(text, error);
    if (!words)
        return std::nullopt;
    QStringList leading;
    size_t index = 0;
    for (; index < words->size() && (*words)[index].equalsIndex < 0; ++index)
        leading.append((*words)[index].text);
    const bool hasKey = index < words->size();
    const QStringList nameWords = leading;
    if (hasKey)
        leading.append((*words)[index].text.first((*words)[index].equalsIndex));
    const CommandDescription* command = commandInWords(leading, hasKey);
    if (!command) {
        if (error)
            *error = unknownCommand(nameWords);
        return std::nullopt;
    }
    if (hasKey)
        leading.removeLast();
    ArgumentCollector collector(*command, leading);
    for (; index < words->size(); ++index) {
        const CommandWord& word = (*words)[index];
        collector.addKeyWord(word.equalsIndex < 0 ? word.text : word.text.first(word.equalsIndex));
        if (word.equalsIndex >= 0 && !collector.addValue(word.text.sliced(word.equalsIndex + 1), error))
            return std::nullopt;
    }
    if (!collector.finish(error))
        return std::nullopt;
    return ParsedCommand{command, collector.arguments(), text};
}

} // namespace velloria
