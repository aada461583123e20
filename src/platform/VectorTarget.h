#pragma once

/// How one plain loop is compiled twice, for the baseline instruction set and for AVX2, and chosen at run
/// time. A kernel is a struct with a function `static void run(...)` marked VELLORIA_KERNEL;
/// runKernel<Kernel>(...) calls the better copy. Elsewhere than on x86-64 only the baseline exists. FMA is
/// never used: results are the same on every processor.

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VELLORIA_AVX2_VARIANTS 1
#define VELLORIA_TARGET_AVX2 __attribute__((target("avx2")))
#else
#define VELLORIA_AVX2_VARIANTS 0
#define VELLORIA_TARGET_AVX2
#endif

#if defined(__GNUC__) || defined(__clang__)
#define VELLORIA_KERNEL [[gnu::always_inline]] inline
#else
#define VELLORIA_KERNEL inline
#endif

namespace velloria
{

inline bool cpuHasAvx2()
{
#if VELLORIA_AVX2_VARIANTS
    static const bool has = __builtin_cpu_supports("avx2") != 0;
    return has;
#else
    return false;
#endif
}

template <typename Kernel, typename... Arguments> void runBaselineKernel(Arguments... arguments)
{
    Kernel::run(arguments...);
}

template <typename Kernel, typename... Arguments>
VELLORIA_TARGET_AVX2 void runAvx2Kernel(Arguments... arguments)
{
    Kernel::run(arguments...);
}

template <typename Kernel, typename... Arguments> void runKernel(Arguments... arguments)
{
    if (cpuHasAvx2())
        runAvx2Kernel<Kernel>(arguments...);
    else
        runBaselineKernel<Kernel>(arguments...);
}

} // namespace velloria
