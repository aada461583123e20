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

/// Both are a pair of floats.
fftwf_complex* forLibrary(std::span<HalfSpectrum::Bin> bins)
{
    return reinterpret_cast<fftwf_complex*>(bins.data());
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
    : mSize(numFrames / 2 + 1)
    , mBins(static_cast<Bin*>(fftwf_malloc(mSize * sizeof(Bin))))
{
    std::fill_n(mBins.get(), mSize, Bin());
}

void HalfSpectrum::Deleter::operator()(Bin* bins) const
{
    fftwf_free(bins);
}

RealTransform::RealTransform(size_t size)
    : mSize(size)
{
    TransformBuffer frames(size);
    HalfSpectrum spectrum(size);
    float* const time = frames.values().data();
    fftwf_complex* const bins = forLibrary(spectrum.bins());
    const std::lock_guard lock(planner());
    mForward.reset(fftwf_plan_dft_r2c_1d(static_cast<int>(size), time, bins, FFTW_ESTIMATE));
    mInverse.reset(fftwf_plan_dft_c2r_1d(static_cast<int>(size), bins, time, FFTW_ESTIMATE));
}

void RealTransform::forward(const TransformBuffer& frames, HalfSpectrum& spectrum) const
{
    // It takes what it only reads as if it wrote there.
    auto* const time = const_cast<float*>(frames.values().data());
    fftwf_execute_dft_r2c(mForward.get(), time, forLibrary(spectrum.bins()));
}

void RealTransform::inverse(HalfSpectrum& spectrum, TransformBuffer& frames) const
{
    fftwf_execute_dft_c2r(mInverse.get(), forLibrary(spectrum.bins()), frames.values().data());
}

} // namespace velloria
