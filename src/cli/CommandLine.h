#pragma once

namespace velloria
{

/// The whole of velloria-cli; answers its exit status: 0 done, 1 the work failed, 2 the arguments are wrong.
int runCommandLine(int argc, char** argv);

} // namespace velloria
