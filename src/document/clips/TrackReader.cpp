#include "document/clips/TrackReader.h"

#include "document/clips/SourceReader.h"

#include <algorithm>
#include <vector>

namespace velloria::TrackReader
{

namespace
{

/// One track being read: the clip under the reading position, and how much of it lies behind.
struct Lane {
    ClipList::Cursor cursor;
    int64_t skipped;

    int64_t numFramesLeft() const { return cursor.clip()->numFrames() - skipped; }
    int64_t sourceFrame() const { return cursor.clip()->sourceOffset() + skipped; }
};

std::vector<Lane> lanesAt(std::span<const AudioTrackPtr> tracks, int64_t offset)
{
    std::vector<Lane> lanes;
    for (const AudioTrackPtr& track : tracks) {
        auto cursor = ClipList::Cursor::atFrame(track->clips(), offset);
        const int64_t start = cursor.atEnd() ? 0 : cursor.startFrame();
        lanes.push_back({cursor, offset - start});
    }
    return lanes;
}

/// True when all lanes go on with the same frames of the same file.
bool areTogether(const std::vector<Lane>& lanes)
{
    if (lanes[0].cursor.atEnd() || !lanes[0].cursor.clip()->sourceFile())
        return false;
    return std::all_of(lanes.begin() + 1, lanes.end(), [&](const Lane& lane) {
        return !lane.cursor.atEnd() &&
               lane.cursor.clip()->sourceFile() == lanes[0].cursor.clip()->sourceFile() &&
               lane.sourceFrame() == lanes[0].sourceFrame() &&
               lane.numFramesLeft() == lanes[0].numFramesLeft();
    });
}

/// Frames that were read while the lanes stayed together.
size_t readTogether(std::vector<Lane>& lanes, std::span<float* const> outs, size_t numFrames)
{
    std::vector<SourceReader::Channel> channels(lanes.size());
    size_t done = 0;
    while (done < numFrames && areTogether(lanes)) {
        const auto count = static_cast<size_t>(
            std::min<int64_t>(lanes[0].numFramesLeft(), static_cast<int64_t>(numFrames - done)));
        for (size_t i = 0; i < lanes.size(); ++i)
            channels[i] = {lanes[i].cursor.clip()->channelIndex(), outs[i] + done};
        const SampleSource& source = *lanes[0].cursor.clip()->sourceFile();
        const size_t numRead = SourceReader::read(source, lanes[0].sourceFrame(), channels, count);
        for (const auto& channel : channels)
            std::fill(channel.out + numRead, channel.out + count, 0.0F);
        done += count;
        for (Lane& lane : lanes) {
            lane.cursor.next();
            lane.skipped = 0;
        }
    }
    return done;
}

} // namespace

void readSamples(std::span<const AudioTrackPtr> tracks, int64_t offset, std::span<float* const> outs,
                 size_t numFrames)
{
    size_t done = 0;
    if (offset >= 0 && tracks.size() > 1) {
        std::vector<Lane> lanes = lanesAt(tracks, offset);
        done = readTogether(lanes, outs, numFrames);
    }
    for (size_t i = 0; i < tracks.size(); ++i)
        tracks[i]->readSamples(offset + static_cast<int64_t>(done), {outs[i] + done, numFrames - done});
}

} // namespace velloria::TrackReader
