#pragma once

#include <functional>

namespace velloria
{

/// Runs the task at once on a thread that nobody else uses: an idle one from earlier tasks, else a new one,
/// so that a task may wait for other tasks. A thread without tasks for some seconds ends. Any thread.
void runOnCachedThread(std::function<void()> task);

} // namespace velloria
