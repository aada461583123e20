#pragma once

#include "measurement/SpectrogramColumns.h"
#include "platform/DispatchQueue.h"

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <tuple>

namespace velloria
{

/// The spectrogram of a document in tiles, computed in the background for what a view shows, and kept while
/// there is room. After an edit the tiles of before stand in for those to come. Main thread; destruction
/// waits for the tiles that are being computed.
class SpectrogramTiles
{
public:
    static constexpr int64_t numColumns = 128;
    /// As many are kept: 16 MB of levels.
    static constexpr size_t mostTiles = 512;

    struct Key {
        int32_t track = 0;
        double framesPerColumn = 1;
        int64_t index = 0; ///< of the run of numColumns columns from time 0 on

        bool operator==(const Key&) const = default;
        bool operator<(const Key& other) const
        {
            return std::tie(track, framesPerColumn, index) <
                   std::tie(other.track, other.framesPerColumn, other.index);
        }
    };
    struct Tile {
        Key key;
        uint64_t version = 0; ///< of the sound that it shows
        bool isWhole =
            false; ///< all of its sound was there: nothing of it was still being decoded or recorded
        std::vector<uint8_t> levels; ///< as SpectrogramColumns tells them
    };
    using TilePtr = std::shared_ptr<const Tile>;
    /// Called on the main thread when tiles became ready.
    using Handler = std::function<void()>;

    explicit SpectrogramTiles(Handler didCompute);
    ~SpectrogramTiles();
    SpectrogramTiles(const SpectrogramTiles&) = delete;
    SpectrogramTiles& operator=(const SpectrogramTiles&) = delete;

    /// What is shown from now on. The same tracks and axis again change nothing.
    void setSound(TrackList tracks, const FrequencyAxis& axis);
    /// So many frames more are known than before, as while a file is decoded or something is recorded.
    void framesDidChange(int64_t offset, int64_t numFrames);

    /// A view shows these. What is missing of them, and only that, is computed, in this order.
    void want(std::vector<Key> keys);
    /// Null where nothing is known yet; one of an earlier version while the new one is being computed.
    TilePtr tile(const Key& key);
    bool isComplete() const;

private:
    void startJob();
    void didCompute(const std::vector<TilePtr>& tiles);
    void keep(const TilePtr& tile);
    static bool isKnown(const TrackList& tracks, const Key& key);

    struct Kept {
        TilePtr tile;
        std::list<Key>::iterator use;
        bool isOutdated = false;
    };

    Handler mDidCompute;
    uint64_t mVersion = 1;
    TrackList mTracks;
    FrequencyAxis mAxis;
    std::shared_ptr<const SpectrogramColumns> mColumns;
    std::map<Key, Kept> mKept;
    std::list<Key> mUses; ///< the one used last comes first
    std::vector<Key> mWanted;
    bool mIsComputing = false;
    /// How a finished job finds this object, if it is still there.
    std::shared_ptr<SpectrogramTiles*> mLink;
    DispatchQueue mQueue;
};

} // namespace velloria
