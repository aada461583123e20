#include "formats/flac/FlacSeamWriter.h"

#include "formats/flac/FlacGapEncoder.h"
#include "formats/flac/FlacPacketHead.h"
#include "formats/flac/FlacSampleSum.h"
#include "platform/MissedReads.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t bytesPerRead = int64_t{1} << 20;
constexpr std::chrono::milliseconds progressInterval(50);
// Layout: https://www.rfc-editor.org/rfc/rfc9639#section-8.2
constexpr qsizetype streamInfoLength = 34;
constexpr qsizetype sumOffset = 18;
constexpr int64_t mostFramesTold = int64_t{1} << 36;
constexpr int64_t mostBytesTold = int64_t{1} << 24;

} // namespace

void FlacSeamWriter::Extent::take(int64_t value)
{
    least = most == 0 ? value : std::min(least, value);
    most = std::max(most, value);
}

FlacSeamWriter::FlacSeamWriter(const PacketPlan& plan, const FileHandle& source,
                               std::shared_ptr<FileHandle> target, const FlacFormat& format)
    : mPlan(plan)
    , mSource(source)
    , mFormat(format)
    , mCommonLength(plan.commonLength())
    , mSink(FlacFrameSink::create(std::move(target), std::nullopt))
{
}

MaybeError FlacSeamWriter::write(const FrameSource& document, const SaveRange& range,
                                 FlacMetadataEdit::Blocks blocks, Progress& progress)
{
    mProgress = &progress;
    mFirstMark = progress.markValue();
    mBlocks = std::move(blocks);
    mSeekTable = FlacSeekTable::inPlaceOf(mBlocks, range.numFrames);
    mSink->start(QByteArray(streamInfoLength, '\0'), mBlocks);
    const TrackList tracks = document.audioTracks();
    FlacSampleSum sum(tracks, range, mFormat.bitsPerSample);
    MaybeError error = mSink->error();
    FlacGapEncoder encoder(mFormat, [this, &sum](std::span<const std::byte> packet) {
        const MaybeError failure = addPacket(packet);
        return failure ? failure : tell(sum.numFramesSoFar());
    });
    for (const PacketPlan::Step& step : mPlan.steps()) {
        if (error)
            return error;
        SaveRange gap = range;
        gap.startFrame += step.frame;
        gap.numFrames = step.numFrames;
        error = step.numPackets > 0 ? copyPackets(step) : encoder.encode(tracks, gap, step.packetFrames);
        if (!error)
            error = tell(sum.numFramesSoFar());
    }
    while (!error && !sum.wait(progressInterval))
        error = tell(sum.numFramesSoFar());
    if (error)
        return error;
    if (mSeekTable)
        mSeekTable->putInto(mBlocks);
    return mSink->finish(streamInfo(sum.result()), mBlocks);
}

/// Half of the work is writing packets, and half the sum of the samples.
MaybeError FlacSeamWriter::tell(int64_t numFramesSummed)
{
    mProgress->setMarkValue(mFirstMark + (mNumFrames + numFramesSummed) / 2);
    return mProgress->isCancelled() ? MaybeError(Error::cancelled()) : std::nullopt;
}

/// As many at a time as are read at once.
MaybeError FlacSeamWriter::copyPackets(const PacketPlan::Step& step)
{
    auto left = std::span(mPlan.packets()).subspan(step.firstPacket, step.numPackets);
    while (!left.empty()) {
        const int64_t start = left.front().offset;
        size_t count = 1;
        while (count < left.size() && left[count].end() - start <= bytesPerRead)
            ++count;
        if (MaybeError error = copyPackets(left.first(count)))
            return error;
        left = left.subspan(count);
    }
    return std::nullopt;
}

/// They stand one behind the other.
MaybeError FlacSeamWriter::copyPackets(std::span<const SoundPacket> packets)
{
    const int64_t start = packets.front().offset;
    mRead.resize(static_cast<size_t>(packets.back().end() - start));
    if (mSource.readAt(start, mRead) != std::ssize(mRead)) {
        mSource.noteMissedRead();
        return missedReadsError(mSource);
    }
    for (const SoundPacket& packet : packets) {
        const auto bytes = std::span<const std::byte>(mRead).subspan(
            static_cast<size_t>(packet.offset - start), static_cast<size_t>(packet.numBytes));
        if (MaybeError error = addPacket(bytes))
            return error;
    }
    return mProgress->isCancelled() ? MaybeError(Error::cancelled()) : std::nullopt;
}

MaybeError FlacSeamWriter::addPacket(std::span<const std::byte> packet)
{
    const auto head = FlacPacketHead::parse(packet);
    if (!head) // It was there when the file was looked through.
        return missedReadsError(mSource);
    mPacket.clear();
    const bool countsFrames = mCommonLength == 0;
    head->appendRenumbered(packet, countsFrames, countsFrames ? mNumFrames : mNumPackets, mPacket);
    if (mSeekTable)
        mSeekTable->didWrite(mNumFrames, mNumBytes, head->numFrames);
    if (mNumPackets > 0)
        mFrames.take(mLastFrames);
    mLastFrames = head->numFrames;
    mBytes.take(std::ssize(mPacket));
    ++mNumPackets;
    mNumFrames += head->numFrames;
    mNumBytes += std::ssize(mPacket);
    mSink->addFrame(mPacket, mNumFrames);
    return mSink->error();
}

/// The least length is that of all packets but the last one, the most that of all.
QByteArray FlacSeamWriter::streamInfo(const QByteArray& sum) const
{
    Extent lengths = mFrames;
    lengths.most = std::max({lengths.most, mLastFrames, FlacPacketHead::leastFrames});
    if (mNumPackets < 2)
        lengths.least = lengths.most;
    QByteArray info(streamInfoLength, '\0');
    qToBigEndian(static_cast<quint16>(lengths.least), info.data());
    qToBigEndian(static_cast<quint16>(lengths.most), info.data() + 2);
    // Three bytes each; 0 says that it is not known.
    const auto told = [](int64_t numBytes) { return numBytes < mostBytesTold ? quint64(numBytes) : 0; };
    const quint64 sizes = told(mBytes.least) << 24 | told(mBytes.most);
    qToBigEndian(static_cast<quint16>(sizes >> 32), info.data() + 4);
    qToBigEndian(static_cast<quint32>(sizes), info.data() + 6);
    const quint64 numFrames = mNumFrames < mostFramesTold ? quint64(mNumFrames) : 0;
    qToBigEndian(quint64{mFormat.sampleRate} << 44 | quint64{mFormat.numChannels - 1} << 41 |
                     quint64{mFormat.bitsPerSample - 1} << 36 | numFrames,
                 info.data() + 10);
    info.replace(sumOffset, sum.size(), sum);
    return info;
}

} // namespace velloria
