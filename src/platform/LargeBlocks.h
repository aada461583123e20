#pragma once

namespace velloria
{

/// From now on blocks of memory of a megabyte and more go back to the system as soon as they are freed. glibc
/// otherwise keeps such blocks for itself once one of that size was freed, and work on a long sound, which
/// frees pieces of all sizes, would take more and more. For the start of a program.
void giveLargeBlocksBack();

} // namespace velloria
