#include "measurement/AverageSpectrum.h"

#include "document/clips/SourceWatch.h"
#include "platform/DispatchQueue.h"
#include "platform/fft/RealTransform.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velloria
{

namespace
{

/// As many pieces are added up by one job. A fixed number, so that the sums do not depend on the cores.
constexpr int64_t kPiecesPerJob = 32;
/// Between two looks at Cancel.
constexpr int64_t kJobsPerRound = 8;

/// The pieces that a sound is cut into.
class Pieces
{
public:
    Pieces(int64_t offset, int64_t numFrames, size_t size)
        : mOffset(offset)
        , mNumFrames(numFrames)
        , mLength(std::min(numFrames, static_cast<int64_t>(size)))
        , mHop(std::max<int64_t>(1, mLength / 2))
        , mCount(numFrames < 1 ? 0 : (numFrames - mLength + mHop - 1) / mHop + 1)
    {
    }

    int64_t count() const { return mCount; }
    int64_t length() const { return mLength; }
    int64_t start(int64_t piece) const { return mOffset + std::min(piece * mHop, mNumFrames - mLength); }

private:
    int64_t mOffset;
    int64_t mNumFrames;
    int64_t mLength;
    int64_t mHop;
    int64_t mCount;
};

/// Adds up the powers of one track.
class PowerSum
{
public:
    PowerSum(const AudioTrack& track, const Pieces& pieces, const RealTransform& transform,
             std::span<const float> weights)
        : mTrack(track)
        , mPieces(pieces)
        , mTransform(transform)
        , mWeights(weights)
    {
    }

    std::vector<double> ofPieces(int64_t first, int64_t end) const
    {
        std::vector<double> powers(mTransform.size() / 2 + 1, 0.0);
        FloatBuffer samples(mWeights.size());
        TransformBuffer frames(mTransform.size());
        HalfSpectrum spectrum(mTransform.size());
        for (int64_t piece = first; piece < end; ++piece) {
            mTrack.readSamples(mPieces.start(piece), samples);
            for (size_t i = 0; i < samples.size(); ++i)
                frames[i] = std::fabs(samples[i]) <= FLT_MAX ? samples[i] * mWeights[i] : 0.0F;
            mTransform.forward(frames, spectrum);
            for (size_t bin = 0; bin < powers.size(); ++bin) {
                const auto real = static_cast<double>(spectrum[bin].real());
                const auto imaginary = static_cast<double>(spectrum[bin].imag());
                powers[bin] += real * real + imaginary * imaginary;
            }
        }
        return powers;
    }

private:
    const AudioTrack& mTrack;
    const Pieces& mPieces;
    const RealTransform& mTransform;
    std::span<const float> mWeights;
};

/// The mean power of a piece as a level. All bins but the first and the last stand for two.
std::vector<float> levelsOfPowers(const std::vector<double>& powers, int64_t numPieces)
{
    std::vector<float> levels(powers.size(), AverageSpectrum::lowestLevelDB);
    for (size_t bin = 0; bin < powers.size(); ++bin) {
        const bool isAtEdge = bin == 0 || bin + 1 == powers.size();
        const double power =
            powers[bin] * (isAtEdge ? 1.0 : 4.0) / static_cast<double>(std::max<int64_t>(numPieces, 1));
        if (power > 0.0)
            levels[bin] =
                std::max(AverageSpectrum::lowestLevelDB, static_cast<float>(10.0 * std::log10(power)));
    }
    return levels;
}

/// The sums of all tracks; nothing when it was cancelled.
std::vector<std::vector<double>> sumPowers(std::span<const AudioTrackPtr> tracks, const Pieces& pieces,
                                           const SpectrumSettings& settings, Progress& progress)
{
    const RealTransform transform(settings.size);
    const std::vector<float> weights = windowWeights(settings.window, static_cast<size_t>(pieces.length()));
    std::vector<std::vector<double>> sums(tracks.size(), std::vector<double>(settings.size / 2 + 1, 0.0));
    for (int64_t first = 0; first < pieces.count(); first += kPiecesPerJob * kJobsPerRound) {
        if (progress.isCancelled())
            return {};
        const int64_t end = std::min(pieces.count(), first + kPiecesPerJob * kJobsPerRound);
        const auto numJobs = static_cast<int>((end - first + kPiecesPerJob - 1) / kPiecesPerJob);
        for (size_t track = 0; track < tracks.size(); ++track) {
            const PowerSum sum(*tracks[track], pieces, transform, weights);
            std::vector<std::vector<double>> parts(static_cast<size_t>(numJobs));
            runConcurrently(numJobs, [&](int job) {
                const int64_t start = first + job * kPiecesPerJob;
                parts[static_cast<size_t>(job)] = sum.ofPieces(start, std::min(end, start + kPiecesPerJob));
            });
            for (const std::vector<double>& part : parts)
                for (size_t bin = 0; bin < part.size(); ++bin)
                    sums[track][bin] += part[bin];
        }
        progress.setProgressValue(static_cast<double>(end) / static_cast<double>(pieces.count()));
    }
    return sums;
}

} // namespace

std::optional<AverageSpectrum> AverageSpectrum::ofTracks(std::span<const AudioTrackPtr> tracks,
                                                         double sampleRate, int64_t offset, int64_t numFrames,
                                                         const SpectrumSettings& settings, Progress& progress,
                                                         MaybeError* error)
{
    const SourceWatch watch(tracks);
    const Pieces pieces(offset, numFrames, settings.size);
    const std::vector<std::vector<double>> sums = sumPowers(tracks, pieces, settings, progress);
    const MaybeError failure = progress.isCancelled() ? Error::cancelled() : watch.error();
    if (failure) {
        if (error)
            *error = failure;
        return std::nullopt;
    }
    AverageSpectrum result;
    result.mSampleRate = sampleRate;
    for (const std::vector<double>& powers : sums)
        result.mLevels.push_back(levelsOfPowers(powers, pieces.count()));
    return result;
}

AverageSpectrum::Peak AverageSpectrum::peakAtBin(size_t track, size_t bin) const
{
    const std::vector<float>& levels = mLevels[track];
    const auto position = static_cast<double>(bin);
    const auto at = static_cast<double>(levels[bin]);
    if (bin == 0 || bin + 1 >= levels.size())
        return {position * binWidth(), at};
    const auto before = static_cast<double>(levels[bin - 1]);
    const auto behind = static_cast<double>(levels[bin + 1]);
    const double curvature = before - 2.0 * at + behind;
    if (!(curvature < 0.0) || before > at || behind > at)
        return {position * binWidth(), at};
    const double shift = 0.5 * (before - behind) / curvature;
    return {(position + shift) * binWidth(), at - 0.25 * (before - behind) * shift};
}

AverageSpectrum::Peak AverageSpectrum::highestBetween(double lowest, double highest) const
{
    if (numBins() < 2)
        return {};
    const auto last = static_cast<double>(numBins() - 1);
    const auto first = static_cast<size_t>(std::clamp(std::ceil(lowest / binWidth()), 0.0, last));
    const auto end = static_cast<size_t>(std::clamp(std::floor(highest / binWidth()), 0.0, last)) + 1;
    if (first >= end)
        return {};
    size_t bestTrack = 0;
    size_t bestBin = first;
    for (size_t track = 0; track < mLevels.size(); ++track) {
        const std::vector<float>& levels = mLevels[track];
        const auto start = levels.begin() + static_cast<std::ptrdiff_t>(first);
        const auto found = std::max_element(start, levels.begin() + static_cast<std::ptrdiff_t>(end));
        if (*found > mLevels[bestTrack][bestBin]) {
            bestTrack = track;
            bestBin = static_cast<size_t>(found - levels.begin());
        }
    }
    return peakAtBin(bestTrack, bestBin);
}

QString AverageSpectrum::text() const
{
    QString text = QStringLiteral("Hz");
    for (size_t track = 0; track < mLevels.size(); ++track)
        text += QStringLiteral("\tdB %1").arg(track + 1);
    text += u'\n';
    for (size_t bin = 0; bin < numBins(); ++bin) {
        text += QString::number(static_cast<double>(bin) * binWidth(), 'f', 3);
        for (const std::vector<float>& levels : mLevels)
            text += u'\t' + QString::number(static_cast<double>(levels[bin]), 'f', 2);
        text += u'\n';
    }
    return text;
}

} // namespace velloria
