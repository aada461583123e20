#include "platform/fft/RealTransform.h"

#include <algorithm>
#include <fftw3.h>
#include <mutex>

namespace velloria
{

namespace
{

/// Making and destroying plans is the only thing in FFTW that threads must not do at once.
std::mutex& planner()
{
    static std::mutex mutex;
    return mutex;
}

/// So many floats that the next ones are aligned for vectors, too.
size_t alignedSize(size_t size)
{
    constexpr size_t kFloatsInVector = 16;
    return (size + kFloatsInVector - 1) / kFloatsInVector * kFloatsInVector;
}

} // namespace

TransformBuffer::TransformBuffer(size_t size)
    : mData(static_cast<float*>(fftwf_malloc(size * sizeof(float))))
    , mSize(size)
{
    std::fill_n(mData.get(), size, 0.0F);
}

void TransformBuffer::Deleter::operator()(float* data) const
{
    fftwf_free(data);
}

void RealTransform::Deleter::operator()(fftwf_plan_s* plan) const
{
    const std::lock_guard lock(planner());
    fftwf_destroy_plan(plan);
}

HalfSpectrum::HalfSpectrum(size_t numFrames)
    : mData(2 * alignedSize(numFrames / 2 + 1))
{
    real = mData.values().first(numFrames / 2 + 1);
    imaginary = mData.values().subspan(alignedSize(numFrames / 2 + 1), numFrames / 2 + 1);
}

RealTransform::RealTransform(size_t size)
    : mSize(size)
{
    TransformBuffer frames(size);
    HalfSpectrum spectrum(size);
    float* const time = frames.values().data();
    float* const real = spectrum.real.data();
    float* const imaginary = spectrum.imaginary.data();
    const fftwf_iodim dimension = {static_cast<int>(size), 1, 1};
    const std::lock_guard lock(planner());
    mForward.reset(
        fftwf_plan_guru_split_dft_r2c(1, &dimension, 0, nullptr, time, real, imaginary, FFTW_ESTIMATE));
    mInverse.reset(
        fftwf_plan_guru_split_dft_c2r(1, &dimension, 0, nullptr, real, imaginary, time, FFTW_ESTIMATE));
}

void RealTransform::forward(const TransformBuffer& frames, HalfSpectrum& spectrum) const
{
    // It takes what it only reads as if it wrote there.
    auto* const time = const_cast<float*>(frames.values().data());
    fftwf_execute_split_dft_r2c(mForward.get(), time, spectrum.real.data(), spectrum.imaginary.data());
}

void RealTransform::inverse(HalfSpectrum& spectrum, TransformBuffer& frames) const
{
    fftwf_execute_split_dft_c2r(mInverse.get(), spectrum.real.data(), spectrum.imaginary.data(),
                                frames.values().data());
}

} // namespace velloria
