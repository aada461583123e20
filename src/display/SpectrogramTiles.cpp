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
    invalidate();
}

void SpectrogramTiles::invalidate()
{
    ++mVersion;
    mWanted.clear();
}

SpectrogramTiles::TilePtr SpectrogramTiles::tile(const Key& key)
{
    const auto found = mKept.find(key);
    if (found == mKept.end())
        return nullptr;
    mUses.splice(mUses.begin(), mUses, found->second.use);
    return found->second.tile;
}

std::vector<SpectrogramTiles::TilePtr> SpectrogramTiles::otherTiles(int32_t track,
                                                                    double framesPerColumn) const
{
    std::vector<TilePtr> tiles;
    for (const auto& [key, kept] : mKept)
        if (key.track == track && key.framesPerColumn != framesPerColumn)
            tiles.push_back(kept.tile);
    return tiles;
}

bool SpectrogramTiles::isComplete() const
{
    return mWanted.empty() && !mIsComputing;
}

void SpectrogramTiles::want(std::vector<Key> keys)
{
    const auto isKnown = [this](const Key& key) {
        const auto found = mKept.find(key);
        return found != mKept.end() && found->second.tile->version == mVersion;
    };
    std::erase_if(keys, isKnown);
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

void SpectrogramTiles::didCompute(std::vector<TilePtr> tiles)
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
    const auto found = mKept.find(tile->key);
    if (found != mKept.end()) {
        if (found->second.tile->version <= tile->version)
            found->second.tile = tile;
        return;
    }
    mUses.push_front(tile->key);
    mKept.emplace(tile->key, Kept{tile, mUses.begin()});
    while (mKept.size() > mostTiles) {
        mKept.erase(mUses.back());
        mUses.pop_back();
    }
}

} // namespace velloria
