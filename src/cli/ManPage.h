#pragma once

#include <QString>

namespace velloria
{

/// The manual page velloria-cli(1) as roff, made from the tables that --help and `commands` show.
namespace ManPage
{
QString ofProgram();
} // namespace ManPage

} // namespace velloria
