#pragma once

#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4FragmentEdit.h"
#include "formats/mpeg4/Mpeg4MovieEdit.h"
#include "platform/Progress.h"

#include <set>

namespace velloria
{

/// An edit of an opened film: writes a file that is the opened one but for its tags and chapters, where they
/// changed, and for the packets of new sound, which take the places of the old ones in the same order among
/// the other tracks' samples. Everything else is carried over byte for byte (pictures, other sound,
/// subtitles, user data, private boxes); only the tables that say where samples lie are made anew, movie
/// fragments and their indexes included. New sound lasts as long as the old one, so that no time in the file
/// changes, unless it stands there alone; without new sound the old one stays, packet by packet.
class Mpeg4Splice
{
public:
    struct Options {
        Mpeg4OpenedSound opened;
        /// Where the document's frames lie in the new sound.
        PacketTable table;
        /// The new sound lasts longer or shorter than the old one.
        bool hasNewLength = false;
        /// Tags that are to be changed; null for none.
        const Mpeg4MovieEdit::Tags* tags = nullptr;
        /// Whether the chapters are made anew, from these (which may be none), on the clock of `sampleRate`.
        bool hasNewChapters = false;
        MarkerList markers;
        uint32_t sampleRate = 0;
        /// The text track that the old ones were read from; 0 for none.
        uint32_t oldChapterTrackID = 0;
    };

    /// Why new sound cannot be put into a file, for a person; empty when it can.
    static QString obstacle(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened);
    /// Whether new sound may have another length: nothing else in the file has times, chapters apart, which
    /// are made anew then.
    static bool canHaveLength(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened);
    /// Whether a file can be written with other tags and chapters around the sound that it has.
    static bool canKeepSound(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened);

    /// `sound` is a complete file of one track; null where the sound stays. All of these outlive this object.
    Mpeg4Splice(const FileHandle& film, const Mpeg4Layout& layout, const FileHandle* sound, Options options);

    /// Writes from the start of an empty file.
    MaybeError write(FileHandle& out, Progress& progress);

    /// By how many of the document's frames the sound begins later than the film.
    static double startFrames(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened);

private:
    /// A stretch of media data, in the order of the file.
    struct Segment {
        /// In the film, or in the file of the new sound.
        ByteRange source;
        bool isSound = false;
        size_t part = 0;
        int64_t target = 0;
    };
    enum class Kind { copied, movie, media, fragment, segmentIndex, randomAccess, chapters };
    /// An outermost box of the new file.
    struct Piece {
        Kind kind = Kind::copied;
        /// In the film.
        Mpeg4Layout::OuterBox old;
        int64_t offset = 0;
        int64_t size = 0;
        size_t firstSegment = 0;
        size_t numSegments = 0;
        /// Of the fragments and of the sound's parts, the first that is in it.
        size_t fragment = 0;
        size_t firstPart = 0;
    };

    void cutMedia();
    void planPieces();
    void placePieces();
    void addSound(size_t part);
    bool place(const Mpeg4Track& track);
    bool isReplaced(const Mpeg4Track& track) const { return mNewTrack && track.id == mOldTrack.id; }
    uint32_t newTrackID() const { return mNewTrack ? mOldTrack.id : 0; }
    std::optional<int64_t> newPlaceOf(const Mpeg4Run& run) const;
    std::optional<int64_t> newPlaceOfBox(int64_t offset) const;
    Mpeg4Moves moves() const;
    std::vector<int64_t> chunkOffsets(const Mpeg4Track& track) const;

    QByteArray movie() const;
    QByteArray movieHeader(const Mpeg4Box& old) const;
    uint32_t movieTimescale() const;
    QByteArray trackBox(const Mpeg4Track& track) const;
    Mpeg4MovieEdit::Chapters chapters() const;
    MaybeError writePiece(const Piece& piece, FileHandle& out, Progress& progress) const;
    MaybeError writeMedia(const Piece& piece, FileHandle& out, Progress& progress) const;
    static MaybeError copy(const FileHandle& source, ByteRange bytes, int64_t offset, FileHandle& out);
    QByteArray bytesOf(const Piece& piece) const;
    std::vector<Mpeg4FragmentEdit::SoundEntry> soundEntries() const;
    int64_t chapterSamplesOffset() const;

    const FileHandle& mFilm;
    const Mpeg4Layout& mLayout;
    const FileHandle* const mSound;
    Options mOptions;
    const Mpeg4Track& mOldTrack;
    /// Nothing where the sound stays.
    std::optional<Mpeg4SoundTrack> mNewTrack;
    std::optional<Mpeg4Chapters::Track> mChapters;
    std::vector<Segment> mSegments;
    std::vector<size_t> mSegmentOfPart;
    /// Segments that stay, in the order of the film.
    std::vector<size_t> mKept;
    std::vector<Piece> mPieces;
    std::set<uint32_t> mWideTracks;
    int64_t mEnd = 0;
};

} // namespace velloria
