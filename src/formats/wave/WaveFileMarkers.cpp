// The markers of a WAVE file: in a chunk of our own, and as cue points, regions and loops.
#include "formats/decoding/FileDamage.h"
#include "formats/wave/WaveChunkNames.h"
#include "formats/wave/WaveFile.h"
#include "formats/wave/WaveMarkers.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr FourCharCode markerIdent = fourCharCode("MARK");

MarkerList listOf(std::vector<AudioMarkerPtr> markers)
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

QByteArray payloadOf(const MarkerList& markers)
{
    return markers ? WaveMarkers::payloadOfMarkers(*markers) : WaveMarkers::payloadOfMarkers({});
}

} // namespace

/// Cue points win over markers of our own that are others: whoever changed them last wrote no chunk of ours.
void WaveFile::readMarkers()
{
    // Our chunk is little-endian: in a big-endian file it is something else.
    if (!isLittleEndian())
        return;
    const std::vector<AudioMarkerPtr> own = readOwnMarkers();
    readCues(static_cast<int32_t>(own.size()));
    const WaveCues::OwnMarkers compared = mCues.compareWith(own);
    std::vector<AudioMarkerPtr> markers = mCues.markers();
    bool agrees = true;
    if (!mCues.hasPoints()) {
        markers.insert(markers.end(), compared.others.begin(), compared.others.end());
    } else if (mHasOwnMarkers) {
        const bool isFull = std::ssize(own) == WaveMarkers::mostMarkers;
        agrees = compared.others.empty() && (compared.hasAll || isFull);
    }
    if (mHasOwnMarkers)
        declareOwnMarkers(agrees);
    if (!markers.empty() || mHasOwnMarkers)
        mMarkers = listOf(std::move(markers));
    mOwnMarkersAsRead = velloria::payloadOf(mMarkers);
    mNumMarkerWarnings = mWarnings.size();
}

std::vector<AudioMarkerPtr> WaveFile::readOwnMarkers()
{
    const RiffChunk* const chunk = chunks().find(markerIdent);
    if (!chunk || chunk->size > largestKeptChunk)
        return {};
    mOwnMarkers = payloadOf(*chunk);
    WaveMarkers::Result result = WaveMarkers::markersOfPayload(mOwnMarkers);
    mHasOwnMarkers = true;
    markDeclared(*chunk);
    mModelOffsets.push_back(chunk->offset);
    if (!result.isComplete) {
        mOwnMarkers.clear();
        tellOfDamagedMarkers(*chunk, "WaveFile");
    }
    return std::move(result.markers);
}

void WaveFile::declareOwnMarkers(bool isInModel)
{
    const ByteRange payload = payloadRangeOf(*chunks().find(markerIdent));
    if (isInModel) {
        mLedger.addInModel(payload);
        return;
    }
    mLedger.add({ItemKind::part, Keeping::asBytes, nameOfWaveChunk(markerIdent), payload});
    mWarnings.append(FileDamage::markersDisagree(name()));
}

void WaveFile::readCues(int32_t lastIdent)
{
    bool hasSampler = false;
    for (const RiffChunk& chunk : chunks().chunks()) {
        const FourCharCode kind = kindOf(chunk);
        const int64_t offset = chunk.payloadOffset();
        if (!canCarryOver(chunk))
            continue;
        bool isTaken = kind == fourCharCode("adtl");
        if (isTaken) {
            mCues.addTexts(payloadOf(chunk), offset);
        } else if (kind == fourCharCode("cue ") && !mCues.hasPoints()) {
            isTaken = mCues.setPoints(payloadOf(chunk), offset, mFormat.isLinear());
        } else if (kind == fourCharCode("smpl") && !hasSampler) {
            isTaken = mCues.setSampler(payloadOf(chunk), offset);
            hasSampler = isTaken;
        }
        if (isTaken)
            markDeclared(chunk);
    }
    mCues.findMarkers(lastIdent);
    mCues.declare(mLedger);
}

/// A file with markers of ours alone gets no cue points beside them, and the other way round.
bool WaveFile::writesCuePoints() const
{
    const WaveFile* const edited = editedFile();
    return !edited || edited->mCues.hasPoints() || !edited->mHasOwnMarkers;
}

bool WaveFile::writesOwnMarkers() const
{
    const WaveFile* const edited = editedFile();
    return !edited || edited->mHasOwnMarkers ||
           (!edited->mCues.hasPoints() && !cueEdit().newPoints.isEmpty());
}

int64_t WaveFile::maximumNumberOfMarkers() const
{
    return writesCuePoints() ? int64_t{CuePointList::mostPoints} : WaveMarkers::mostMarkers;
}

int64_t WaveFile::largestMarkerName() const
{
    return writesCuePoints() ? AudioFile::largestMarkerName() : WaveMarkers::longestName;
}

/// As it was read, where it says what it would say now.
QByteArray WaveFile::ownMarkerChunk() const
{
    if (!writesOwnMarkers())
        return {};
    const WaveFile* const edited = editedFile();
    QByteArray payload = velloria::payloadOf(mMarkers);
    if (edited && !edited->mOwnMarkers.isEmpty() && payload == edited->mOwnMarkersAsRead)
        payload = edited->mOwnMarkers;
    else if (!mMarkers || mMarkers->empty())
        return {};
    return riffChunkHeader(markerIdent, payload.size()) + payload;
}

const WaveCues::Edit& WaveFile::cueEdit() const
{
    const WaveFile* const edited = editedFile();
    if (mCueEdit && mCueEdit->markers == mMarkers && mCueEdit->edited == edited)
        return mCueEdit->edit;
    static const WaveCues none;
    const WaveCues& cues = edited ? edited->mCues : none;
    mCueEdit = CueEdit{
        mMarkers, edited,
        cues.edit({mMarkers, edited ? edited->mSampleRate : mSampleRate, mSampleRate, writesCuePoints()})};
    return mCueEdit->edit;
}

/// Nothing for an item that is about something else.
std::optional<bool> WaveFile::keepsItemOfMarkers(const WaveFile& edited, const FileItem& item) const
{
    const auto holds = [&item](const RiffChunk& chunk) {
        return item.bytes.offset >= chunk.payloadOffset() && item.bytes.offset < chunk.end();
    };
    const auto chunk = std::ranges::find_if(edited.chunks().chunks(), holds);
    if (chunk == edited.chunks().chunks().end())
        return std::nullopt;
    if (edited.mHasOwnMarkers && chunk->offset == edited.chunks().find(markerIdent)->offset)
        return velloria::payloadOf(mMarkers) == edited.mOwnMarkersAsRead;
    const WaveCues::Edit& edit = cueEdit();
    if (!edit.payloads.contains(chunk->payloadOffset()))
        return std::nullopt;
    return !edit.gone.contains(item.bytes.offset);
}

/// The markers of the document are those that were written, in its order and with its numbers.
void WaveFile::takeOverMarkers(const WaveFile& written)
{
    mCueEdit.reset();
    mCues = written.mCues;
    mCues.takeIdentsOf(mMarkers);
    mHasOwnMarkers = written.mHasOwnMarkers;
    mOwnMarkers = written.mOwnMarkers;
    mOwnMarkersAsRead = velloria::payloadOf(mMarkers);
}

} // namespace velloria
