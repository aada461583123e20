#include "display/SpectrogramTiles.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// As many are computed between two looks at what is still wanted.
constexpr size_t kTilesPerJob = 4;

} // namespace

SpectrogramTiles::SpectrogramTiles(Handler didCompute)
    : mDidCompute(std::move(didCompute))
    , mLink(std::make_shared<SpectrogramTiles*>(this))
    , mQueue(QStringLiteral("org.velloria.Velloria.Spectrogram"))
{
}

SpectrogramTiles::~SpectrogramTiles()
{
    *mLink = nullptr;
}

void SpectrogramTiles::setSound(TrackList tracks, const FrequencyAxis& axis)
{
    if (tracks == mTracks && axis == mAxis && mColumns)
        return;
    if (!(axis == mAxis) || !mColumns) {
        mColumns = std::make_shared<const SpectrogramColumns>(axis);
        mKept.clear();
        mUses.clear();
    }
    mTracks = std::move(tracks);
    mAxis = axis;
    ++mVersion;
    mWanted.clear();
}

bool SpectrogramTiles::isKnown(const TrackList& tracks, const Key& key)
{
    if (key.track < 0 || static_cast<size_t>(key.track) >= tracks->size())
        return true;
    const AudioTrack& track = *(*tracks)[static_cast<size_t>(key.track)];
    const double tileNumFrames = key.framesPerColumn * static_cast<double>(numColumns);
    const auto start = static_cast<int64_t>(static_cast<double>(key.index) * tileNumFrames);
    const int64_t length = std::min(static_cast<int64_t>(tileNumFrames), track.length() - start);
    double min = 0.0;
    double max = 0.0;
    return length < 1 || track.getMin(min, max, start, length);
}

void SpectrogramTiles::framesDidChange(int64_t offset, int64_t numFrames)
{
    for (auto& [key, kept] : mKept) {
        const double tileNumFrames = key.framesPerColumn * static_cast<double>(numColumns);
        const double start = static_cast<double>(key.index) * tileNumFrames;
        if (!kept.tile->isWhole && start < static_cast<double>(offset + numFrames) &&
            start + tileNumFrames > static_cast<double>(offset))
            kept.isOutdated = true;
    }
}

SpectrogramTiles::TilePtr SpectrogramTiles::tile(const Key& key)
{
    const auto found = mKept.find(key);
    if (found == mKept.end())
        return nullptr;
    mUses.splice(mUses.begin(), mUses, found->second.use);
    return found->second.tile;
}

bool SpectrogramTiles::isComplete() const
{
    return mWanted.empty() && !mIsComputing;
}

void SpectrogramTiles::want(std::vector<Key> keys)
{
    std::erase_if(keys, [this](const Key& key) {
        const auto found = mKept.find(key);
        return found != mKept.end() && found->second.tile->version == mVersion && !found->second.isOutdated;
    });
    mWanted = std::move(keys);
    if (!mIsComputing)
        startJob();
}

void SpectrogramTiles::startJob()
{
    if (mWanted.empty() || !mTracks || !mColumns)
        return;
    const size_t count = std::min(mWanted.size(), kTilesPerJob);
    std::vector<Key> keys(mWanted.begin(), mWanted.begin() + static_cast<std::ptrdiff_t>(count));
    mWanted.erase(mWanted.begin(), mWanted.begin() + static_cast<std::ptrdiff_t>(count));
    mIsComputing = true;
    mQueue.async(
        [link = mLink, keys = std::move(keys), tracks = mTracks, columns = mColumns, version = mVersion] {
            std::vector<TilePtr> tiles(keys.size());
            runConcurrently(static_cast<int>(keys.size()), [&](int i) {
                const Key& key = keys[static_cast<size_t>(i)];
                auto tile = std::make_shared<Tile>();
                tile->key = key;
                tile->version = version;
                tile->isWhole = isKnown(tracks, key);
                if (key.track >= 0 && static_cast<size_t>(key.track) < tracks->size())
                    tile->levels = columns->levels(*(*tracks)[static_cast<size_t>(key.track)],
                                                   key.index * numColumns, numColumns, key.framesPerColumn);
                tiles[static_cast<size_t>(i)] = std::move(tile);
            });
            postToMainThread([link, tiles = std::move(tiles), columns] {
                SpectrogramTiles* const self = *link;
                // Another axis has been chosen meanwhile.
                if (self)
                    self->didCompute(self->mColumns == columns ? tiles : std::vector<TilePtr>());
            });
        });
}

void SpectrogramTiles::didCompute(const std::vector<TilePtr>& tiles)
{
    mIsComputing = false;
    for (const TilePtr& tile : tiles)
        keep(tile);
    startJob();
    if (mDidCompute)
        mDidCompute();
}

void SpectrogramTiles::keep(const TilePtr& tile)
{
    // More may have become known while it was computed.
    const bool isOutdated = !tile->isWhole && isKnown(mTracks, tile->key);
    const auto found = mKept.find(tile->key);
    if (found != mKept.end()) {
        if (found->second.tile->version <= tile->version) {
            found->second.tile = tile;
            found->second.isOutdated = isOutdated;
        }
        return;
    }
    mUses.push_front(tile->key);
    mKept.emplace(tile->key, Kept{tile, mUses.begin(), isOutdated});
    while (mKept.size() > mostTiles) {
        mKept.erase(mUses.back());
        mUses.pop_back();
    }
}

} // namespace velloria
