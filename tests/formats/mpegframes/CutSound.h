#pragma once

#include "formats/kit/CompressedFileKit.h"
#include "formats/seams/SoundPieces.h"

#include <random>

namespace velloria::test
{

/// The plain model of an edited sound: runs of an opened one, and of another.
class CutSound
{
public:
    struct Part {
        /// None for sound that is not of the file.
        std::optional<int64_t> sourceFrame;
        int64_t numFrames = 0;
    };

    explicit CutSound(const Sound& source)
        : mSource(source)
        , mParts{{0, source.numFrames()}}
    {
    }

    int64_t numFrames() const
    {
        int64_t sum = 0;
        for (const Part& part : mParts)
            sum += part.numFrames;
        return sum;
    }

    void remove(int64_t start, int64_t numFrames)
    {
        const size_t first = split(start);
        const size_t end = split(start + numFrames);
        mParts.erase(mParts.begin() + static_cast<std::ptrdiff_t>(first),
                     mParts.begin() + static_cast<std::ptrdiff_t>(end));
    }
    void crop(int64_t start, int64_t numFrames)
    {
        remove(start + numFrames, this->numFrames() - start - numFrames);
        remove(0, start);
    }
    void insert(int64_t at, const Part& part)
    {
        const size_t place = split(at);
        mParts.insert(mParts.begin() + static_cast<std::ptrdiff_t>(place), part);
    }

    /// As the document tells a writer.
    SoundPieces pieces() const
    {
        SoundPieces pieces;
        int64_t frame = 0;
        for (const Part& part : mParts) {
            if (part.sourceFrame)
                appendPiece(pieces, {frame, *part.sourceFrame, part.numFrames});
            frame += part.numFrames;
        }
        return pieces;
    }

    /// What is not of the file is a soft tone.
    Sound sound() const
    {
        Sound sound{mSource.sampleRate, mSource.numChannels, {}};
        for (const Part& part : mParts) {
            for (int64_t i = 0; i < part.numFrames; ++i) {
                for (size_t c = 0; c < sound.numChannels; ++c) {
                    const auto at = static_cast<size_t>(part.sourceFrame.value_or(0) + i);
                    sound.samples.push_back(part.sourceFrame
                                                ? mSource.samples[at * sound.numChannels + c]
                                                : 0.1F * std::sin(0.05F * static_cast<float>(i)));
                }
            }
        }
        return sound;
    }

    /// Some edits as a person makes them; most keep to a grid.
    void editAtRandom(std::mt19937& random, int64_t grid)
    {
        const auto below = [&random](int64_t limit) {
            return static_cast<int64_t>(random() % static_cast<uint64_t>(std::max<int64_t>(1, limit)));
        };
        const int64_t numEdits = 1 + below(4);
        for (int64_t i = 0; i < numEdits && numFrames() > 8 * grid; ++i) {
            const int64_t at = below(numFrames());
            const int64_t length = grid * (1 + below(6)) + (below(4) == 0 ? below(grid) : 0);
            switch (below(5)) {
            case 0:
                insert(at, {below(mSource.numFrames() - 7 * grid), std::min(length, mSource.numFrames())});
                break;
            case 1:
                insert(at, {std::nullopt, length});
                break;
            case 2:
                crop(below(numFrames() / 4), numFrames() * 3 / 5);
                break;
            default:
                remove(at, std::min(length, numFrames() - at));
            }
        }
    }

private:
    /// The part that begins at a frame, after cutting the one in two that it lies in.
    size_t split(int64_t frame)
    {
        size_t i = 0;
        for (; i < mParts.size() && frame >= mParts[i].numFrames; ++i)
            frame -= mParts[i].numFrames;
        if (frame == 0 || i == mParts.size())
            return i;
        Part behind = mParts[i];
        behind.numFrames -= frame;
        if (behind.sourceFrame)
            *behind.sourceFrame += frame;
        mParts[i].numFrames = frame;
        mParts.insert(mParts.begin() + static_cast<std::ptrdiff_t>(i) + 1, behind);
        return i + 1;
    }

    const Sound& mSource;
    std::vector<Part> mParts;
};

} // namespace velloria::test
