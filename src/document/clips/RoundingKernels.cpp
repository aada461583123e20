#include "document/clips/SampleKernels.h"
#include "platform/VectorTarget.h"

#include <cmath>

namespace velloria::SampleKernels
{

namespace
{

struct ScaleIntegersKernel {
    VELLORIA_KERNEL static void run(const int32_t* in, float scale, float* __restrict out, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            out[i] = static_cast<float>(in[i]) * scale;
    }
};

struct RoundToIntegersKernel {
    VELLORIA_KERNEL static void run(const float* in, double scale, int32_t* __restrict out, size_t count)
    {
        const double lowest = -scale;
        const double highest = scale - 1.0;
        for (size_t i = 0; i < count; ++i) {
            // In double precision the product is exact, and so is a half more of it.
            double value = in[i] == in[i] ? static_cast<double>(in[i]) * scale : 0.0;
            value = value < lowest ? lowest : value;
            value = value > highest ? highest : value;
            out[i] = static_cast<int32_t>(value + std::copysign(0.5, value));
        }
    }
};

} // namespace

void scaleIntegers(const int32_t* in, float scale, float* out, size_t count)
{
    runKernel<ScaleIntegersKernel>(in, scale, out, count);
}

void roundToIntegers(const float* in, int bits, int32_t* out, size_t count)
{
    runKernel<RoundToIntegersKernel>(in, std::ldexp(1.0, bits - 1), out, count);
}

} // namespace velloria::SampleKernels
