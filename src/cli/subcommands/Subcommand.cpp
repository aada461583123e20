#include "cli/subcommands/Subcommand.h"

#include <algorithm>

namespace velloria
{

std::vector<QByteArray> Arguments::words() const
{
    std::vector<QByteArray> words;
    for (const Item& item : mItems)
        if (item.option.isEmpty())
            words.push_back(item.value);
    return words;
}

std::optional<QByteArray> Arguments::value(const QByteArray& option) const
{
    const auto found = std::find_if(mItems.begin(), mItems.end(),
                                    [&option](const Item& item) { return item.option == option; });
    return found == mItems.end() ? std::nullopt : std::optional(found->value);
}

const OptionDescription* Subcommand::optionWithName(const QByteArray& option) const
{
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&option](const OptionDescription& row) { return row.name == option; });
    return found == options.end() ? nullptr : &*found;
}

const std::vector<Subcommand>& subcommands()
{
    static const std::vector<Subcommand> all = {infoSubcommand(),  decodeSubcommand(),   convertSubcommand(),
                                                runSubcommand(),   waveformSubcommand(), measureSubcommand(),
                                                splitSubcommand(), commandsSubcommand(), devicesSubcommand(),
                                                playSubcommand(),  recordSubcommand()};
    return all;
}

} // namespace velloria
