#include "document/clips/MutableAudioClip.h"

#include "document/clips/ComputedSound.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>
#include <utility>

namespace velloria
{

namespace
{

constexpr int64_t kBytesPerFrame = sizeof(float);
constexpr int64_t kFramesPerRead = 65536;

} // namespace

MutableAudioClip::MutableAudioClip()
    : MutableAudioClip(44100.0)
{
}

MutableAudioClip::MutableAudioClip(double sampleRate)
    : AudioClip(std::make_shared<Scratch>(this, sampleRate))
{
}

MutableAudioClip::MutableAudioClip(const MutableAudioClip& whole, int64_t offset, int64_t numFrames)
    : AudioClip(whole, offset, numFrames)
{
}

std::shared_ptr<MutableAudioClip> MutableAudioClip::clipWithSampleRate(double sampleRate)
{
    return std::make_shared<MutableAudioClip>(sampleRate);
}

int64_t MutableAudioClip::headerLength() const
{
    return scratch().hasFile.load(std::memory_order_acquire) ? scratch()._headerLength : 0;
}

const std::shared_ptr<TempFile>& MutableAudioClip::tempFile() const
{
    static const std::shared_ptr<TempFile> none;
    return scratch().hasFile.load(std::memory_order_acquire) ? scratch()._tempFile : none;
}

void MutableAudioClip::setLabel(std::shared_ptr<const ScratchLabel> label, int32_t track)
{
    scratch().label = std::move(label);
    scratch().track = track;
}

bool MutableAudioClip::isGrowing() const
{
    return scratch().producer == this && !scratch().isFinished.load(std::memory_order_acquire);
}

void MutableAudioClip::addSourcesTo(SourceWatch& watch) const
{
    if (tempFile())
        watch.add(tempFile());
}

MaybeError MutableAudioClip::createFile()
{
    MaybeError error;
    QByteArray note;
    if (const auto label = std::exchange(scratch().label, nullptr))
        note = ScratchTrackLabel{*label, scratch().track}.toNote();
    scratch()._tempFile = TempFile::create(scratch()._sampleRate, &error, note);
    if (!scratch()._tempFile)
        return error.value_or(Error{Error::Code::writeFailed, {}});
    scratch()._headerLength = scratch()._tempFile->length();
    scratch().hasFile.store(true, std::memory_order_release);
    return std::nullopt;
}

MaybeError MutableAudioClip::appendData(std::span<const float> samples)
{
    MaybeError& error = scratch().error;
    if (!error && !tempFile())
        error = createFile();
    if (!error)
        error = tempFile()->appendData(samples);
    if (error)
        return error;
    _waveformCache.appendFloatData(samples);
    if (!scratch().isLoud.load(std::memory_order_relaxed) && ComputedSound::exceedFullScale(samples))
        scratch().isLoud.store(true, std::memory_order_relaxed);
    // Released after file and summary, so that whoever sees the new length finds both.
    _numFrames.store((tempFile()->length() - headerLength()) / kBytesPerFrame, std::memory_order_release);
    return std::nullopt;
}

void MutableAudioClip::finalizeCache()
{
    _waveformCache.finalizeCache();
    scratch().isFinished.store(true, std::memory_order_release);
}

bool MutableAudioClip::exceedsFullScale() const
{
    if (!scratch().isLoud.load(std::memory_order_relaxed))
        return false;
    FloatBuffer samples;
    for (int64_t offset = 0; offset < numFrames(); offset += kFramesPerRead) {
        samples.resize(static_cast<size_t>(std::min(kFramesPerRead, numFrames() - offset)));
        readSamples(offset, samples);
        if (ComputedSound::exceedFullScale(samples))
            return true;
    }
    return false;
}

int64_t MutableAudioClip::readSamples(int64_t offset, std::span<float> out) const
{
    int64_t numRead = 0;
    if (const auto& file = tempFile()) {
        const int64_t position = headerLength() + (offset + _sourceOffset) * kBytesPerFrame;
        numRead = file->dataAtOffset(position, std::as_writable_bytes(out)) / kBytesPerFrame;
    }
    std::fill(out.begin() + numRead, out.end(), 0.0F);
    return numRead;
}

FloatBuffer MutableAudioClip::sampleDataAtOffset(int64_t offset, int64_t numFrames) const
{
    FloatBuffer samples(static_cast<size_t>(std::max<int64_t>(0, numFrames)));
    samples.resize(static_cast<size_t>(readSamples(offset, samples)));
    return samples;
}

AudioClipPtr MutableAudioClip::subdataWithOffset(int64_t offset, int64_t numFrames) const
{
    return std::make_shared<MutableAudioClip>(*this, offset, numFrames);
}

AudioClipPtr MutableAudioClip::clipWithPromisedLength(int64_t numFrames) const
{
    auto clip = std::make_shared<MutableAudioClip>(*this, 0, 0);
    clip->_numFrames.store(numFrames, std::memory_order_relaxed);
    clip->_waveformCache = _waveformCache.subdataWithOffset(0, numFrames);
    return clip;
}

} // namespace velloria
