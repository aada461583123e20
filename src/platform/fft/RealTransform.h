#pragma once

#include <cstddef>
#include <memory>
#include <span>

struct fftwf_plan_s;

namespace velloria
{

/// Floats that lie as the vector units like them; zeros at first.
class TransformBuffer
{
public:
    explicit TransformBuffer(size_t size);

    std::span<float> values() { return {mData.get(), mSize}; }
    std::span<const float> values() const { return {mData.get(), mSize}; }
    size_t size() const { return mSize; }
    float& operator[](size_t index) { return mData[index]; }
    float operator[](size_t index) const { return mData[index]; }

private:
    struct Deleter {
        void operator()(float* data) const;
    };
    std::unique_ptr<float[], Deleter> mData;
    size_t mSize;
};

/// The lower half of a spectrum, from 0 to half of the sample rate. Both parts lie in one piece of memory,
/// because a plan holds for buffers that are as far apart as those that it was made with.
class HalfSpectrum
{
public:
    explicit HalfSpectrum(size_t numFrames);

    std::span<float> real;
    std::span<float> imaginary;

private:
    TransformBuffer mData;
};

/// The Fourier transform of real numbers in single precision, by FFTW. Neither direction is scaled: there and
/// back multiplies by the size. The same input gives the same bits each time on one machine, because plans
/// are estimated and not measured. One object may be used by several threads at once.
class RealTransform
{
public:
    /// An even number; powers of two are quickest.
    explicit RealTransform(size_t size);

    size_t size() const { return mSize; }
    /// `frames` holds size() numbers, and the spectrum is made for as many.
    void forward(const TransformBuffer& frames, HalfSpectrum& spectrum) const;
    /// The spectrum is used up.
    void inverse(HalfSpectrum& spectrum, TransformBuffer& frames) const;

private:
    struct Deleter {
        void operator()(fftwf_plan_s* plan) const;
    };
    using Plan = std::unique_ptr<fftwf_plan_s, Deleter>;

    size_t mSize;
    Plan mForward;
    Plan mInverse;
};

} // namespace velloria
