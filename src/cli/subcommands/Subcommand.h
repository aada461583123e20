#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace velloria
{

enum class ExitStatus { done = 0, failed = 1, wrongArguments = 2 };

/// One option of a subcommand.
struct OptionDescription {
    QByteArray name;   ///< "--type", "-o"
    QString valueName; ///< "NAME"; empty for an option without a value
    QString summary;
    bool mayRepeat = false;
};

/// What stands after a subcommand's name, in the order in which it was given. Values are bytes as the system
/// gave them.
class Arguments
{
public:
    struct Item {
        QByteArray option; ///< empty for a word that is no option
        QByteArray value;
    };

    void append(const QByteArray& option, const QByteArray& value) { mItems.push_back({option, value}); }

    const std::vector<Item>& items() const { return mItems; }
    std::vector<QByteArray> words() const;
    bool has(const QByteArray& option) const { return value(option).has_value(); }
    std::optional<QByteArray> value(const QByteArray& option) const;

private:
    std::vector<Item> mItems;
};

/// One subcommand: the table row from which its help, its part of the man page and its parsing are made.
struct Subcommand {
    QByteArray name;
    QString synopsis; ///< what follows the name: "FILE [-o OUT]"
    QString summary;  ///< one sentence
    QStringList description;
    std::vector<OptionDescription> options;
    int minWords = 0;
    int maxWords = 0; ///< -1 for any number
    std::function<ExitStatus(const Arguments&)> run;

    const OptionDescription* optionWithName(const QByteArray& option) const;
};

/// All of them, in the order in which help lists them.
const std::vector<Subcommand>& subcommands();

Subcommand infoSubcommand();
Subcommand decodeSubcommand();
Subcommand convertSubcommand();
Subcommand runSubcommand();
Subcommand waveformSubcommand();
Subcommand measureSubcommand();
Subcommand splitSubcommand();
Subcommand commandsSubcommand();
Subcommand devicesSubcommand();
Subcommand playSubcommand();
Subcommand recordSubcommand();

} // namespace velloria
