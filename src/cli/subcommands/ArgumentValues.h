#pragma once

#include "cli/subcommands/Subcommand.h"

#include <filesystem>
#include <optional>

namespace velloria
{

/// The values of options as numbers and paths. A function that answers false has said on standard error what
/// is wrong with the value.
namespace ArgumentValues
{
std::filesystem::path path(const QByteArray& bytes);
QString text(const QByteArray& bytes);

/// A finite number; nothing when the option is not given.
bool readNumber(const Arguments& arguments, const QByteArray& option, std::optional<double>& number);
/// `number` stays as it is when the option is not given.
bool readInteger(const Arguments& arguments, const QByteArray& option, int minimum, int maximum, int& number);

/// The options --start and --end, in seconds.
struct TimeRange {
    std::optional<double> start;
    std::optional<double> end;
};
bool readTimeRange(const Arguments& arguments, TimeRange& range);
std::vector<OptionDescription> timeRangeOptions();
} // namespace ArgumentValues

} // namespace velloria
