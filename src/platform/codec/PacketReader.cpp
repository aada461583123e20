#include "platform/codec/PacketReader.h"

#include "platform/codec/AppleLosslessPacket.h"
#include "platform/codec/AudioFormats.h"
#include "platform/codec/CafPacketTable.h"
#include "platform/codec/CodecTable.h"
#include "platform/codec/ElementaryStreams.h"

#include <QtEndian>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// Packets at the start that may fail to decode before a file is given up.
constexpr int kMaxPacketsTried = 32;
// The part at the end of linear PCM that is read to see where it ends.
constexpr int64_t kTailFrames = 4096;

Error noPackets()
{
    return {Error::Code::corruptFile, QStringLiteral("The file holds no sound that can be decoded.")};
}

bool isOneOf(const Demuxer& demuxer, std::initializer_list<std::string_view> containers)
{
    return std::any_of(containers.begin(), containers.end(),
                       [&demuxer](std::string_view name) { return demuxer.isContainer(name); });
}

/// The nearest whole number, within what damaged files may claim without overflowing sums.
int64_t toFrames(double frames)
{
    constexpr double bound = 1e15;
    return std::llround(std::clamp(frames, -bound, bound));
}

QByteArray cookieOf(const AVCodecParameters& codec)
{
    if (codec.extradata_size <= 0)
        return {};
    return {reinterpret_cast<const char*>(codec.extradata), codec.extradata_size};
}

FourCharCode dataFormatOf(const AVCodecContext& codec)
{
    const CodecEntry* const entry = codecEntry(codec.codec_id);
    if (codec.codec_id == AV_CODEC_ID_AAC && codec.profile == FF_PROFILE_AAC_HE)
        return DataFormat::kHeAac;
    if (codec.codec_id == AV_CODEC_ID_AAC && codec.profile == FF_PROFILE_AAC_HE_V2)
        return DataFormat::kHeAacV2;
    return entry ? entry->dataFormat : 0;
}

std::optional<PacketPreroll> prerollOf(const AVCodecContext& codec)
{
    switch (codec.codec_id) {
    case AV_CODEC_ID_ALAC:
        return PacketPreroll{0, 0};
    case AV_CODEC_ID_MP3:
        // A packet may begin up to 511 bytes back (behind the heads of the packets before it), overlaps the
        // previous one, and goes through a filter that remembers less than a packet.
        return PacketPreroll{3, 511};
    default:
        return std::nullopt;
    }
}

StreamDescription linearPcmDescription(const LinearPcmLayout& layout, double sampleRate, uint32_t numChannels)
{
    AudioStreamBasicDescription asbd;
    asbd.sampleRate = sampleRate;
    asbd.formatID = DataFormat::kLinearPcm;
    asbd.formatFlags = FormatFlag::kPacked;
    if (layout.isFloat)
        asbd.formatFlags |= FormatFlag::kFloat;
    else if (layout.isSigned)
        asbd.formatFlags |= FormatFlag::kSignedInteger;
    if (layout.isBigEndian)
        asbd.formatFlags |= FormatFlag::kBigEndian;
    asbd.channelsPerFrame = numChannels;
    asbd.bitsPerChannel = 8 * layout.bytesPerSample;
    StreamDescription description(asbd);
    description.useAudioFormatToValidateDescription();
    return description;
}

int64_t framesOfAppleLossless(const QByteArray& head, int64_t fullFrames)
{
    const auto* const bytes = reinterpret_cast<const uint8_t*>(head.constData());
    return AppleLosslessPacket::numFrames({bytes, static_cast<size_t>(head.size())}, fullFrames);
}

} // namespace

/// What a pass over all packets found.
struct PacketReader::Walk {
    int64_t numPackets = 0;
    int64_t numBytes = 0;
    int64_t largest = 0;
    int64_t duration = 0; // in the stream's time base
    QByteArray headOfLast;
    int64_t sizeOfLast = 0;
    /// Of Apple Lossless: what the heads of all packets tell.
    int64_t numFrames = 0;
    /// The tables tell of packets that are not in the file.
    bool isCutShort = false;
    int64_t firstSkip = 0;
    int64_t lastDiscard = 0;

    void add(int64_t size)
    {
        ++numPackets;
        numBytes += size;
        largest = std::max(largest, size);
        sizeOfLast = size;
    }
};

PacketReader::~PacketReader() = default;

std::unique_ptr<PacketReader> PacketReader::open(const std::filesystem::path& path, FourCharCode typeHint,
                                                 MaybeError* error)
{
    const std::shared_ptr<FileHandle> handle = FileHandle::openForReading(path, error);
    return handle ? open(handle, typeHint, error) : nullptr;
}

std::unique_ptr<PacketReader> PacketReader::open(const std::shared_ptr<FileHandle>& handle,
                                                 FourCharCode typeHint, MaybeError* error)
{
    std::unique_ptr<PacketReader> reader(new PacketReader(handle));
    MaybeError failure = reader->openDemuxer(typeHint);
    if (!failure) {
        const auto layout = linearPcmLayout(reader->codecParameters().codec_id);
        const bool isOneRun = layout && isOneOf(*reader->mDemuxer, {"wav", "w64", "aiff", "au", "caf"});
        failure = isOneRun ? reader->readLinearPcm(*layout) : reader->readPackets(typeHint);
    }
    if (!failure)
        return reader;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError PacketReader::openDemuxer(FourCharCode typeHint)
{
    MaybeError error;
    mDemuxer = Demuxer::open(mHandle, typeHint, &error);
    mNumPacketsRead = 0;
    return error;
}

MaybeError PacketReader::readLinearPcm(const LinearPcmLayout& layout)
{
    const AVCodecParameters& codec = codecParameters();
    const int numChannels = codec.ch_layout.nb_channels;
    if (numChannels < 1 || numChannels > kMaxChannels || codec.sample_rate < 1 ||
        codec.sample_rate > kMaxSampleRate)
        return Error{Error::Code::corruptFile,
                     QStringLiteral("The file's header gives a channel count or rate that makes no sense.")};
    mDescription = linearPcmDescription(layout, codec.sample_rate, static_cast<uint32_t>(numChannels));
    const int64_t bytesPerFrame = mDescription.bytesPerFrame();
    LinearPcmRun run = {layout, 0, 0};
    const AvPacketPtr packet(FFmpegLibraries::loaded().av_packet_alloc());
    if (mDemuxer->readPacket(*packet) && packet->pos >= 0) {
        run.offset = packet->pos;
        const int64_t numBytesAtMost = mHandle->length() - run.offset;
        const int64_t end = endOfLinearPcm(run.offset, numBytesAtMost, bytesPerFrame);
        run.numBytes = (end - run.offset) / bytesPerFrame * bytesPerFrame;
    }
    mLinearPcmRun = run;
    mNumFramesInPackets = run.numBytes / bytesPerFrame;
    mMaximumPacketSize = mDescription.bytesPerPacket();
    mBitRate = std::llround(mDescription.sampleRate() * 8.0 * static_cast<double>(bytesPerFrame));
    return std::nullopt;
}

/// Where the run that begins at `offset` ends, as the container has it (other chunks may follow). Looks at
/// the last packets only, where the container's length can be relied on to find them.
int64_t PacketReader::endOfLinearPcm(int64_t offset, int64_t numBytesAtMost, int64_t bytesPerFrame)
{
    int64_t numFrames = numBytesAtMost / bytesPerFrame;
    const AVStream& stream = mDemuxer->stream();
    if (stream.duration > 0)
        numFrames = std::min(numFrames, framesOf(stream.duration));
    const int64_t tail = std::max<int64_t>(0, numFrames - kTailFrames);
    const AvPacketPtr packet(FFmpegLibraries::loaded().av_packet_alloc());
    for (const int64_t from : {tail, int64_t{0}}) {
        int64_t end = offset + from * bytesPerFrame;
        bool hasPacket = false;
        if (!mDemuxer->seekToFrame(from))
            continue;
        while (mDemuxer->readPacket(*packet) && packet->pos >= offset && (!hasPacket || packet->pos == end)) {
            hasPacket = true;
            end = packet->pos + packet->size;
        }
        if (hasPacket)
            return std::min(end, offset + numBytesAtMost);
    }
    return offset;
}

MaybeError PacketReader::readPackets(FourCharCode typeHint)
{
    // Before FFmpeg reckons what the file does not tell.
    const int64_t durationTold = mDemuxer->stream().duration;
    Walk found;
    MaybeError error = walk(found);
    if (error)
        return error;
    mMagicCookie = cookieOf(codecParameters());
    mNumPackets = found.numPackets;
    mMaximumPacketSize = static_cast<uint32_t>(found.largest);
    mIsCutShort = found.isCutShort || mDemuxer->hasMetCutPacket() || areElementaryPacketsCutShort(found);
    countFrames(found);
    mHasLostPackets = !mIsCutShort && isToldMoreThanCounted(durationTold);
    readPacketTable(found);
    if (mNumFramesInPackets > 0) {
        const double seconds = static_cast<double>(mNumFramesInPackets) / mDescription.sampleRate();
        mBitRate = std::llround(8.0 * static_cast<double>(found.numBytes) / seconds);
    }
    return openDemuxer(typeHint);
}

/// Counts the packets; decodes until one has given frames.
MaybeError PacketReader::walk(Walk& result)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    if (!mDemuxer->findDurations())
        return noPackets();
    MaybeError error;
    const auto decoder = PacketDecoder::open(codecParameters(), &error);
    if (!decoder)
        return error;
    const AvPacketPtr packet(av.av_packet_alloc());
    bool isDecoded = false;
    while (mDemuxer->readPacket(*packet)) {
        if (!isDecoded) {
            isDecoded = decoder->send(*packet) && decoder->numFramesAvailable() > 0;
            if (isDecoded) {
                fillDescription(*decoder);
                if (walkIndex(result))
                    return std::nullopt;
            } else if (result.numPackets >= kMaxPacketsTried) {
                return noPackets();
            }
        }
        size_t sideSize = 0;
        const uint8_t* const skip =
            av.av_packet_get_side_data(packet.get(), AV_PKT_DATA_SKIP_SAMPLES, &sideSize);
        if (skip && sideSize >= 8) {
            result.firstSkip += qFromLittleEndian<uint32_t>(skip);
            result.lastDiscard += qFromLittleEndian<uint32_t>(skip + 4);
        }
        result.add(packet->size);
        result.duration += std::max<int64_t>(0, packet->duration);
        result.headOfLast =
            QByteArray(reinterpret_cast<const char*>(packet->data), std::min(packet->size, 16));
        result.numFrames +=
            framesOfAppleLossless(result.headOfLast, framesPerPacketOfAppleLossless(codecParameters()));
    }
    return isDecoded ? std::nullopt : MaybeError(noPackets());
}

/// Counts by the index that MPEG-4 files bring along, without reading the packets. False where there is no
/// complete one.
bool PacketReader::walkIndex(Walk& result) const
{
    if (!mDemuxer->isContainer("mov"))
        return false;
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    AVStream& stream = mDemuxer->stream();
    const auto timing = readMpeg4Timing(*mHandle, static_cast<uint32_t>(stream.id));
    if (!timing || timing->isFragmented)
        return false;
    Walk found;
    const int64_t length = mHandle->length();
    const int numEntries = av.avformat_index_get_entries_count(&stream);
    const AVIndexEntry* last = nullptr;
    for (int i = 0; i < numEntries; ++i) {
        const AVIndexEntry* const entry = av.avformat_index_get_entry(&stream, i);
        const bool isInFile = entry->pos >= 0 && entry->pos <= length - entry->size;
        // Packets that would not fit side by side in the file are invented.
        found.isCutShort = !isInFile || found.numBytes + entry->size > length;
        if (found.isCutShort)
            break;
        found.add(entry->size);
        last = entry;
    }
    found.duration = timing->mediaDuration;
    if (last)
        found.headOfLast = mHandle->readAt(last->pos, std::min(last->size, 16));
    if (last && codecParameters().codec_id == AV_CODEC_ID_ALAC)
        countAppleLossless(found);
    result = found;
    return last != nullptr;
}

/// By the heads of the packets of a complete index. These are read where the durations tell that packets
/// before the last one are short, too.
void PacketReader::countAppleLossless(Walk& walk) const
{
    const int64_t numFramesBeforeLast = (walk.numPackets - 1) * mFramesPerPacket;
    walk.numFrames = numFramesBeforeLast + framesOfAppleLossless(walk.headOfLast, mFramesPerPacket);
    if (walk.isCutShort || framesOf(walk.duration) > numFramesBeforeLast)
        return;
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    AVStream& stream = mDemuxer->stream();
    walk.numFrames = 0;
    for (int i = 0; i < walk.numPackets; ++i) {
        const AVIndexEntry* const entry = av.avformat_index_get_entry(&stream, i);
        const int64_t headBytes = std::min<int64_t>(entry->size, AppleLosslessPacket::headBytes);
        walk.numFrames += framesOfAppleLossless(mHandle->readAt(entry->pos, headBytes), mFramesPerPacket);
    }
}

/// Packets without a container around them, where the file ends within the last one, or its first one tells
/// that there were more.
bool PacketReader::areElementaryPacketsCutShort(const Walk& walk) const
{
    const bool isMpegAudio = mDemuxer->isContainer("mp3");
    if (!isMpegAudio && !mDemuxer->isContainer("aac"))
        return false;
    if (walk.sizeOfLast < ElementaryStreams::bytesOfPacket(walk.headOfLast, isMpegAudio).value_or(0))
        return true;
    // Some programs count the packet that holds the number, others do not.
    return isMpegAudio && walk.numPackets + 1 < ElementaryStreams::numMpegPacketsTold(*mHandle).value_or(0);
}

void PacketReader::fillDescription(const PacketDecoder& decoder)
{
    const AVCodecContext& codec = decoder.codec();
    const AVFrame& frame = decoder.frame();
    const auto numChannels = static_cast<uint32_t>(frame.ch_layout.nb_channels);
    const int rate = frame.sample_rate > 0 ? frame.sample_rate : codec.sample_rate;
    mFramesPerPacket = frame.nb_samples;
    mPreroll = prerollOf(codec);
    if (const auto layout = linearPcmLayout(codec.codec_id)) {
        mDescription = linearPcmDescription(*layout, rate, numChannels);
        return;
    }
    AudioStreamBasicDescription asbd;
    asbd.sampleRate = rate;
    asbd.formatID = dataFormatOf(codec);
    asbd.channelsPerFrame = numChannels;
    mDescription = StreamDescription(asbd);
    if (audioFormatInfo(asbd.formatID))
        mDescription.useAudioFormatToValidateDescription();
    AudioStreamBasicDescription& filled = mDescription.audioStreamBasicDescription();
    const CodecEntry* const entry = codecEntry(codec.codec_id);
    if (codec.codec_id == AV_CODEC_ID_ALAC) {
        filled.formatFlags = appleLosslessFlags(static_cast<uint32_t>(codec.bits_per_raw_sample));
        mFramesPerPacket = std::max(mFramesPerPacket, framesPerPacketOfAppleLossless(codecParameters()));
    }
    if (entry && entry->hasEqualPackets)
        filled.framesPerPacket = static_cast<uint32_t>(mFramesPerPacket);
}

uint32_t PacketReader::flacBits() const
{
    // In the STREAMINFO block (RFC 9639, 8.2), which is FFmpeg's extradata of FLAC, the five bits from bit
    // 103 on hold the width less one.
    constexpr int streamInfoLength = 34;
    const AVCodecParameters& codec = codecParameters();
    if (codec.codec_id != AV_CODEC_ID_FLAC || codec.extradata_size < streamInfoLength)
        return 0;
    const uint8_t* const info = codec.extradata;
    return (static_cast<uint32_t>(info[12] & 1) << 4 | info[13] >> 4) + 1;
}

void PacketReader::countFrames(const Walk& walk)
{
    const AVCodecID codec = codecParameters().codec_id;
    const int64_t bytesPerFrame = mDescription.bytesPerFrame();
    if (codec == AV_CODEC_ID_ALAC) {
        mNumFramesInPackets = walk.numFrames;
    } else if (!codecEntry(codec)->hasEqualPackets && bytesPerFrame > 0) {
        mNumFramesInPackets = walk.numBytes / bytesPerFrame;
    } else if (!codecEntry(codec)->hasEqualPackets && walk.duration > 0) {
        mNumFramesInPackets = std::min(framesOf(walk.duration), walk.numPackets * kMaxFramesPerPacket);
    } else {
        mNumFramesInPackets = walk.numPackets * mFramesPerPacket;
    }
}

/// By the `fact` of WAVE and the packet table of CAF. A packet may be missing where a program counted the
/// encoder's delay or not; some write samples of all channels where frames are meant. The durations of MPEG-4
/// are none of this: they may leave gaps between packets.
bool PacketReader::isToldMoreThanCounted(int64_t durationTold) const
{
    const int64_t tolerance = std::max<int64_t>(mFramesPerPacket, 1);
    const int64_t numTold = framesOf(durationTold);
    if (!isOneOf(*mDemuxer, {"wav", "w64", "caf"}) || numTold <= mNumFramesInPackets + tolerance)
        return false;
    const int64_t numSamples = mNumFramesInPackets * mDescription.channelsPerFrame();
    return mDescription.channelsPerFrame() < 2 || std::abs(numTold - numSamples) > tolerance;
}

void PacketReader::readPacketTable(const Walk& walk)
{
    const int64_t numFrames = mNumFramesInPackets;
    if (mDemuxer->isContainer("caf")) {
        mPacketTable = readCafPacketTable(*mHandle);
    } else if (mDemuxer->isContainer("mov")) {
        const auto timing = readMpeg4Timing(*mHandle, static_cast<uint32_t>(mDemuxer->stream().id));
        const bool isTold = timing && (timing->editStart || codecParameters().codec_id != AV_CODEC_ID_AAC);
        if (isTold || parseGaplessTag(mDemuxer->tag("iTunSMPB")))
            mPacketTable = mpeg4PacketTable(timing.value_or(Mpeg4Timing()));
    } else if (walk.firstSkip + walk.lastDiscard > 0) {
        mPacketTable =
            PacketTable{numFrames - walk.firstSkip - walk.lastDiscard, walk.firstSkip, walk.lastDiscard};
    }
    if (!mPacketTable)
        return;
    PacketTable& table = *mPacketTable;
    table.primingFrames = std::min(table.primingFrames, numFrames);
    table.numberOfValidFrames =
        std::clamp<int64_t>(table.numberOfValidFrames, 0, numFrames - table.primingFrames);
    table.remainderFrames = numFrames - table.primingFrames - table.numberOfValidFrames;
}

/// The edit list counts, except one that begins at 0 beside a tag that knows better; then the tag. The end is
/// the earliest that any of them gives.
PacketTable PacketReader::mpeg4PacketTable(const Mpeg4Timing& timing) const
{
    const auto tag = parseGaplessTag(mDemuxer->tag("iTunSMPB"));
    const double scale = timing.mediaTimescale > 0 ? mDescription.sampleRate() / timing.mediaTimescale : 0.0;
    const auto scaled = [scale](int64_t units) { return toFrames(scale * static_cast<double>(units)); };
    const int64_t editStart = scaled(timing.editStart.value_or(0));
    int64_t end = mNumFramesInPackets;
    const int64_t mediaEnd = scaled(timing.mediaDuration);
    // A last packet that is shorter than the others says so in its duration.
    if (mediaEnd > 0 && mediaEnd < end && end - mediaEnd < mFramesPerPacket)
        end = mediaEnd;
    const int64_t editEnd = scaled(timing.editStart.value_or(0) + timing.editDuration);
    // A coarse clock rounds the length of the edit; the durations of the packets are exact.
    const int64_t tick = timing.editTick > 1 ? scaled(timing.editTick) : 0;
    if (timing.editDuration > 0 && end - editEnd > tick)
        end = editEnd;
    PacketTable table;
    table.primingFrames = editStart > 0 || !tag ? editStart : tag->primingFrames;
    if (tag && tag->primingFrames == table.primingFrames)
        end = std::min(end, tag->primingFrames + tag->numberOfValidFrames);
    table.numberOfValidFrames = end - table.primingFrames;
    return table;
}

int64_t PacketReader::framesOf(int64_t duration) const
{
    const AVRational base = mDemuxer->stream().time_base;
    if (duration <= 0 || base.den <= 0)
        return 0;
    return toFrames(static_cast<double>(duration) * base.num / base.den * mDescription.sampleRate());
}

bool PacketReader::readPacket(AVPacket& packet)
{
    if (mNumPacketsRead >= mNumPackets || !mDemuxer->readPacket(packet))
        return false;
    ++mNumPacketsRead;
    return true;
}

int64_t PacketReader::nominalFrames(const AVPacket& packet) const
{
    if (codecParameters().codec_id == AV_CODEC_ID_ALAC)
        return AppleLosslessPacket::numFrames({packet.data, static_cast<size_t>(packet.size)},
                                              mFramesPerPacket);
    const bool isEqual = codecEntry(codecParameters().codec_id)->hasEqualPackets;
    return isEqual ? mFramesPerPacket : std::min(framesOf(packet.duration), kMaxFramesPerPacket);
}

} // namespace velloria
