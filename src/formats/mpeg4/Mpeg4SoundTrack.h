#pragma once

#include "formats/mpeg4/Mpeg4Layout.h"
#include "platform/codec/PacketTable.h"

namespace velloria
{

/// The sound of an opened file: its track, and how its frames lie in it.
struct Mpeg4OpenedSound {
    uint32_t trackID = 0;
    double sampleRate = 0.0;
    /// Of the frames that its packets decode to, how many stand before the document's first one.
    int64_t primingFrames = 0;
    int64_t framesInPackets = 0;
};

/// A track of new sound in the place of an opened file's: same number, language, volume, references and user
/// data, and its edits moved so that each frame is heard when it was heard before. The packets lie in a file
/// of their own, in one piece; here they are dealt out to where the old ones were, by time.
class Mpeg4SoundTrack
{
public:
    /// Packets that take the place of a run of the old track's.
    struct Part {
        size_t firstPacket = 0;
        size_t numPackets = 0;
        /// In the file of the new sound.
        ByteRange bytes;
        /// From the start of the media.
        int64_t time = 0;
    };

    /// How much priming new sound needs at least for no edit to begin before its start.
    static int64_t leastPrimingFrames(const Mpeg4Track& old, const Mpeg4OpenedSound& opened,
                                      double sampleRate);

    /// `sound` holds one track. `table` says where the document's frames lie in it.
    Mpeg4SoundTrack(const FileHandle& sound, const Mpeg4Track& old, const Mpeg4OpenedSound& opened,
                    const PacketTable& table);

    /// False when `sound` is not laid out as it should be.
    bool isValid() const { return !mParts.empty() && !mPackets.empty(); }
    /// One for each of the old track's runs.
    const std::vector<Part>& parts() const { return mParts; }

    /// The 'trak' box; `offsets` are of the parts that stand for chunks.
    QByteArray box(std::span<const int64_t> offsets, bool isWide) const;
    /// When a part of a fragment begins, on this track's clock.
    int64_t timeOf(size_t part) const { return mFirstTime + mParts[part].time; }
    /// The 'tfdt' box for a fragment that begins with a part.
    QByteArray fragmentTime(size_t part) const;
    /// The 'trun' box of a part; `dataOffset` is from the base of the fragment.
    QByteArray fragmentRun(size_t part, int32_t dataOffset) const;
    /// For sound that lasts longer or shorter than the old one: times of the track's header and of its only
    /// edit, which shows `numFrames` behind the priming, are counted in this unit.
    void setLength(int64_t numFrames, uint32_t movieTimescale);
    /// The payload of a 'tkhd' or 'mvhd' box whose duration, at one place or the other by its version, is
    /// another.
    static QByteArray withDuration(const Mpeg4Box& header, qsizetype place, qsizetype widePlace,
                                   int64_t duration);
    /// Whether that can be told: the old track shows its sound in one piece.
    static bool canHaveLength(const Mpeg4Track& old);
    /// Where the samples of fragments begin in the media's time, in its old units.
    void setFirstTime(int64_t time);

private:
    struct Packet {
        uint32_t size = 0;
        uint32_t duration = 0;
    };

    void readPackets(const FileHandle& sound, const PacketTable& table);
    void dealOut();
    QByteArray edits() const;
    QByteArray header(const Mpeg4Box& old) const;
    QByteArray mediaHeader(const Mpeg4Box& old) const;
    QByteArray media(const Mpeg4Box& old, std::span<const int64_t> offsets, bool isWide) const;
    QByteArray sampleTable(std::span<const int64_t> offsets, bool isWide) const;
    QByteArray chunkTables(std::span<const int64_t> offsets, bool isWide) const;
    size_t numChunkPackets() const;

    const Mpeg4Track& mOld;
    /// 'stsd' and what else describes all samples, of the new sound's own file.
    QByteArray mDescription;
    QByteArray mGroups;
    uint32_t mTimescale = 0;
    int64_t mPrimingFrames = 0;
    /// Of the old sound, in new units.
    int64_t mOldPriming = 0;
    int64_t mFirstTime = 0;
    int64_t mFirstOffset = 0;
    /// In units of the movie; nothing where it is the old one.
    std::optional<int64_t> mLength;
    std::vector<Packet> mPackets;
    std::vector<Part> mParts;
};

} // namespace velloria
