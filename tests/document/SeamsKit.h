#pragma once

#include "document/KeptSoundKit.h"
#include "document/UndoGroup.h"

#include <functional>

namespace velloria::kit
{

/// A document that is edited beside a plain model: its samples, and which frame of the opened file each one
/// is.
class EditedSound
{
public:
    /// What is computed lies on a grid of `bits`, so that it is the same in a file of that size.
    EditedSound(std::shared_ptr<SoundDocument> document, int bits, unsigned seed)
        : mDocument(std::move(document))
        , mScale(std::ldexp(1.0F, bits - 1))
        , mRandom(seed)
    {
        mSamples = samplesOf(*mDocument);
        for (int64_t frame = 0; frame < length(); ++frame)
            mOrigins.push_back(frame);
    }

    SoundDocument& document() const { return *mDocument; }
    const TrackSamples& samples() const { return mSamples; }
    /// One a frame; -1 for what is not of the file.
    const std::vector<int64_t>& origins() const { return mOrigins; }
    int64_t length() const { return std::ssize(mSamples.front()); }

    void cut(int64_t at, int64_t count)
    {
        replace(at, count, [](int32_t) { return ClipList(); });
        mOrigins.erase(mOrigins.begin() + at, mOrigins.begin() + at + count);
        for (FloatBuffer& samples : mSamples)
            samples.erase(samples.begin() + at, samples.begin() + at + count);
    }

    void paste(int64_t from, int64_t count, int64_t at)
    {
        replace(at, 0, [&](int32_t track) {
            return (*mDocument->audioTracks())[static_cast<size_t>(track)]->clipsAtOffset(from, count);
        });
        insertCopy(mOrigins, from, count, at);
        for (FloatBuffer& samples : mSamples)
            insertCopy(samples, from, count, at);
    }

    /// What an effect does: other samples in the place of some.
    void compute(int64_t at, int64_t count)
    {
        TrackSamples computed;
        for (size_t track = 0; track < mSamples.size(); ++track) {
            computed.push_back(noise(static_cast<size_t>(count), static_cast<unsigned>(mRandom())));
            for (float& sample : computed.back())
                sample = std::round(sample * mScale) / mScale;
            std::copy(computed.back().begin(), computed.back().end(), mSamples[track].begin() + at);
        }
        replace(at, count, [&](int32_t track) {
            return ClipList(AudioClipPtr(clipOf(computed[static_cast<size_t>(track)])));
        });
        std::fill_n(mOrigins.begin() + at, count, int64_t{-1});
    }

    void editAtRandom(int64_t longest)
    {
        const int64_t at = random(0, length() - 1);
        const int64_t count = random(1, std::min(longest, length() - at));
        switch (random(0, 3)) {
        case 0:
        case 1:
            if (count < length())
                cut(at, count);
            break;
        case 2:
            paste(at, count, random(0, length()));
            break;
        default:
            compute(at, count);
        }
    }

    int64_t random(int64_t least, int64_t most)
    {
        return std::uniform_int_distribution<int64_t>(least, most)(mRandom);
    }

private:
    static TrackSamples samplesOf(const SoundDocument& document)
    {
        TrackSamples samples;
        for (int32_t track = 0; track < document.trackCount(); ++track)
            samples.push_back(document.sampleDataAtOffset(0, document.numberOfFrames(), track));
        return samples;
    }

    template <typename Value>
    static void insertCopy(std::vector<Value>& values, int64_t from, int64_t count, int64_t at)
    {
        const std::vector<Value> copied(values.begin() + from, values.begin() + from + count);
        values.insert(values.begin() + at, copied.begin(), copied.end());
    }

    void replace(int64_t at, int64_t count, const std::function<ClipList(int32_t)>& clips)
    {
        std::vector<ClipList> lists;
        for (int32_t track = 0; track < mDocument->trackCount(); ++track)
            lists.push_back(clips(track));
        const UndoGroup group(*mDocument, QStringLiteral("Edit"));
        for (int32_t track = 0; track < mDocument->trackCount(); ++track)
            mDocument->replaceDataAtOffset(at, count, track, lists[static_cast<size_t>(track)]);
    }

    std::shared_ptr<SoundDocument> mDocument;
    float mScale;
    std::mt19937 mRandom;
    TrackSamples mSamples;
    std::vector<int64_t> mOrigins;
};

/// Interleaved integers of a model, as another program should decode them.
inline std::vector<int32_t> integersOf(const TrackSamples& samples, int bits)
{
    std::vector<int32_t> integers;
    for (size_t frame = 0; frame < samples.front().size(); ++frame)
        for (const FloatBuffer& track : samples)
            integers.push_back(static_cast<int32_t>(std::lround(std::ldexp(track[frame], bits - 1))));
    return integers;
}

/// Files of one kind of packets that are edited and saved elsewhere.
class SeamsTest : public KeptSoundTest
{
protected:
    SaveRequest copyTo(const SoundDocument& document, const std::string& name) const
    {
        SaveRequest request = requestFor(document, name);
        request.operation = SaveOperation::saveTo;
        return request;
    }

    /// Interleaved, as ffmpeg decodes a lossless file.
    std::vector<int32_t> decodedByFfmpeg(const std::string& name, int bits) const
    {
        const QByteArray raw =
            run("ffmpeg", {"-v", "error", "-i", QString::fromStdString(name), "-f", "s32le", "-"});
        std::vector<int32_t> integers(static_cast<size_t>(raw.size()) / sizeof(int32_t));
        std::memcpy(integers.data(), raw.constData(), integers.size() * sizeof(int32_t));
        for (int32_t& integer : integers)
            integer >>= 32 - bits;
        return integers;
    }
};

} // namespace velloria::kit
