#include "cli/ArgumentParser.h"

#include "scripting/ScriptText.h"

#include <algorithm>

namespace velloria
{

namespace
{

QString shown(const QByteArray& bytes)
{
    return ScriptText::forDisplay(ScriptText::fromBytes(bytes));
}

bool isOption(const QByteArray& word)
{
    return word.size() > 1 && word.startsWith('-');
}

/// "--type=WAVE" and "-oFILE" in two.
struct OptionWord {
    QByteArray name;
    std::optional<QByteArray> value;

    explicit OptionWord(const QByteArray& word)
        : name(word)
    {
        const qsizetype end = word.startsWith("--") ? word.indexOf('=') : word.size() > 2 ? 2 : -1;
        if (end < 0)
            return;
        name = word.first(end);
        value = word.sliced(word.startsWith("--") ? end + 1 : end);
    }
};

/// True when an option of this name takes the next word as its value, whichever subcommand it belongs to.
bool takesValue(const QByteArray& option)
{
    return std::any_of(subcommands().begin(), subcommands().end(), [&option](const Subcommand& subcommand) {
        const OptionDescription* description = subcommand.optionWithName(option);
        return description && !description->valueName.isEmpty();
    });
}

/// Index of the subcommand's name: the first word that is neither an option nor an option's value.
size_t indexOfName(const std::vector<QByteArray>& words)
{
    for (size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--")
            return i + 1;
        if (!isOption(words[i]))
            return i;
        const OptionWord option(words[i]);
        if (!option.value && takesValue(option.name))
            ++i;
    }
    return words.size();
}

class Parser
{
public:
    Parser(const std::vector<QByteArray>& words, QString* error)
        : mWords(words)
        , mError(error)
    {
    }

    std::optional<ParsedCommandLine> parse()
    {
        const size_t nameIndex = indexOfName(mWords);
        if (!findSubcommand(nameIndex))
            return std::nullopt;
        if (findRequest())
            return mResult;
        if (!mResult.subcommand)
            return fail(QStringLiteral("no command is given (velloria-cli --help lists them)"));
        for (mIndex = 0; mIndex < mWords.size(); ++mIndex)
            if (mIndex != nameIndex && !takeWord())
                return std::nullopt;
        return checkNumWords() ? std::optional(mResult) : std::nullopt;
    }

private:
    std::nullopt_t fail(const QString& message)
    {
        if (mError)
            *mError = message;
        return std::nullopt;
    }

    std::nullopt_t failWithHint(const QString& message)
    {
        const QString name = QString::fromLatin1(mResult.subcommand->name);
        return fail(QStringLiteral("%1: %2 (see velloria-cli %1 --help)").arg(name, message));
    }

    bool findSubcommand(size_t nameIndex)
    {
        if (nameIndex >= mWords.size())
            return true;
        for (const Subcommand& subcommand : subcommands())
            if (subcommand.name == mWords[nameIndex])
                mResult.subcommand = &subcommand;
        if (!mResult.subcommand)
            fail(QStringLiteral("there is no command “%1” (velloria-cli --help lists them)")
                     .arg(shown(mWords[nameIndex])));
        return mResult.subcommand != nullptr;
    }

    /// --help and its like win over whatever else stands there.
    bool findRequest()
    {
        using Request = ParsedCommandLine::Request;
        for (const QByteArray& word : mWords) {
            if (word == "--")
                break;
            if (word == "--help" || word == "-h")
                mResult.request = Request::help;
            else if (word == "--version")
                mResult.request = Request::version;
            else if (word == "--man")
                mResult.request = Request::manPage;
            if (mResult.request != Request::run)
                return true;
        }
        return false;
    }

    bool takeWord()
    {
        const QByteArray& word = mWords[mIndex];
        if (mIsPastOptions || !isOption(word)) {
            mResult.arguments.append({}, word);
            return true;
        }
        if (word == "--") {
            mIsPastOptions = true;
            return true;
        }
        return takeOption(OptionWord(word));
    }

    bool takeOption(const OptionWord& option)
    {
        const OptionDescription* description = mResult.subcommand->optionWithName(option.name);
        if (!description)
            return failWithHint(QStringLiteral("there is no option %1").arg(shown(option.name))), false;
        if (!description->mayRepeat && mResult.arguments.has(option.name))
            return failWithHint(QStringLiteral("%1 is given twice").arg(shown(option.name))), false;
        if (description->valueName.isEmpty() && option.value)
            return failWithHint(QStringLiteral("%1 takes no value").arg(shown(option.name))), false;
        QByteArray value = option.value.value_or(QByteArray());
        if (!description->valueName.isEmpty() && !option.value) {
            if (mIndex + 1 >= mWords.size())
                return failWithHint(QStringLiteral("%1 needs a value").arg(shown(option.name))), false;
            value = mWords[++mIndex];
        }
        mResult.arguments.append(option.name, value);
        return true;
    }

    bool checkNumWords()
    {
        const auto count = static_cast<int>(mResult.arguments.words().size());
        const Subcommand& subcommand = *mResult.subcommand;
        if (count < subcommand.minWords)
            failWithHint(QStringLiteral("something is missing: velloria-cli %1 %2")
                             .arg(QString::fromLatin1(subcommand.name), subcommand.synopsis));
        else if (subcommand.maxWords >= 0 && count > subcommand.maxWords)
            failWithHint(
                QStringLiteral("“%1” is too much")
                    .arg(shown(mResult.arguments.words()[static_cast<size_t>(subcommand.maxWords)])));
        else
            return true;
        return false;
    }

    const std::vector<QByteArray>& mWords;
    QString* mError;
    ParsedCommandLine mResult;
    size_t mIndex = 0;
    bool mIsPastOptions = false;
};

} // namespace

std::optional<ParsedCommandLine> parseCommandLine(const std::vector<QByteArray>& words, QString* error)
{
    return Parser(words, error).parse();
}

} // namespace velloria
