#include "formats/mpeg4/AacCrop.h"

#include "platform/MissedReads.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Whether both describe packets of one kind, rate and channels: 5 bits kind, 4 bits rate, 4 bits channels
/// and 3 bits that change the length of packets (ISO 14496-3, 1.6.2.1). What follows tells of extensions.
bool areAlike(const QByteArray& cookie, const QByteArray& other)
{
    constexpr qsizetype length = 2;
    return cookie.size() >= length && other.size() >= length && cookie.first(length) == other.first(length);
}

} // namespace

std::unique_ptr<AacCrop> AacCrop::plan(const std::shared_ptr<FileHandle>& file, int64_t primingFrames,
                                       int64_t framesInPackets, const SoundPiece& piece,
                                       const StreamDescription& format)
{
    std::unique_ptr<PacketReader> reader = PacketReader::open(file, 0, nullptr);
    auto encoder = PacketEncoder::create(format, 0, nullptr);
    if (!reader || !encoder || reader->dataFormat() != DataFormat::kAac || reader->isCutShort() ||
        !areAlike(reader->magicCookie(), encoder->magicCookie()) ||
        reader->numFramesInPackets() != framesInPackets ||
        reader->numFramesInPackets() != reader->numPackets() * encoder->framesPerPacket())
        return nullptr;
    return std::unique_ptr<AacCrop>(new AacCrop(std::move(reader), std::move(encoder),
                                                piece.sourceFrame + primingFrames, piece.numFrames));
}

/// `start` is counted in all frames that the packets decode to.
AacCrop::AacCrop(std::unique_ptr<PacketReader> reader, std::unique_ptr<PacketEncoder> encoder, int64_t start,
                 int64_t numFrames)
    : mReader(std::move(reader))
    , mEncoder(std::move(encoder))
    , mNumFrames(numFrames)
{
    const int64_t framesPerPacket = mEncoder->framesPerPacket();
    mFirstPacket = std::max<int64_t>(0, start / framesPerPacket - 1);
    mLeadFrames = start - mFirstPacket * framesPerPacket;
    mNumPackets = (mLeadFrames + numFrames + framesPerPacket - 1) / framesPerPacket;
}

MaybeError AacCrop::write(const FrameSource& /*document*/, const SaveRange& /*range*/, PacketSink& container,
                          Progress& progress)
{
    const int64_t framesPerPacket = mEncoder->framesPerPacket();
    const int64_t firstMark = progress.markValue();
    MaybeError error = container.begin(*mEncoder);
    const AvPacketPtr packet(FFmpegLibraries::loaded().av_packet_alloc());
    for (int64_t i = 0; i < mFirstPacket + mNumPackets && !error; ++i) {
        if (!mReader->readPacket(*packet)) {
            mReader->fileHandle()->noteMissedRead();
            return missedReadsError(*mReader->fileHandle());
        }
        const int64_t frame = (i - mFirstPacket) * framesPerPacket - mLeadFrames;
        if (i < mFirstPacket)
            continue;
        packet->flags = AV_PKT_FLAG_KEY;
        packet->pts = packet->dts = frame;
        packet->duration = std::min(framesPerPacket, mNumFrames - frame);
        error = container.writePacket(*packet);
        progress.setMarkValue(firstMark + std::clamp<int64_t>(frame + framesPerPacket, 0, mNumFrames));
        if (!error && progress.isCancelled())
            error = Error::cancelled();
    }
    return error ? error : container.finish(packetTable());
}

PacketTable AacCrop::packetTable() const
{
    const int64_t numDecoded = mNumPackets * mEncoder->framesPerPacket();
    return {mNumFrames, mLeadFrames, numDecoded - mLeadFrames - mNumFrames};
}

} // namespace velloria
