#include "platform/LargeBlocks.h"

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace velloria
{

void giveLargeBlocksBack()
{
#ifdef __GLIBC__
    constexpr int kMegabyte = 1 << 20;
    // Set by hand, the threshold no longer follows what is freed.
    mallopt(M_MMAP_THRESHOLD, kMegabyte);
#endif
}

} // namespace velloria
