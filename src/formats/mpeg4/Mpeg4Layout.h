#pragma once

#include "formats/mpeg4/Mpeg4SampleTable.h"

namespace velloria
{

/// What a movie fragment ('moof') holds of one track.
struct Mpeg4TrackFragment {
    uint32_t trackID = 0;
    /// Of each 'trun' box, in order.
    std::vector<Mpeg4Run> runs;
    /// Where its samples begin, in units of the media; nothing where it does not say.
    std::optional<int64_t> time;
};

struct Mpeg4Fragment {
    int64_t offset = 0;
    std::vector<Mpeg4TrackFragment> tracks;
};

struct Mpeg4Track {
    uint32_t id = 0;
    /// Payload of its 'trak' box, and where that lies in the file.
    Mpeg4Box box{std::span<const uint8_t>()};
    ByteRange bytes;
    /// 'vide', 'soun', ...
    FourCharCode handler = 0;
    uint32_t timescale = 0;
    /// Its chunks, then its runs in fragments, in the order of the file's tables.
    std::vector<Mpeg4Run> runs;
    size_t numChunks = 0;
    /// Samples with bytes elsewhere: in another file.
    bool isExternal = false;
};

/// Where everything lies in an MPEG-4 file: its outermost boxes, and the samples of each track. Reading it
/// costs no more than the tables are long, whatever they say.
struct Mpeg4Layout {
    struct OuterBox {
        FourCharCode type = 0;
        ByteRange bytes;
        int64_t headerSize = 0;

        ByteRange payload() const { return {bytes.offset + headerSize, bytes.length - headerSize}; }
    };

    std::vector<OuterBox> boxes;
    /// Where the boxes end: at the file's end, or at what is no box.
    int64_t endOfBoxes = 0;
    int64_t fileLength = 0;
    /// Payload of the 'moov' box (which the tracks' boxes look into), and where it begins; may be empty.
    QByteArray movieBytes;
    int64_t movieOffset = 0;
    std::vector<Mpeg4Track> tracks;
    std::vector<Mpeg4Fragment> fragments;
    /// False where tables were left aside because they are too large or damaged, or say things about bytes
    /// that are not followed here (of encryption).
    bool isComplete = true;

    explicit Mpeg4Layout(const FileHandle& file);
    Mpeg4Layout(const Mpeg4Layout&) = delete;
    Mpeg4Layout& operator=(const Mpeg4Layout&) = delete;

    Mpeg4Box movie() const { return Mpeg4Box(movieBytes); }
    const Mpeg4Track* track(uint32_t id) const;
    bool isFragmented() const { return !fragments.empty(); }
    /// The bytes of outermost boxes of a type, without their headers.
    std::vector<ByteRange> payloads(FourCharCode type) const;

private:
    void readBoxes(const FileHandle& file);
    void readMovie(const FileHandle& file);
    void readFragment(const FileHandle& file, const OuterBox& box);
    Mpeg4TrackFragment readTrackFragment(const Mpeg4Box& box, int64_t fragmentOffset, int64_t& end) const;
};

} // namespace velloria
