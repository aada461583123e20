#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/wave/CueChunks.h"
#include "formats/wave/CueTexts.h"

#include <map>
#include <optional>
#include <vector>

namespace velloria
{

/// The cue points, regions and loops of a WAVE file as markers, and back. A point is a marker with its name.
/// A region begins at a point and has another marker at its end; a loop has one where it begins and one
/// behind its last frame. The end is named after the start: "Chorus (end)". An edit keeps the chunks of the
/// file and changes what belongs to markers that are others now.
class WaveCues
{
public:
    // Reading. Each chunk by its payload and where that begins in the file.
    /// False for a payload that is left as it is.
    bool setPoints(const QByteArray& payload, int64_t fileOffset, bool isLinear);
    bool setSampler(const QByteArray& payload, int64_t fileOffset);
    void addTexts(const QByteArray& payload, int64_t fileOffset) { mTexts.addList(payload, fileOffset); }
    /// To be called behind these. `lastIdent` is the highest number of markers from elsewhere.
    void findMarkers(int32_t lastIdent);
    /// Declares what was read.
    void declare(FileLedger& ledger) const;

    bool hasPoints() const { return mPointsOffset.has_value(); }
    std::vector<AudioMarkerPtr> markers() const;

    struct OwnMarkers {
        /// Without those that are here as well.
        std::vector<AudioMarkerPtr> others;
        /// True when all that are here are there.
        bool hasAll = true;
    };
    /// Compares with the markers of our own chunk, whose names end after so many bytes and which have the
    /// names of ends and loops, for which there is no room here.
    OwnMarkers compareWith(const std::vector<AudioMarkerPtr>& own);

    /// After a save: the markers that this was written from are those with these numbers.
    void takeIdentsOf(const MarkerList& markers);

    // Writing.
    struct Target {
        MarkerList markers;
        double sampleRateBefore = 0.0;
        double sampleRate = 0.0;
        /// New markers become points.
        bool addsPoints = true;
    };
    struct Edit {
        /// By the place where it was read; empty for a chunk that goes.
        std::map<int64_t, QByteArray> payloads;
        /// Of chunks that were not there; empty for none.
        QByteArray newPoints;
        QByteArray newTexts;
        /// Places in the file of what is gone, beside markers: remarks, a count that was not true.
        std::set<int64_t> gone;
        /// Ends or loops have names for which there is no room here.
        bool forgetsNames = false;
    };
    Edit edit(const Target& target) const;

private:
    enum class Kind { point, regionEnd, loopStart, loopEnd };
    /// What a marker is made of.
    struct Place {
        Kind kind = Kind::point;
        /// Of the point, the region or the loop.
        size_t index = 0;
        /// Of regions and loops: the place of the start.
        size_t start = 0;
    };
    class Editing;

    size_t addPlace(Place place, int32_t ident, int64_t position, const QString& name);
    void findPoints(int32_t& lastIdent);
    void findRegions(int32_t& lastIdent);
    void findLoops(int32_t& lastIdent);
    static QString nameOfEnd(const QString& name);
    bool hasOwnName(size_t loop) const;
    bool isNameStored(size_t place) const;

    CuePointList mPoints;
    SamplerChunk mSampler;
    CueTexts mTexts;
    std::optional<int64_t> mPointsOffset;
    std::optional<int64_t> mSamplerOffset;
    std::vector<CueTexts::Region> mRegions;
    /// For each place the marker as it was read.
    std::vector<Place> mPlaces;
    std::vector<AudioMarker> mMarkers;
    /// The place of the first point with a number.
    std::map<uint32_t, size_t> mPointsByIdent;
    std::map<uint32_t, size_t> mNumLoopsByIdent;
};

} // namespace velloria
