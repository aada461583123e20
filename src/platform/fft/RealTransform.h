#pragma once

#include <complex>
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

/// The lower half of a spectrum: numFrames / 2 + 1 bins from 0 to half of the sample rate.
class HalfSpectrum
{
public:
    using Bin = std::complex<float>;

    explicit HalfSpectrum(size_t numFrames);

    std::span<Bin> bins() { return {mBins.get(), mSize}; }
    std::span<const Bin> bins() const { return {mBins.get(), mSize}; }
    size_t size() const { return mSize; }
    Bin& operator[](size_t bin) { return mBins[bin]; }
    const Bin& operator[](size_t bin) const { return mBins[bin]; }

private:
    struct Deleter {
        void operator()(Bin* bins) const;
    };
    size_t mSize;
    std::unique_ptr<Bin[], Deleter> mBins;
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
