#include "formats/mpeg4/AppleLosslessSeams.h"

#include "formats/saving/FrameFeed.h"
#include "platform/MissedReads.h"
#include "platform/codec/AppleLosslessPacket.h"
#include "platform/codec/PacketReader.h"

#include <algorithm>

namespace velloria
{

namespace
{

// At each seam the table of durations may begin two runs of 8 bytes, and that of sizes has two entries more.
constexpr int64_t tableBytesPerStep = 32;

/// Where the packets lie; nothing where they do not add up to what was decoded of them.
std::optional<std::vector<SoundPacket>> packetsOf(PacketReader& reader)
{
    const AvPacketPtr packet(FFmpegLibraries::loaded().av_packet_alloc());
    std::vector<SoundPacket> packets;
    int64_t frame = 0;
    while (reader.readPacket(*packet)) {
        const int64_t numFrames = reader.nominalFrames(*packet);
        if (packet->pos < 0 || numFrames <= 0)
            return std::nullopt;
        packets.push_back({packet->pos, frame, packet->size, static_cast<int32_t>(numFrames)});
        frame += numFrames;
    }
    return frame == reader.numFramesInPackets() ? std::optional(std::move(packets)) : std::nullopt;
}

} // namespace

std::unique_ptr<AppleLosslessSeams> AppleLosslessSeams::plan(const std::shared_ptr<FileHandle>& file,
                                                             int64_t primingFrames, SoundPieces pieces,
                                                             int64_t numFrames,
                                                             const StreamDescription& format)
{
    const std::unique_ptr<PacketReader> reader = PacketReader::open(file, 0, nullptr);
    auto encoder = PacketEncoder::create(format, 0, nullptr);
    if (!reader || !encoder || reader->dataFormat() != DataFormat::kAppleLossless ||
        !AppleLosslessPacket::areAlike(reader->magicCookie(), encoder->magicCookie()))
        return nullptr;
    auto packets = packetsOf(*reader);
    if (!packets)
        return nullptr;
    for (SoundPiece& piece : pieces)
        piece.sourceFrame += primingFrames;
    PacketPlan plan(*std::move(packets), pieces, numFrames, {encoder->framesPerPacket(), 1});
    if (!plan.keepsAny())
        return nullptr;
    return std::unique_ptr<AppleLosslessSeams>(
        new AppleLosslessSeams(file, std::move(plan), format, std::move(encoder)));
}

AppleLosslessSeams::AppleLosslessSeams(std::shared_ptr<FileHandle> file, PacketPlan plan,
                                       const StreamDescription& format,
                                       std::unique_ptr<PacketEncoder> encoder)
    : mFile(std::move(file))
    , mPlan(std::move(plan))
    , mFormat(format)
    , mEncoder(std::move(encoder))
{
}

int64_t AppleLosslessSeams::numTableBytes() const
{
    // A file that was put together from short packets stays that.
    const bool hasShort = std::ranges::any_of(mPlan.packets(), [this](const SoundPacket& packet) {
        return packet.numFrames < mEncoder->framesPerPacket();
    });
    int64_t numShort = 0;
    for (const PacketPlan::Step& step : mPlan.steps())
        numShort += hasShort ? static_cast<int64_t>(step.numPackets) : 0;
    return tableBytesPerStep * (std::ssize(mPlan.steps()) + numShort);
}

MaybeError AppleLosslessSeams::write(const FrameSource& document, const SaveRange& range,
                                     PacketSink& container, Progress& progress)
{
    MaybeError error = container.begin(*mEncoder);
    for (const PacketPlan::Step& step : mPlan.steps()) {
        if (error)
            return error;
        error = step.numPackets > 0 ? copy(step, container, progress)
                                    : encode(step, document, range, container, progress);
    }
    return error ? error : container.finish(packetTable());
}

PacketTable AppleLosslessSeams::packetTable() const
{
    const PacketPlan::Step& last = mPlan.steps().back();
    return {last.frame + last.numFrames, 0, 0};
}

MaybeError AppleLosslessSeams::copy(const PacketPlan::Step& step, PacketSink& container,
                                    Progress& progress) const
{
    const AvPacketPtr packet(FFmpegLibraries::loaded().av_packet_alloc());
    std::vector<std::byte> bytes;
    int64_t frame = step.frame;
    for (const SoundPacket& each : std::span(mPlan.packets()).subspan(step.firstPacket, step.numPackets)) {
        bytes.resize(static_cast<size_t>(each.numBytes));
        if (mFile->readAt(each.offset, bytes) != each.numBytes) {
            mFile->noteMissedRead();
            return missedReadsError(*mFile);
        }
        packet->data = reinterpret_cast<uint8_t*>(bytes.data());
        packet->size = each.numBytes;
        packet->flags = AV_PKT_FLAG_KEY;
        packet->pts = packet->dts = frame;
        packet->duration = each.numFrames;
        frame += each.numFrames;
        if (MaybeError error = container.writePacket(*packet))
            return error;
        progress.setMarkValue(progress.markValue() + each.numFrames);
        if (progress.isCancelled())
            return Error::cancelled();
    }
    return std::nullopt;
}

/// By an encoder of its own, which gives a short packet at the end.
MaybeError AppleLosslessSeams::encode(const PacketPlan::Step& step, const FrameSource& document,
                                      const SaveRange& range, PacketSink& container, Progress& progress) const
{
    MaybeError error;
    const auto encoder = PacketEncoder::create(mFormat, 0, &error);
    if (!encoder)
        return error;
    const PacketEncoder::Sink sink = [&](AVPacket& packet) {
        packet.pts += step.frame;
        packet.dts = packet.pts;
        return container.writePacket(packet);
    };
    SaveRange gap = range;
    gap.startFrame += step.frame;
    gap.numFrames = step.numFrames;
    FrameFeed feed(document, gap);
    error = feed.run([&](std::span<const float> interleaved) { return encoder->encode(interleaved, sink); },
                     progress);
    return error ? error : encoder->finish(sink);
}

} // namespace velloria
