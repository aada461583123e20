#pragma once

#include "platform/fft/RealTransform.h"

#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// An impulse response as the spectra of its blocks.
class ConvolutionKernel
{
public:
    /// Taps beyond the last whole block are a block filled up with zeros.
    ConvolutionKernel(std::span<const float> taps, const RealTransform& transform);

    /// A block's spectrum as a loop over pairs of floats likes it: for each bin the real part twice, and the
    /// imaginary part with both signs, minus first.
    struct Part {
        explicit Part(const HalfSpectrum& spectrum);
        TransformBuffer reals;
        TransformBuffer imaginaries;
    };

    size_t size() const { return mParts.size(); }
    const Part& part(size_t index) const { return mParts[index]; }

private:
    std::vector<Part> mParts;
};

/// Convolves one track with an impulse response, block by block by the Fourier transform (overlap-save with a
/// delay line of spectra, of the uniformly partitioned kind). Its output is one block late. However the
/// input is divided, the output is the same.
class BlockConvolver
{
public:
    using Kernel = std::shared_ptr<const ConvolutionKernel>;

    /// The transform has twice a block's frames and outlives this. No kernel lets the samples through as they
    /// are; a kernel has at most mostParts blocks.
    BlockConvolver(const RealTransform& transform, size_t mostParts, Kernel kernel);

    size_t blockNumFrames() const { return mTransform.size() / 2; }
    /// In place.
    void process(std::span<float> samples);
    /// The next block is a crossfade to this kernel.
    void setKernel(Kernel kernel);

private:
    void completeBlock();
    void convolve(const Kernel& kernel, std::span<float> output);

    const RealTransform& mTransform;
    Kernel mKernel;
    Kernel mNext;
    bool mFades = false;
    size_t mPosition = 0;       ///< in the block
    TransformBuffer mInput;     ///< the block before and the present one
    std::vector<float> mOutput; ///< of the block before
    std::vector<float> mFading;
    std::vector<HalfSpectrum> mSpectra; ///< a ring of the last inputs
    size_t mNewest = 0;
    HalfSpectrum mSum;
    TransformBuffer mConvolved;
};

} // namespace velloria
