#include "effects/filters/BlockConvolver.h"

#include "platform/VectorTarget.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <type_traits>
#include <utility>

namespace velloria
{

namespace
{

/// Two rows of complex numbers, one of them as ConvolutionKernel::Part has it.
struct Factors {
    const float* spectrum;
    const float* reals;
    const float* imaginaries;
};

/// The sum of products of rows, in tiles of which the sum stays in the innermost cache.
struct SumOfProducts {
    static constexpr size_t kTileSize = 512;

    /// `size` complex numbers.
    VELLORIA_KERNEL static void run(const Factors* factors, size_t numFactors, float* products, size_t size)
    {
        for (size_t start = 0; start < size; start += kTileSize) {
            const size_t count = size - start < kTileSize ? size - start : kTileSize;
            float* __restrict const sum = products + 2 * start;
            for (size_t i = 0; i < 2 * count; ++i)
                sum[i] = 0.0F;
            for (size_t part = 0; part < numFactors; ++part) {
                const float* __restrict const spectrum = factors[part].spectrum + 2 * start;
                const float* __restrict const reals = factors[part].reals + 2 * start;
                const float* __restrict const imaginaries = factors[part].imaginaries + 2 * start;
                for (size_t i = 0; i < 2 * count; i += 2) {
                    const float real = spectrum[i];
                    const float imaginary = spectrum[i + 1];
                    sum[i] += real * reals[i] + imaginary * imaginaries[i];
                    sum[i + 1] += imaginary * reals[i + 1] + real * imaginaries[i + 1];
                }
            }
        }
    }
};

/// Complex numbers are pairs of them.
template <typename Spectrum> auto* floatsOf(Spectrum& spectrum)
{
    using Float = std::conditional_t<std::is_const_v<Spectrum>, const float, float>;
    return reinterpret_cast<Float*>(spectrum.bins().data());
}

} // namespace

ConvolutionKernel::Part::Part(const HalfSpectrum& spectrum)
    : reals(2 * spectrum.size())
    , imaginaries(2 * spectrum.size())
{
    for (size_t bin = 0; bin < spectrum.size(); ++bin) {
        reals[2 * bin] = reals[2 * bin + 1] = spectrum[bin].real();
        imaginaries[2 * bin] = -spectrum[bin].imag();
        imaginaries[2 * bin + 1] = spectrum[bin].imag();
    }
}

ConvolutionKernel::ConvolutionKernel(std::span<const float> taps, const RealTransform& transform)
{
    const size_t blockNumFrames = transform.size() / 2;
    const float scale = 1.0F / static_cast<float>(transform.size());
    HalfSpectrum spectrum(transform.size());
    for (size_t start = 0; start < taps.size(); start += blockNumFrames) {
        TransformBuffer frames(transform.size());
        const size_t count = std::min(blockNumFrames, taps.size() - start);
        for (size_t i = 0; i < count; ++i)
            frames[i] = taps[start + i] * scale;
        transform.forward(frames, spectrum);
        mParts.emplace_back(spectrum);
    }
}

BlockConvolver::BlockConvolver(const RealTransform& transform, size_t mostParts, Kernel kernel)
    : mTransform(transform)
    , mKernel(std::move(kernel))
    , mInput(transform.size())
    , mOutput(blockNumFrames())
    , mFading(blockNumFrames())
    , mSum(transform.size())
    , mConvolved(transform.size())
{
    mSpectra.reserve(mostParts);
    for (size_t i = 0; i < mostParts; ++i)
        mSpectra.emplace_back(transform.size());
}

void BlockConvolver::setKernel(Kernel kernel)
{
    mNext = std::move(kernel);
    mFades = true;
}

void BlockConvolver::process(std::span<float> samples)
{
    const size_t blockSize = blockNumFrames();
    while (!samples.empty()) {
        const size_t count = std::min(samples.size(), blockSize - mPosition);
        const std::span<float> input = mInput.values().subspan(blockSize + mPosition, count);
        std::copy_n(samples.begin(), count, input.begin());
        std::copy_n(mOutput.begin() + static_cast<std::ptrdiff_t>(mPosition), count, samples.begin());
        samples = samples.subspan(count);
        mPosition += count;
        if (mPosition == blockSize)
            completeBlock();
    }
}

void BlockConvolver::completeBlock()
{
    const size_t blockSize = blockNumFrames();
    mPosition = 0;
    mNewest = (mNewest + 1) % mSpectra.size();
    mTransform.forward(mInput, mSpectra[mNewest]);
    convolve(mKernel, mOutput);
    if (mFades) {
        convolve(mNext, mFading);
        for (size_t i = 0; i < blockSize; ++i) {
            const double position = static_cast<double>(i) / static_cast<double>(blockSize);
            const double part = 0.5 - 0.5 * std::cos(std::numbers::pi * position);
            mOutput[i] += static_cast<float>(part) * (mFading[i] - mOutput[i]);
        }
        mKernel = std::move(mNext);
        mFades = false;
    }
    const std::span<float> input = mInput.values();
    std::copy_n(input.begin() + static_cast<std::ptrdiff_t>(blockSize), blockSize, input.begin());
}

void BlockConvolver::convolve(const Kernel& kernel, std::span<float> output)
{
    const size_t blockSize = blockNumFrames();
    if (!kernel) {
        std::copy_n(mInput.values().begin() + static_cast<std::ptrdiff_t>(blockSize), blockSize,
                    output.begin());
        return;
    }
    std::vector<Factors> factors;
    for (size_t part = 0; part < kernel->size(); ++part) {
        const size_t age = (mNewest + mSpectra.size() - part) % mSpectra.size();
        factors.push_back({floatsOf(mSpectra[age]), kernel->part(part).reals.values().data(),
                           kernel->part(part).imaginaries.values().data()});
    }
    runKernel<SumOfProducts>(static_cast<const Factors*>(factors.data()), factors.size(), floatsOf(mSum),
                             mSum.size());
    mTransform.inverse(mSum, mConvolved);
    std::copy_n(mConvolved.values().begin() + static_cast<std::ptrdiff_t>(blockSize), blockSize,
                output.begin());
}

} // namespace velloria
