#include "document/clips/AudioTrack.h"

#include "document/clips/FrameNumbers.h"
#include "document/clips/SampleKernels.h"
#include "platform/Log.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// More columns than any screen has, and few enough to allocate.
constexpr double kMaxColumns = 16.0 * 1024 * 1024;

} // namespace

AudioTrack::AudioTrack(ClipList clips)
    : mClips(std::move(clips))
{
}

AudioTrackPtr AudioTrack::trackWithTrack(const AudioTrack& track)
{
    return std::make_shared<AudioTrack>(track);
}

void AudioTrack::setClips(ClipList clips)
{
    mClips = std::move(clips);
}

void AudioTrack::addClip(AudioClipPtr clip)
{
    mClips = mClips.joinedWith(ClipList(std::move(clip)));
}

double AudioTrack::volume() const
{
    return 20.0 * std::log10(mScalarVolume);
}

void AudioTrack::setVolume(double volumeDB)
{
    mScalarVolume = std::pow(10.0, volumeDB / 20.0);
}

int64_t AudioTrack::indexAndOffset(int64_t& startFrame, int64_t targetOffset, const ClipList& clips)
{
    const ClipList::Position position = clips.find(targetOffset);
    startFrame = position.startFrame;
    if (position.index < 0) {
        logLine(QStringLiteral(
            "[AudioTrack indexAndOffset:ofClipContainingOffset:inClips]: clip not found: target "
            "offset out of range."));
    }
    return position.index;
}

ClipList AudioTrack::clipsAtOffset(int64_t offset, int64_t length) const
{
    const int64_t count = std::min(length, this->length() - offset);
    if (count < 1)
        return {};
    int64_t firstStart = 0;
    int64_t lastStart = 0;
    const int64_t first = indexAndOffset(firstStart, offset, mClips);
    const int64_t last = indexAndOffset(lastStart, offset + count - 1, mClips);
    if (first < 0 || last < 0) {
        logLine(QStringLiteral("[AudioTrack clipsAtOffset:length:] i1 or i2 is -1"));
        return {};
    }
    const AudioClipPtr firstClip = mClips.at(first);
    if (first == last)
        return ClipList(firstClip->subdataWithOffset(offset - firstStart, count));
    const int64_t skipped = offset - firstStart;
    const ClipList head(firstClip->subdataWithOffset(skipped, firstClip->numFrames() - skipped));
    const ClipList tail(mClips.at(last)->subdataWithOffset(0, offset + count - lastStart));
    return head.joinedWith(mClips.slice(first + 1, last - first - 1)).joinedWith(tail);
}

void AudioTrack::insertClip(AudioClipPtr clip, int64_t offset)
{
    insertClips(ClipList(std::move(clip)), offset);
}

void AudioTrack::insertClips(const ClipList& clips, int64_t offset)
{
    if (clips.isEmpty())
        return;
    const int64_t gap = offset - length();
    if (gap >= 0) {
        if (gap >= 1)
            addClip(std::make_shared<AudioClip>(gap));
        mClips = mClips.joinedWith(clips);
        return;
    }
    int64_t start = 0;
    const int64_t index = indexAndOffset(start, offset, mClips);
    if (index < 0)
        return;
    if (start == offset) {
        mClips = mClips.inserting(index, clips);
        return;
    }
    const AudioClipPtr split = mClips.at(index);
    const int64_t headFrames = offset - start;
    const ClipList head(split->subdataWithOffset(0, headFrames));
    const ClipList tail(split->subdataWithOffset(headFrames, split->numFrames() - headFrames));
    mClips = mClips.replacing(index, 1, head.joinedWith(clips).joinedWith(tail));
}

void AudioTrack::removeDataAtOffset(int64_t offset, int64_t length)
{
    const int64_t count = std::min(this->length() - offset, length);
    if (count < 1)
        return;
    const int64_t end = offset + count;
    const ClipList::Position first = mClips.find(offset);
    const ClipList::Position last = mClips.find(end - 1);
    if (first.index < 0 || last.index < 0)
        return;
    const AudioClipPtr firstClip = mClips.at(first.index);
    const AudioClipPtr lastClip = mClips.at(last.index);
    const int64_t headFrames = offset - first.startFrame;
    const int64_t tailOffset = end - last.startFrame;
    const int64_t tailFrames = lastClip->numFrames() - tailOffset;
    // A range over several clips leaves a piece at both its ends, even one without frames; a range within one
    // clip leaves only pieces that have frames.
    const bool severalClips = first.index != last.index;
    std::vector<AudioClipPtr> pieces;
    if (severalClips || headFrames > 0)
        pieces.push_back(firstClip->subdataWithOffset(0, headFrames));
    if (severalClips || tailFrames > 0)
        pieces.push_back(lastClip->subdataWithOffset(tailOffset, tailFrames));
    mClips = mClips.replacing(first.index, last.index - first.index + 1, ClipList(pieces));
}

void AudioTrack::readSamples(int64_t offset, std::span<float> out) const
{
    size_t done = 0;
    if (offset < 0) {
        done = static_cast<size_t>(std::min<uint64_t>(out.size(), 0 - static_cast<uint64_t>(offset)));
        std::fill_n(out.begin(), done, 0.0F);
    }
    int64_t skipped = std::max<int64_t>(0, offset);
    auto cursor = ClipList::Cursor::atFrame(mClips, skipped);
    if (!cursor.atEnd())
        skipped -= cursor.startFrame();
    for (; done < out.size() && !cursor.atEnd(); cursor.next(), skipped = 0) {
        const AudioClip& clip = *cursor.clip();
        const auto count = static_cast<size_t>(
            std::min(clip.numFrames() - skipped, static_cast<int64_t>(out.size() - done)));
        // What a source does not have becomes zeros, so that the clips after it stay in their places.
        clip.readSamples(skipped, out.subspan(done, count));
        done += count;
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(done), out.end(), 0.0F);
}

FloatBuffer AudioTrack::sampleDataAtOffset(int64_t offset, int64_t numFrames) const
{
    FloatBuffer samples(static_cast<size_t>(std::max<int64_t>(0, numFrames)));
    readSamples(offset, samples);
    return samples;
}

AudioTrack::StereoGains AudioTrack::stereoGains() const
{
    const auto gain = static_cast<float>(mScalarVolume);
    const auto pan = static_cast<float>(mPan);
    if (pan < 0.0F)
        return {gain, (pan + 1.0F) * gain};
    if (pan > 0.0F)
        return {(1.0F - pan) * gain, gain};
    return {gain, gain};
}

FloatBuffer AudioTrack::stereoDataAtOffset(int64_t offset, int64_t numFrames) const
{
    const FloatBuffer samples = sampleDataAtOffset(offset, numFrames);
    const StereoGains gains = stereoGains();
    FloatBuffer stereo(2 * samples.size());
    SampleKernels::spreadToStereo(samples.data(), gains.left, gains.right, stereo.data(), samples.size());
    return stereo;
}

bool AudioTrack::getMin(double& min, double& max, int64_t offset, int64_t numFrames) const
{
    if (offset < 0)
        return false;
    min = 100.0;
    max = -100.0;
    int64_t skipped = offset;
    int64_t left = numFrames;
    auto cursor = ClipList::Cursor::atFrame(mClips, offset);
    if (!cursor.atEnd())
        skipped -= cursor.startFrame();
    for (; left > 0 && !cursor.atEnd(); cursor.next(), skipped = 0) {
        const AudioClip& clip = *cursor.clip();
        const int64_t count = std::min(clip.numFrames() - skipped, left);
        double clipMin = 0.0;
        double clipMax = 0.0;
        if (!clip.getMin(clipMin, clipMax, skipped, count))
            return false;
        min = std::min(min, clipMin);
        max = std::max(max, clipMax);
        left -= count;
    }
    return true;
}

FloatBuffer AudioTrack::minMaxDataAtOffset(double offset, double numFrames, double stride) const
{
    const double numColumns = std::ceil(numFrames / stride);
    if (!(numColumns >= 1.0 && numColumns <= kMaxColumns))
        return {};
    FloatBuffer pairs(2 * static_cast<size_t>(numColumns));
    const int64_t length = this->length();
    const int64_t numFilled = std::min(static_cast<int64_t>(numColumns), length);
    for (int64_t column = 0; column < numFilled; ++column) {
        const double position = offset + static_cast<double>(column) * stride;
        const int64_t first = roundedFrame(position);
        const int64_t end = roundedFrame(position + stride);
        if (first >= length)
            continue;
        double min = 0.0;
        double max = 0.0;
        const bool known = getMin(min, max, first, std::max<int64_t>(1, end - first));
        pairs[static_cast<size_t>(2 * column)] = known ? static_cast<float>(min) : 1.0F;
        pairs[static_cast<size_t>(2 * column + 1)] = known ? static_cast<float>(max) : -1.0F;
    }
    return pairs;
}

} // namespace velloria
