#pragma once

#include "document/DocumentKit.h"
#include "effects/EffectRegistry.h"
#include "effects/frame/Filter.h"

#include <functional>

/// What the tests of effects share: applying an effect to a document, pulling it in blocks of any sizes, a
/// delegate that writes down what it is told, and inputs with a different signal in each track.
namespace velloria::kit
{

inline SoundSelection framesOf(const SoundDocument& document, int64_t start, int64_t end,
                               int32_t firstTrack = 0, int32_t numTracks = -1)
{
    const double rate = document.sampleRate();
    return {static_cast<double>(start) / rate, static_cast<double>(end) / rate, firstTrack,
            numTracks < 0 ? document.trackCount() - firstTrack : numTracks};
}

inline SoundSelection everythingOf(const SoundDocument& document)
{
    return framesOf(document, 0, document.numberOfFrames());
}

class FilterRecorder : public FilterDelegate
{
public:
    explicit FilterRecorder(int cancelAfter = INT_MAX)
        : mCancelAfter(cancelAfter)
    {
    }

    void filterDidReachProgress(Filter&, double progress) override { progresses.push_back(progress); }
    bool filterShouldCancel(Filter&) override { return ++mNumAsked >= mCancelAfter; }
    void filterDidFinishProgress(Filter&) override { ++numFinished; }
    void filterDidInsertData(Filter&, int64_t offset, int64_t length, int32_t firstTrack,
                             int32_t numTracks) override
    {
        inserted.push_back({offset, length, firstTrack, numTracks});
        if (didInsert)
            didInsert();
    }

    std::vector<double> progresses;
    int numFinished = 0;
    std::vector<std::array<int64_t, 4>> inserted;
    std::function<void()> didInsert;

private:
    int mCancelAfter;
    int mNumAsked = 0;
};

inline std::unique_ptr<Filter> effectNamed(const QString& scriptName)
{
    const EffectEntry* const entry = EffectRegistry::effectWithScriptName(scriptName);
    return entry ? entry->make(entry->menuTitle) : nullptr;
}

inline MaybeError applyTo(const std::shared_ptr<SoundDocument>& document, Filter& filter,
                          const SoundSelection& selection, FilterDelegate* delegate = nullptr)
{
    filter.setSource(std::make_shared<DocumentSource>(document, selection));
    filter.setDelegate(delegate);
    MaybeError error = filter.apply();
    filter.setDelegate(nullptr);
    return error;
}

/// The effect's result over everything, pulled as a preview does in blocks of these sizes in turn.
inline TrackSamples pulled(Filter& filter, const std::shared_ptr<SoundDocument>& document,
                           const std::vector<uint64_t>& blockSizes)
{
    filter.setSource(std::make_shared<DocumentSource>(document));
    filter.begin();
    TrackSamples result(static_cast<size_t>(document->trackCount()));
    SampleBlock block;
    auto remaining = static_cast<uint64_t>(document->numberOfFrames());
    for (size_t i = 0; remaining > 0; ++i) {
        const uint64_t count = std::min(remaining, blockSizes[i % blockSizes.size()]);
        if (!filter.requestDataWithNumFrames(count, block))
            break;
        for (size_t track = 0; track < block.size(); ++track)
            result[track].insert(result[track].end(), block[track].begin(), block[track].end());
        remaining -= count;
    }
    filter.processingFinished();
    return result;
}

/// Noise, a sine, silence, and the extremes of what is finite.
inline TrackSamples differentTracks(size_t numFrames)
{
    TrackSamples tracks = {noise(numFrames, 1), noise(numFrames, 2), FloatBuffer(numFrames),
                           FloatBuffer(numFrames)};
    constexpr float extremes[] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest(),
                                  std::numeric_limits<float>::min(), std::numeric_limits<float>::denorm_min(),
                                  -1.0F};
    for (size_t i = 0; i < numFrames; ++i) {
        tracks[1][i] = std::sin(0.01F * static_cast<float>(i));
        tracks[3][i] = extremes[i % std::size(extremes)];
    }
    return tracks;
}

} // namespace velloria::kit
