#include "formats/mpegframes/Mp3SeamWriter.h"

#include "formats/file/SoundCopy.h"
#include "formats/mpegframes/Mp3InfoEdit.h"
#include "formats/mpegframes/PartProgress.h"
#include "platform/MissedReads.h"
#include "platform/codec/Mp3InfoPacket.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Up to so many packets are encoded without a reservoir of their own.
constexpr int64_t longestSeam = 8;
// Of more, those at the end that leave room for the reservoir of what follows.
constexpr int64_t numPacketsAtEnd = 3;
constexpr int64_t bytesPerRead = int64_t{1} << 20;
constexpr qsizetype bytesBuffered = qsizetype{1} << 18;

Error doesNotFit()
{
    return {Error::Code::failed, QStringLiteral("The sound around a cut could not be encoded as MP3.")};
}

uint32_t highestBitRateIndex(const MpegAudioHead& head)
{
    // LAME has no more than 64 kbit/s for the lowest rates.
    constexpr int highestRateOfVersion25 = 12000;
    constexpr uint32_t index64 = 8;
    return head.sampleRate <= highestRateOfVersion25 ? index64 : MpegAudioHead::lastBitRateIndex;
}

} // namespace

Mp3SeamWriter::Mp3SeamWriter(const FrameSource& document, const SaveRange& range, const FileHandle& source,
                             const Mp3FrameIndex& index, const Mp3SeamPlan& plan)
    : mSource(source)
    , mIndex(index)
    , mPlan(plan)
    , mEncoder(document, range, index, plan)
{
}

MaybeError Mp3SeamWriter::run(FileHandle& file, int64_t offset, Progress& progress)
{
    mFile = &file;
    const QByteArray placeholder = Mp3InfoEdit::withFigures(mIndex.infoPacket(), mIndex.head(), {});
    MaybeError error = file.writeAt(offset, placeholder);
    mEnd = offset + placeholder.size();
    mOffsets.reserve(static_cast<size_t>(mPlan.numPackets()));
    for (size_t i = 0; i < mPlan.runs.size() && !error; ++i) {
        PartProgress part(progress, soundFramesOf(mPlan.runs[i]));
        error = write(mPlan.runs[i], i + 1 < mPlan.runs.size() ? &mPlan.runs[i + 1] : nullptr, part);
        part.setProgressValue(1.0);
        if (!error && progress.isCancelled())
            error = Error::cancelled();
    }
    if (!error)
        error = flush();
    return error ? error : file.writeAt(offset, infoPacket());
}

int64_t Mp3SeamWriter::soundFramesOf(const Run& run) const
{
    const auto frameOf = [this](int64_t packet) {
        return std::clamp<int64_t>(packet * mPlan.framesPerPacket - mPlan.leadFrames, 0, mPlan.numFrames);
    };
    return frameOf(run.end()) - frameOf(run.firstPacket);
}

MaybeError Mp3SeamWriter::write(const Run& run, const Run* next, Progress& progress)
{
    if (run.kind == Run::Kind::copied)
        return copy(run, progress);
    QByteArray reservoir;
    if (next && next->kind == Run::Kind::copied) {
        reservoir = mIndex.readReservoir(mSource, next->sourcePacket);
        if (reservoir.size() != mIndex.reservoirOf(next->sourcePacket)) {
            mSource.noteMissedRead();
            return missedReadsError(mSource);
        }
    }
    if (run.kind == Run::Kind::silent) {
        const std::vector<Mp3Packet::Contents> silence(static_cast<size_t>(run.numPackets),
                                                       Mp3Packet::silence(mIndex.head()));
        return writePackets(Mp3Packet::layOut(silence, mIndex.head(), reservoir));
    }
    return run.numPackets > longestSeam ? writeLongRun(run, reservoir, progress)
                                        : writeSeam(run.firstPacket, run.numPackets, reservoir, progress);
}

MaybeError Mp3SeamWriter::copy(const Run& run, Progress& progress)
{
    const int64_t start = mIndex.offsetOf(run.sourcePacket);
    const ByteRange bytes = {start, mIndex.offsetOf(run.sourcePacket + run.numPackets) - start};
    MaybeError error = flush();
    if (!error)
        error = noteCopied(run);
    if (!error)
        error = copySound(mSource, bytes, *mFile, mEnd, progress);
    mEnd += bytes.length;
    return error;
}

/// Sums the bytes up and remembers where each packet lies.
MaybeError Mp3SeamWriter::noteCopied(const Run& run)
{
    const int64_t start = mIndex.offsetOf(run.sourcePacket);
    const int64_t end = mIndex.offsetOf(run.sourcePacket + run.numPackets);
    for (int64_t i = 0; i < run.numPackets; ++i)
        mOffsets.push_back(mNumBytes + mIndex.offsetOf(run.sourcePacket + i) - start);
    std::vector<std::byte> window(static_cast<size_t>(std::min(bytesPerRead, end - start)));
    for (int64_t offset = start; offset < end;) {
        const auto part =
            std::span(window).first(static_cast<size_t>(std::min<int64_t>(std::ssize(window), end - offset)));
        if (mSource.readAt(offset, part) < std::ssize(part)) {
            mSource.noteMissedRead();
            return missedReadsError(mSource);
        }
        mChecksum = Mp3InfoPacket::checksumOf(part, mChecksum);
        offset += std::ssize(part);
    }
    mNumBytes += end - start;
    return std::nullopt;
}

/// Should packets turn out larger than there is room for, they are encoded with a lower bit rate.
MaybeError Mp3SeamWriter::writeSeam(int64_t firstPacket, int64_t numPackets, const QByteArray& reservoir,
                                    Progress& progress)
{
    const MpegAudioHead& head = mIndex.head();
    uint32_t index = std::min(mIndex.bitRateIndex(), highestBitRateIndex(head));
    if (!reservoir.isEmpty())
        index = Mp3Packet::bitRateIndexWithRoom(head, index, numPackets);
    for (; index > 0; --index) {
        std::vector<Mp3Packet::Contents> contents;
        if (MaybeError error = encode(firstPacket, numPackets, index, contents, progress))
            return error;
        const std::vector<QByteArray> packets = Mp3Packet::layOut(contents, head, reservoir);
        if (!packets.empty())
            return writePackets(packets);
    }
    return doesNotFit();
}

/// Packets without a reservoir. Their outer windows are long like those of the copied packets beside them,
/// even where that means long ones throughout.
MaybeError Mp3SeamWriter::encode(int64_t firstPacket, int64_t numPackets, uint32_t bitRateIndex,
                                 std::vector<Mp3Packet::Contents>& contents, Progress& progress)
{
    const auto take = [&contents](const QByteArray& packet, const QByteArray&) {
        contents.push_back(Mp3Packet::contentsOf(packet));
        return MaybeError();
    };
    for (const bool hasShortWindows : {true, false}) {
        contents.clear();
        if (MaybeError error = mEncoder.encode(
                {firstPacket, numPackets, bitRateIndex, false, hasShortWindows}, take, progress))
            return error;
        if (contents.front().windows.beginLong && contents.back().windows.endLong)
            break;
    }
    return std::nullopt;
}

/// Most of it is a stream of LAME with a reservoir of its own, between packets that do without one.
MaybeError Mp3SeamWriter::writeLongRun(const Run& run, const QByteArray& reservoir, Progress& progress)
{
    const MpegAudioHead& head = mIndex.head();
    const uint32_t index = std::min(mIndex.bitRateIndex(), highestBitRateIndex(head));
    SilentProgress silent;
    std::vector<Mp3Packet::Contents> first;
    const uint32_t firstIndex = Mp3Packet::bitRateIndexWithRoom(head, index, 1);
    MaybeError error = encode(run.firstPacket, 1, firstIndex, first, silent);
    if (error)
        return error;
    const int64_t numAtEnd = reservoir.isEmpty() ? 0 : numPacketsAtEnd;
    const auto take = [&](const QByteArray& packet, const QByteArray& reservoirOfPacket) {
        if (!first.empty()) {
            const std::vector<QByteArray> laidOut = Mp3Packet::layOut(first, head, reservoirOfPacket);
            first.clear();
            if (MaybeError failure = writePackets(laidOut))
                return failure;
        }
        return writePackets({Mp3Packet::withHeadLike(packet, head)});
    };
    error = mEncoder.encode({run.firstPacket + 1, run.numPackets - 1 - numAtEnd, index, true, true}, take,
                            progress);
    if (error || numAtEnd == 0)
        return error;
    return writeSeam(run.end() - numAtEnd, numAtEnd, reservoir, silent);
}

MaybeError Mp3SeamWriter::writePackets(const std::vector<QByteArray>& packets)
{
    if (packets.empty())
        return doesNotFit();
    for (const QByteArray& packet : packets) {
        mOffsets.push_back(mNumBytes);
        mNumBytes += packet.size();
        mChecksum = Mp3InfoPacket::checksumOf(
            std::as_bytes(std::span(packet.constData(), static_cast<size_t>(packet.size()))), mChecksum);
        mBuffer += packet;
    }
    return mBuffer.size() >= bytesBuffered ? flush() : std::nullopt;
}

MaybeError Mp3SeamWriter::flush()
{
    MaybeError error = mFile->writeAt(mEnd, mBuffer);
    mEnd += mBuffer.size();
    mBuffer.clear();
    return error;
}

QByteArray Mp3SeamWriter::infoPacket() const
{
    Mp3InfoEdit::Figures figures;
    figures.delay = mPlan.delay();
    figures.padding = mPlan.padding();
    figures.numPackets = std::ssize(mOffsets);
    figures.numBytes = mNumBytes;
    figures.checksum = mChecksum;
    const int64_t size = Mp3InfoEdit::withFigures(mIndex.infoPacket(), mIndex.head(), figures).size();
    for (size_t i = 0; i < figures.seekTable.size(); ++i) {
        const int64_t offset = size + mOffsets[i * mOffsets.size() / figures.seekTable.size()];
        figures.seekTable[i] =
            static_cast<uint8_t>(std::min<int64_t>(255, 256 * offset / (size + mNumBytes)));
    }
    return Mp3InfoEdit::withFigures(mIndex.infoPacket(), mIndex.head(), figures);
}

} // namespace velloria
