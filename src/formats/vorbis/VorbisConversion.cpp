#include "formats/vorbis/VorbisConversion.h"

#include "formats/decoding/SectionRing.h"
#include "formats/vorbis/VorbisChannels.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Going to a section's start costs a search, so sections are long.
constexpr int64_t samplesPerSection = int64_t{1} << 20;
// Frames that two sections both decode, to see that they agree: more than two blocks of the transform share.
constexpr int64_t overlapFrames = 256;
// Each stream that is open holds the comments; pictures among them would add up.
constexpr int64_t mostCommentBytes = int64_t{2} << 20;
constexpr int64_t silencePerAppend = 65536;

} // namespace

/// A run of frames and the first ones of the next run, one buffer a channel of the file.
struct VorbisConversion::Section {
    int64_t firstFrame = 0;
    int64_t numFrames = 0;
    std::vector<std::vector<float>> channels;
    bool isSound = false;

    using Frames = std::vector<std::vector<float>>;

    /// The first frames of the next section.
    Frames tail() const
    {
        Frames frames;
        for (const std::vector<float>& channel : channels)
            frames.emplace_back(channel.begin() + numFrames, channel.end());
        return frames;
    }

    /// True when the section begins with just these frames.
    bool beginsWith(const Frames& frames) const
    {
        const auto begins = [](const std::vector<float>& channel, const std::vector<float>& start) {
            return start.size() <= channel.size() && std::equal(start.begin(), start.end(), channel.begin());
        };
        return std::equal(channels.begin(), channels.end(), frames.begin(), frames.end(), begins);
    }
};

VorbisConversion::VorbisConversion(VorbisStream& stream)
    : mStream(stream)
    , mWriter(static_cast<int32_t>(stream.numChannels()), stream.sampleRate())
{
    for (const auto& clip : mWriter.clips())
        clip->setStoredSamples({0, false, true});
}

MaybeError VorbisConversion::run(Progress& progress)
{
    MaybeError error;
    if (!decodeSections(progress, &error)) {
        mNumFramesToDrop = mNumFrames;
        error = decodeInOrder(progress);
    }
    return error ? error : mWriter.finish();
}

/// False when the file cannot be decoded that way: it is short or damaged, or its sections do not join.
bool VorbisConversion::decodeSections(Progress& progress, MaybeError* error)
{
    const size_t numLanes = SectionRing::numLanesWorthwhile();
    const int64_t total = mStream.numFrames();
    const int64_t sectionFrames =
        std::max(2 * overlapFrames, samplesPerSection / static_cast<int64_t>(mStream.numChannels()));
    const int64_t numSections = (total + sectionFrames - 1) / sectionFrames;
    if (numLanes < 2 || numSections < 3 || mStream.commentBytes() > mostCommentBytes)
        return false;
    std::vector<std::unique_ptr<VorbisStream>> streams(numLanes);
    std::vector<Section> sections(SectionRing::numSlots(numLanes));
    SectionRing ring(numLanes, numSections, [&](size_t lane, size_t slot, int64_t index) {
        if (!streams[lane])
            streams[lane] = mStream.another();
        Section& section = sections[slot];
        section.firstFrame = index * sectionFrames;
        section.numFrames = std::min(sectionFrames, total - section.firstFrame);
        section.isSound = decodeSection(*streams[lane], section);
    });
    std::optional<Section::Frames> tail;
    while (const auto slot = ring.next()) {
        const Section& section = sections[*slot];
        if (!section.isSound || (tail && !section.beginsWith(*tail)))
            return false;
        tail = section.tail();
        std::vector<const float*> channels;
        for (const std::vector<float>& channel : section.channels)
            channels.push_back(channel.data());
        *error = take(channels, section.numFrames);
        if (!*error)
            *error = tellProgress(progress);
        if (*error)
            return true;
    }
    return true;
}

bool VorbisConversion::decodeSection(VorbisStream& stream, Section& section) const
{
    const int64_t numWanted =
        std::min(section.numFrames + overlapFrames, mStream.numFrames() - section.firstFrame);
    section.channels.resize(stream.numChannels());
    for (std::vector<float>& channel : section.channels) {
        channel.clear();
        channel.reserve(static_cast<size_t>(numWanted) + 1024);
    }
    if (section.firstFrame > 0 && !stream.seek(section.firstFrame))
        return false;
    int64_t numRead = 0;
    float** channels = nullptr;
    while (numRead < numWanted) {
        const int64_t count = stream.read(&channels);
        if (count == 0 || stream.isDamaged() || stream.framePosition() != section.firstFrame + numRead)
            return false;
        for (size_t c = 0; c < section.channels.size(); ++c)
            section.channels[c].insert(section.channels[c].end(), channels[c], channels[c] + count);
        numRead += count;
    }
    for (std::vector<float>& channel : section.channels)
        channel.resize(static_cast<size_t>(numWanted));
    // The positions in the file may promise less than there is.
    const bool isLast = section.firstFrame + numWanted == mStream.numFrames();
    return !isLast || (numRead == numWanted && stream.read(&channels) == 0);
}

MaybeError VorbisConversion::decodeInOrder(Progress& progress)
{
    float** channels = nullptr;
    int64_t nextFrame = 0;
    while (const int64_t count = mStream.read(&channels)) {
        MaybeError error;
        const int64_t numMissing = mStream.framePosition() - nextFrame;
        if (mStream.isDamaged() && numMissing > 0) {
            const int64_t silence = std::min(numMissing, mStream.numFrames() - count - nextFrame);
            error = takeSilence(silence);
            nextFrame += std::max<int64_t>(0, silence);
        }
        nextFrame += count;
        if (!error)
            error = take({channels, mStream.numChannels()}, count);
        if (!error)
            error = tellProgress(progress);
        if (error)
            return error;
    }
    return std::nullopt;
}

MaybeError VorbisConversion::takeSilence(int64_t numFrames)
{
    const std::vector<float> silence(silencePerAppend);
    const std::vector<const float*> channels(mStream.numChannels(), silence.data());
    MaybeError error;
    while (!error && numFrames > 0) {
        const int64_t count = std::min(numFrames, silencePerAppend);
        error = take(channels, count);
        numFrames -= count;
    }
    return error;
}

/// `channels` in the order of the file.
MaybeError VorbisConversion::take(std::span<const float* const> channels, int64_t numFrames)
{
    const int64_t numFramesToDrop = std::min(numFrames, mNumFramesToDrop);
    mNumFramesToDrop -= numFramesToDrop;
    numFrames -= numFramesToDrop;
    std::vector<const float*> tracks;
    for (size_t c = 0; c < channels.size(); ++c)
        tracks.push_back(channels[vorbisChannel(c, channels.size())] + numFramesToDrop);
    mNumFrames += numFrames;
    return mWriter.append(tracks, static_cast<size_t>(numFrames));
}

/// The user-cancelled error when that was asked for.
MaybeError VorbisConversion::tellProgress(Progress& progress) const
{
    if (mStream.numFrames() > 0)
        progress.setProgressValue(
            std::min(1.0, static_cast<double>(mNumFrames) / static_cast<double>(mStream.numFrames())));
    return progress.isCancelled() ? MaybeError(Error::cancelled()) : std::nullopt;
}

} // namespace velloria
