#include "formats/mpeg4/Mpeg4Splice.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int64_t kLargest32 = 0xFFFFFFFF;
constexpr int64_t kHeaderBytes = 8;
constexpr int64_t kLongHeaderBytes = 16;
// Between two looks at the progress' Cancel.
constexpr int64_t kBytesPerLook = int64_t{16} << 20;

constexpr std::array freeSpace = {fourCharCode("free"), fourCharCode("skip"), fourCharCode("wide")};

/// Free space in which something was left may matter to somebody.
bool isPadding(const FileHandle& film, const Mpeg4Layout::OuterBox& box)
{
    const bool isFree = std::find(freeSpace.begin(), freeSpace.end(), box.type) != freeSpace.end();
    return box.type == fourCharCode("ssix") ||
           (isFree && film.holdsOnlyZeros(box.payload().offset, box.payload().length));
}

/// Samples of a track, and whether others are to take their place.
struct Use {
    ByteRange bytes;
    bool isReplaced = false;
};

std::vector<Use> usesOf(const Mpeg4Layout& layout, uint32_t soundTrackID, uint32_t chapterTrackID)
{
    std::vector<Use> uses;
    for (const Mpeg4Track& track : layout.tracks) {
        const bool isReplaced = track.id == soundTrackID || track.id == chapterTrackID;
        for (const Mpeg4Run& run : track.runs) {
            if (run.bytes.length > 0 && !track.isExternal)
                uses.push_back({run.bytes, isReplaced});
        }
    }
    std::sort(uses.begin(), uses.end(),
              [](const Use& a, const Use& b) { return a.bytes.offset < b.bytes.offset; });
    return uses;
}

/// Bytes that are replaced belong to one run only.
bool overlap(const std::vector<Use>& uses)
{
    int64_t end = 0;
    int64_t endOfReplaced = 0;
    for (const Use& use : uses) {
        if (use.bytes.offset < (use.isReplaced ? end : endOfReplaced))
            return true;
        end = std::max(end, use.bytes.end());
        if (use.isReplaced)
            endOfReplaced = std::max(endOfReplaced, use.bytes.end());
    }
    return false;
}

/// Both in order.
bool areWithin(const std::vector<Use>& uses, const std::vector<ByteRange>& media)
{
    auto box = media.begin();
    for (const Use& use : uses) {
        while (box != media.end() && box->end() <= use.bytes.offset)
            ++box;
        if (box == media.end() || use.bytes.offset < box->offset || use.bytes.end() > box->end())
            return false;
    }
    return true;
}

/// Whether the packets follow one another in time without a pause, as they are decoded.
bool isContinuous(const Mpeg4Layout& layout, const Mpeg4Track& track, const Mpeg4OpenedSound& opened)
{
    constexpr double mostFrames = 4096.0;
    const double scale = track.timescale > 0 ? opened.sampleRate / track.timescale : 0.0;
    double total = 0.0;
    for (const Mpeg4Run& run : track.runs)
        total += static_cast<double>(run.duration) * scale;
    if (std::abs(total - static_cast<double>(opened.framesInPackets)) > mostFrames)
        return false;
    double time = 0.0;
    std::optional<double> start;
    for (const Mpeg4Fragment& fragment : layout.fragments) {
        for (const Mpeg4TrackFragment& part : fragment.tracks) {
            if (part.trackID != track.id)
                continue;
            const double told =
                part.time ? static_cast<double>(*part.time) * scale : start.value_or(0) + time;
            start = start.value_or(told);
            if (std::abs(told - *start - time) > mostFrames)
                return false;
            for (const Mpeg4Run& run : part.runs)
                time += static_cast<double>(run.duration) * scale;
        }
    }
    return true;
}

std::optional<int64_t> firstTime(const Mpeg4Layout& layout, uint32_t trackID)
{
    for (const Mpeg4Fragment& fragment : layout.fragments) {
        for (const Mpeg4TrackFragment& part : fragment.tracks) {
            if (part.trackID == trackID)
                return part.time;
        }
    }
    return std::nullopt;
}

uint32_t unusedTrackID(const Mpeg4Layout& layout)
{
    uint32_t id = 0;
    for (const Mpeg4Track& track : layout.tracks)
        id = std::max(id, track.id);
    return id + 1;
}

bool isMovie(const Mpeg4Layout& layout, const Mpeg4Layout::OuterBox& box)
{
    return box.type == fourCharCode("moov") && box.payload().offset == layout.movieOffset;
}

} // namespace

QString Mpeg4Splice::obstacle(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened)
{
    const Mpeg4Track* const sound = layout.track(opened.trackID);
    const uint32_t chapterTrackID = Mpeg4Chapters::trackID(layout.movie());
    const std::vector<Use> uses = usesOf(layout, opened.trackID, chapterTrackID);
    if (!layout.isComplete || !sound || sound->runs.empty() || sound->isExternal || sound->timescale == 0)
        return QStringLiteral("its tables are damaged or of a form that Velloria does not know");
    if (overlap(uses) || !areWithin(uses, layout.payloads(fourCharCode("mdat"))))
        return QStringLiteral("its tracks share their media data, or the file is not whole");
    if (!isContinuous(layout, *sound, opened))
        return QStringLiteral("its sound has gaps in time");
    return {};
}

bool Mpeg4Splice::canHaveLength(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened)
{
    const Mpeg4Track* const sound = layout.track(opened.trackID);
    const uint32_t chapterTrackID = Mpeg4Chapters::trackID(layout.movie());
    return sound && layout.fragments.empty() && Mpeg4SoundTrack::canHaveLength(*sound) &&
           std::ranges::all_of(layout.tracks, [&](const Mpeg4Track& track) {
               return track.id == opened.trackID || track.id == chapterTrackID;
           });
}

double Mpeg4Splice::startFrames(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened)
{
    const Mpeg4Track* const sound = layout.track(opened.trackID);
    const uint32_t movieTimescale = mpeg4Timescale(layout.movie().descendant({fourCharCode("mvhd")}));
    if (!sound || sound->timescale == 0 || movieTimescale == 0)
        return 0.0;
    const double shift = Mpeg4Chapters::shiftOfEdits(sound->box, movieTimescale, sound->timescale) +
                         static_cast<double>(firstTime(layout, opened.trackID).value_or(0));
    const double start =
        shift * opened.sampleRate / sound->timescale + static_cast<double>(opened.primingFrames);
    return std::clamp(start, 0.0, 1e15);
}

/// Nothing but the chapters is replaced then, and each of their samples belongs to them alone.
bool Mpeg4Splice::canKeepSound(const Mpeg4Layout& layout, const Mpeg4OpenedSound& opened)
{
    const Mpeg4Track* const sound = layout.track(opened.trackID);
    const std::vector<Use> uses = usesOf(layout, 0, Mpeg4Chapters::trackID(layout.movie()));
    return layout.isComplete && sound && !sound->runs.empty() && !sound->isExternal &&
           sound->timescale != 0 && !overlap(uses) && areWithin(uses, layout.payloads(fourCharCode("mdat")));
}

Mpeg4Splice::Mpeg4Splice(const FileHandle& film, const Mpeg4Layout& layout, const FileHandle* sound,
                         Options options)
    : mFilm(film)
    , mLayout(layout)
    , mSound(sound)
    , mOptions(std::move(options))
    , mOldTrack(*layout.track(mOptions.opened.trackID))
{
    if (sound)
        mNewTrack.emplace(*sound, mOldTrack, mOptions.opened, mOptions.table);
    if (sound && mOldTrack.numChunks == 0)
        mNewTrack->setFirstTime(firstTime(layout, mOldTrack.id).value_or(0));
    if (sound && mOptions.hasNewLength)
        mNewTrack->setLength(mOptions.table.numberOfValidFrames, movieTimescale());
    if (mOptions.hasNewChapters && mOptions.markers && !mOptions.markers->empty()) {
        const double scale = mOptions.sampleRate / mOptions.opened.sampleRate;
        mChapters.emplace(mOptions.markers, mOptions.sampleRate, mOptions.table.numberOfValidFrames,
                          std::llround(startFrames(layout, mOptions.opened) * scale));
        mChapters->setMovieTimescale(movieTimescale());
    }
}

uint32_t Mpeg4Splice::movieTimescale() const
{
    return std::max(1U, mpeg4Timescale(mLayout.movie().descendant({fourCharCode("mvhd")})));
}

/// The 'mvhd' box; the sound is all that lasts.
QByteArray Mpeg4Splice::movieHeader(const Mpeg4Box& old) const
{
    const double length = static_cast<double>(mOptions.table.numberOfValidFrames) * movieTimescale() /
                          std::max(1U, mOptions.sampleRate);
    const bool isAsItWas = !mNewTrack || !mOptions.hasNewLength;
    return mpeg4Box(
        fourCharCode("mvhd"),
        isAsItWas ? old.copy(0, old.size())
                  : Mpeg4SoundTrack::withDuration(old, 16, 24, static_cast<int64_t>(std::ceil(length))));
}

/// The media data that stay, and between them the places of the sound.
void Mpeg4Splice::cutMedia()
{
    std::vector<Segment> cuts;
    for (size_t i = 0; mNewTrack && i < mOldTrack.runs.size(); ++i)
        cuts.push_back({mOldTrack.runs[i].bytes, true, i, 0});
    const Mpeg4Track* const chapters =
        mOptions.hasNewChapters ? mLayout.track(mOptions.oldChapterTrackID) : nullptr;
    for (size_t i = 0; chapters && i < chapters->runs.size(); ++i)
        cuts.push_back({chapters->runs[i].bytes, false, 0, 0});
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const Segment& a, const Segment& b) { return a.source.offset < b.source.offset; });
    mSegmentOfPart.resize(mOldTrack.runs.size());
    auto cut = cuts.begin();
    Piece* last = nullptr;
    for (Piece& piece : mPieces) {
        if (piece.kind != Kind::media)
            continue;
        piece.firstSegment = mSegments.size();
        const ByteRange media = piece.old.payload();
        int64_t at = media.offset;
        // Runs without bytes may lie anywhere; those before this box go to its start.
        for (; cut != cuts.end() && cut->source.offset <= media.end(); ++cut) {
            const int64_t start = std::max(at, cut->source.offset);
            if (start > at)
                mSegments.push_back({{at, start - at}});
            at = std::max(at, cut->source.end());
            if (cut->isSound)
                addSound(cut->part);
        }
        if (at < media.end())
            mSegments.push_back({{at, media.end() - at}});
        piece.numSegments = mSegments.size() - piece.firstSegment;
        last = &piece;
    }
    for (; last && cut != cuts.end(); ++cut) {
        if (!cut->isSound)
            continue;
        addSound(cut->part);
        ++last->numSegments;
    }
}

void Mpeg4Splice::addSound(size_t part)
{
    mSegmentOfPart[part] = mSegments.size();
    mSegments.push_back({mNewTrack->parts()[part].bytes, true, part, 0});
}

void Mpeg4Splice::planPieces()
{
    size_t fragment = 0;
    size_t part = mOldTrack.numChunks;
    for (const Mpeg4Layout::OuterBox& box : mLayout.boxes) {
        Piece piece;
        piece.old = box;
        piece.fragment = fragment;
        piece.firstPart = part;
        if (isMovie(mLayout, box)) {
            piece.kind = Kind::movie;
        } else if (box.type == fourCharCode("mdat")) {
            piece.kind = Kind::media;
        } else if (box.type == fourCharCode("moof")) {
            piece.kind = Kind::fragment;
            for (const Mpeg4TrackFragment& track : mLayout.fragments[fragment].tracks)
                part += track.trackID == mOldTrack.id ? track.runs.size() : 0;
            ++fragment;
        } else if (box.type == fourCharCode("sidx")) {
            piece.kind = Kind::segmentIndex;
        } else if (box.type == fourCharCode("mfra")) {
            piece.kind = Kind::randomAccess;
        } else if (isPadding(mFilm, box)) {
            continue;
        }
        mPieces.push_back(piece);
    }
    if (mChapters) {
        // The index of fragments is found from the end of the file.
        const bool isIndexed = !mPieces.empty() && mPieces.back().kind == Kind::randomAccess;
        Piece piece;
        piece.kind = Kind::chapters;
        mPieces.insert(isIndexed ? mPieces.end() - 1 : mPieces.end(), piece);
    }
    if (const int64_t rest = mLayout.fileLength - mLayout.endOfBoxes; rest > 0) {
        Piece piece;
        piece.old.bytes = {mLayout.endOfBoxes, rest};
        mPieces.push_back(piece);
    }
}

/// Gives every piece its place; those whose size depends on where others are, again until nothing moves.
void Mpeg4Splice::placePieces()
{
    for (Piece& piece : mPieces) {
        if (piece.kind == Kind::copied)
            piece.size = piece.old.bytes.length;
        else if (piece.kind != Kind::media && piece.kind != Kind::movie)
            piece.size = bytesOf(piece).size();
    }
    bool isSettled = false;
    while (!isSettled) {
        int64_t at = 0;
        for (Piece& piece : mPieces) {
            piece.offset = at;
            if (piece.kind == Kind::movie)
                piece.size = bytesOf(piece).size();
            if (piece.kind == Kind::media) {
                int64_t size = 0;
                for (size_t i = 0; i < piece.numSegments; ++i)
                    size += mSegments[piece.firstSegment + i].source.length;
                const bool isLong = piece.old.headerSize > kHeaderBytes || size + kHeaderBytes > kLargest32;
                int64_t target = at + (isLong ? kLongHeaderBytes : kHeaderBytes);
                piece.size = size + target - at;
                for (size_t i = 0; i < piece.numSegments; ++i) {
                    Segment& segment = mSegments[piece.firstSegment + i];
                    segment.target = target;
                    target += segment.source.length;
                }
            }
            at += piece.size;
        }
        mEnd = at;
        isSettled = true;
        for (const Mpeg4Track& track : mLayout.tracks)
            isSettled = place(track) && isSettled;
    }
}

/// False when a track turns out to need wide offsets.
bool Mpeg4Splice::place(const Mpeg4Track& track)
{
    if (mWideTracks.contains(track.id))
        return true;
    const std::vector<int64_t> offsets = chunkOffsets(track);
    const bool isWide =
        std::any_of(offsets.begin(), offsets.end(), [](int64_t offset) { return offset > kLargest32; });
    if (isWide)
        mWideTracks.insert(track.id);
    return !isWide;
}

/// Of samples that stay.
std::optional<int64_t> Mpeg4Splice::newPlaceOf(const Mpeg4Run& run) const
{
    // Segments of the sound count by their place in the new file's order only, so they are passed over.
    auto after =
        std::upper_bound(mKept.begin(), mKept.end(), run.bytes.offset, [this](int64_t offset, size_t index) {
            return offset < mSegments[index].source.offset;
        });
    if (after == mKept.begin())
        return std::nullopt;
    const Segment& segment = mSegments[*std::prev(after)];
    const int64_t within = run.bytes.offset - segment.source.offset;
    return within < segment.source.length ? std::optional(segment.target + within) : std::nullopt;
}

std::optional<int64_t> Mpeg4Splice::newPlaceOfBox(int64_t offset) const
{
    if (offset == mLayout.endOfBoxes)
        return mEnd;
    const auto piece = std::find_if(mPieces.begin(), mPieces.end(), [offset](const Piece& each) {
        return each.kind != Kind::chapters && each.old.bytes.offset >= offset;
    });
    // What is left out counts as what follows it.
    return piece == mPieces.end() ? std::nullopt : std::optional(piece->offset);
}

Mpeg4Moves Mpeg4Splice::moves() const
{
    return {[this](const Mpeg4Run& run) { return newPlaceOf(run); },
            [this](size_t part) { return mSegments[mSegmentOfPart[part]].target; },
            [this](int64_t offset) { return newPlaceOfBox(offset); }};
}

std::vector<int64_t> Mpeg4Splice::chunkOffsets(const Mpeg4Track& track) const
{
    std::vector<int64_t> offsets;
    const bool isSound = isReplaced(track);
    for (size_t i = 0; i < track.numChunks; ++i) {
        const int64_t old = track.runs[i].bytes.offset;
        if (isSound)
            offsets.push_back(mSegments[mSegmentOfPart[i]].target);
        else if (track.isExternal)
            offsets.push_back(old);
        else
            offsets.push_back(newPlaceOf(track.runs[i]).value_or(0));
    }
    return offsets;
}

QByteArray Mpeg4Splice::trackBox(const Mpeg4Track& track) const
{
    const bool wasWide = Mpeg4SampleTable(track.box).hasWideOffsets();
    const bool isWide = wasWide || mWideTracks.contains(track.id);
    if (isReplaced(track))
        return mNewTrack->box(chunkOffsets(track), isWide);
    return mpeg4Box(fourCharCode("trak"),
                    Mpeg4MovieEdit::trackWithOffsets(track.box, chunkOffsets(track), isWide));
}

int64_t Mpeg4Splice::chapterSamplesOffset() const
{
    const auto piece = std::find_if(mPieces.begin(), mPieces.end(),
                                    [](const Piece& each) { return each.kind == Kind::chapters; });
    return piece == mPieces.end() ? 0 : piece->offset + kHeaderBytes;
}

Mpeg4MovieEdit::Chapters Mpeg4Splice::chapters() const
{
    Mpeg4MovieEdit::Chapters chapters;
    chapters.isNew = mOptions.oldChapterTrackID == 0 && mChapters;
    chapters.trackID = chapters.isNew ? unusedTrackID(mLayout) : mOptions.oldChapterTrackID;
    chapters.soundTrackID = mOldTrack.id;
    if (mChapters) {
        const double scale = mOptions.sampleRate / mOptions.opened.sampleRate;
        chapters.track = mChapters->box(chapters.trackID, chapterSamplesOffset());
        chapters.list = Mpeg4Chapters::list(mOptions.markers, mOptions.sampleRate,
                                            std::llround(startFrames(mLayout, mOptions.opened) * scale));
    }
    return chapters;
}

QByteArray Mpeg4Splice::movie() const
{
    size_t index = 0;
    QByteArray payload = mpeg4PayloadWith(
        mLayout.movie(), [&](const Mpeg4Box::Child& child, const Mpeg4Box& old) -> std::optional<QByteArray> {
            if (child.type == fourCharCode("mvhd"))
                return movieHeader(old);
            if (child.type != fourCharCode("trak"))
                return std::nullopt;
            return trackBox(mLayout.tracks[index++]);
        });
    if (mOptions.hasNewChapters)
        payload = Mpeg4MovieEdit::movieWithChapters(Mpeg4Box(payload), chapters());
    if (mOptions.tags)
        payload = Mpeg4MovieEdit::movieWithTags(Mpeg4Box(payload), *mOptions.tags);
    return mpeg4Box(fourCharCode("moov"), payload);
}

/// One for each fragment with packets of the new sound.
std::vector<Mpeg4FragmentEdit::SoundEntry> Mpeg4Splice::soundEntries() const
{
    std::vector<Mpeg4FragmentEdit::SoundEntry> entries;
    if (!mNewTrack)
        return entries;
    size_t part = mOldTrack.numChunks;
    for (const Mpeg4Fragment& fragment : mLayout.fragments) {
        for (size_t i = 0; i < fragment.tracks.size(); ++i) {
            if (fragment.tracks[i].trackID != mOldTrack.id)
                continue;
            const size_t end = part + fragment.tracks[i].runs.size();
            const auto isFilled = [this](size_t each) { return mNewTrack->parts()[each].numPackets > 0; };
            while (part < end && !isFilled(part))
                ++part;
            if (part < end)
                entries.push_back({mNewTrack->timeOf(part), fragment.offset, static_cast<uint32_t>(i + 1)});
            part = end;
        }
    }
    return entries;
}

/// Of a piece that is made anew; empty when its samples lie too far away for it.
QByteArray Mpeg4Splice::bytesOf(const Piece& piece) const
{
    if (piece.kind == Kind::movie)
        return movie();
    if (piece.kind == Kind::chapters)
        return mpeg4Box(fourCharCode("mdat"), mChapters->samples());
    const ByteRange payload = piece.old.payload();
    const QByteArray bytes = mFilm.readAt(payload.offset, payload.length);
    const Mpeg4Box old(bytes);
    if (piece.kind == Kind::fragment)
        return Mpeg4FragmentEdit::fragment(old, mLayout.fragments[piece.fragment],
                                           {mNewTrack ? &*mNewTrack : nullptr, newTrackID(), piece.firstPart},
                                           piece.offset, moves())
            .value_or(QByteArray());
    if (piece.kind == Kind::randomAccess)
        return Mpeg4FragmentEdit::randomAccess(old, newTrackID(), soundEntries(), moves());
    // An index that does not add up would mislead more than none does.
    const QByteArray nothing(static_cast<qsizetype>(payload.length), '\0');
    return Mpeg4FragmentEdit::segmentIndex(old, piece.old.bytes.end(), piece.offset + piece.size, moves())
        .value_or(mpeg4Box(fourCharCode("free"), nothing));
}

MaybeError Mpeg4Splice::write(FileHandle& out, Progress& progress)
{
    if (mNewTrack && !mNewTrack->isValid())
        return Error{Error::Code::writeFailed,
                     QStringLiteral("The new sound was not laid out as it should be.")};
    planPieces();
    cutMedia();
    for (size_t i = 0; i < mSegments.size(); ++i) {
        if (!mSegments[i].isSound)
            mKept.push_back(i);
    }
    placePieces();
    for (const Piece& piece : mPieces) {
        if (MaybeError error = writePiece(piece, out, progress))
            return error;
    }
    return std::nullopt;
}

MaybeError Mpeg4Splice::writePiece(const Piece& piece, FileHandle& out, Progress& progress) const
{
    if (piece.kind == Kind::media)
        return writeMedia(piece, out, progress);
    if (piece.kind == Kind::copied)
        return copy(mFilm, piece.old.bytes, piece.offset, out);
    const QByteArray bytes = bytesOf(piece);
    if (bytes.size() != piece.size)
        return Error{Error::Code::fileTooLarge, QStringLiteral("The film's fragments are too large.")};
    return out.writeAt(piece.offset, bytes);
}

MaybeError Mpeg4Splice::copy(const FileHandle& source, ByteRange bytes, int64_t offset, FileHandle& out)
{
    MaybeError error;
    const int64_t numCopied = out.copyFrom(source, bytes.offset, offset, bytes.length, &error);
    if (!error && numCopied < bytes.length)
        error =
            Error{Error::Code::readFailed,
                  QStringLiteral("“%1” was changed by another program meanwhile; its other tracks cannot be "
                                 "carried over.")
                      .arg(displayName(source.path()))};
    return error;
}

MaybeError Mpeg4Splice::writeMedia(const Piece& piece, FileHandle& out, Progress& progress) const
{
    int64_t headerEnd = piece.offset + piece.size;
    for (size_t i = 0; i < piece.numSegments; ++i)
        headerEnd -= mSegments[piece.firstSegment + i].source.length;
    QByteArray header = mpeg4BoxHeader(fourCharCode("mdat"), static_cast<size_t>(piece.size - kHeaderBytes));
    if (headerEnd - piece.offset == kLongHeaderBytes) {
        header.resize(kLongHeaderBytes);
        qToBigEndian(uint32_t{1}, header.data());
        qToBigEndian(static_cast<uint64_t>(piece.size), header.data() + kHeaderBytes);
    }
    MaybeError error = out.writeAt(piece.offset, header);
    int64_t numUnseen = 0;
    for (size_t i = 0; i < piece.numSegments && !error; ++i) {
        Segment segment = mSegments[piece.firstSegment + i];
        while (segment.source.length > 0 && !error) {
            const int64_t length = std::min(segment.source.length, kBytesPerLook);
            error =
                copy(segment.isSound ? *mSound : mFilm, {segment.source.offset, length}, segment.target, out);
            segment.source = {segment.source.offset + length, segment.source.length - length};
            segment.target += length;
            numUnseen += length;
            if (!error && numUnseen >= kBytesPerLook && progress.isCancelled())
                error = Error::cancelled();
            numUnseen %= kBytesPerLook;
        }
    }
    return error;
}

} // namespace velloria
