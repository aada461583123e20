#include "platform/codec/Demuxer.h"

#include "platform/codec/CodecTable.h"
#include "platform/codec/ElementaryStreams.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// The containers of sound that are opened, by FFmpeg's names.
constexpr std::array<std::string_view, 8> kContainers = {"aac", "aiff", "au",  "caf",
                                                         "mov", "mp3",  "w64", "wav"};
constexpr int kMaxStreams = 64;
constexpr int64_t kProbeBytes = int64_t{1} << 20;
constexpr int64_t kFirstLookBytes = int64_t{1} << 16;

Error notSound()
{
    return {Error::Code::unsupported,
            QStringLiteral("The file is not a sound file that can be decoded, or it is damaged.")};
}

bool listContains(std::string_view list, std::string_view name)
{
    while (!list.empty()) {
        const size_t comma = std::min(list.find(','), list.size());
        if (list.substr(0, comma) == name)
            return true;
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return false;
}

bool isAllowed(const AVInputFormat& format)
{
    return std::any_of(kContainers.begin(), kContainers.end(),
                       [&format](std::string_view name) { return listContains(format.name, name); });
}

struct Guess {
    const AVInputFormat* format = nullptr;
    int score = 0;
};

Guess guessFormat(const FileHandle& handle, int64_t offset, int64_t numBytes)
{
    QByteArray bytes = handle.readAt(offset, numBytes);
    AVProbeData probe = {};
    probe.filename = "";
    probe.buf_size = static_cast<int>(bytes.size());
    bytes.append(AVPROBE_PADDING_SIZE, '\0');
    probe.buf = reinterpret_cast<unsigned char*>(bytes.data());
    Guess guess;
    guess.format = FFmpegLibraries::loaded().av_probe_input_format3(&probe, 1, &guess.score);
    return guess;
}

/// What the bytes say; where they say little, what the hint says.
const AVInputFormat* formatOf(const FileHandle& handle, FourCharCode typeHint)
{
    const int64_t offset = ElementaryStreams::lengthOfLeadingTags(handle);
    Guess guess = guessFormat(handle, offset, kFirstLookBytes);
    if (!guess.format || guess.score < AVPROBE_SCORE_RETRY)
        guess = guessFormat(handle, offset, kProbeBytes);
    const bool isUsable = guess.format && isAllowed(*guess.format);
    const char* const hinted = typeHint == FileType::kAdts  ? "aac"
                               : typeHint == FileType::kMp3 ? "mp3"
                                                            : nullptr;
    if (hinted && (!isUsable || guess.score < AVPROBE_SCORE_RETRY))
        return FFmpegLibraries::loaded().av_find_input_format(hinted);
    return isUsable ? guess.format : nullptr;
}

/// What FFmpeg is shown of MPEG audio: not what stands before the first packet, where it would lose packets
/// until it is sure of itself, and more than one or two packets, behind which it would look for another.
FileIoContext::Window windowOnMpegAudio(const FileHandle& handle)
{
    constexpr int64_t numZeros = 131072;
    const auto start =
        ElementaryStreams::startOfMpegAudio(handle).value_or(ElementaryStreams::MpegAudioStart());
    return {start.offset, start.isShort ? numZeros : 0};
}

bool hasMpegAudioHead(const AVPacket& packet)
{
    if (packet.size < 4)
        return false;
    const uint8_t* const head = packet.data;
    const bool isSynchronised = head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
    const bool hasLayer = (head[1] & 0x06) != 0;
    const bool hasBitRate = (head[2] & 0xF0) != 0xF0;
    const bool hasSampleRate = (head[2] & 0x0C) != 0x0C;
    return isSynchronised && hasLayer && hasBitRate && hasSampleRate;
}

/// True for what lies between or behind the packets proper (tags, padding, damage): it stands for no time.
bool isJunk(AVCodecID codec, const AVPacket& packet)
{
    switch (codec) {
    case AV_CODEC_ID_MP3:
    case AV_CODEC_ID_MP2:
    case AV_CODEC_ID_MP1:
        return !hasMpegAudioHead(packet);
    case AV_CODEC_ID_GSM_MS:
        return packet.size < 65;
    case AV_CODEC_ID_GSM:
        return packet.size < 33;
    default:
        return false;
    }
}

int refuseToOpen(AVFormatContext* /*format*/, AVIOContext** /*io*/, const char* /*url*/, int /*flags*/,
                 AVDictionary** /*options*/)
{
    return AVERROR(EACCES);
}

} // namespace

Demuxer::Demuxer(const std::shared_ptr<FileHandle>& handle, const FileIoContext::Window& window)
    : mIo(handle, window)
{
}

Demuxer::~Demuxer()
{
    if (mFormat)
        FFmpegLibraries::loaded().avformat_close_input(&mFormat);
}

std::unique_ptr<Demuxer> Demuxer::open(const std::shared_ptr<FileHandle>& handle, FourCharCode typeHint,
                                       MaybeError* error)
{
    const FFmpegLibraries* av = FFmpegLibraries::load(error);
    if (!av)
        return nullptr;
    const AVInputFormat* const format = formatOf(*handle, typeHint);
    const bool isMpegAudio = format && listContains(format->name, "mp3");
    std::unique_ptr<Demuxer> demuxer(
        new Demuxer(handle, isMpegAudio ? windowOnMpegAudio(*handle) : FileIoContext::Window()));
    MaybeError failure = format ? demuxer->openInput(format) : notSound();
    if (!failure)
        failure = demuxer->chooseStream();
    if (!failure)
        return demuxer;
    if (error)
        *error = failure;
    return nullptr;
}

MaybeError Demuxer::openInput(const AVInputFormat* format)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    mFormat = av.avformat_alloc_context();
    if (!mFormat || !mIo.context())
        return Error{Error::Code::failed, QStringLiteral("There is not enough memory to open the file.")};
    mFormat->pb = mIo.context();
    mFormat->io_open = &refuseToOpen;
    mFormat->probesize = kProbeBytes;
    mFormat->max_analyze_duration = AV_TIME_BASE;
    mFormat->max_streams = kMaxStreams;
    AVDictionary* options = nullptr;
    av.av_dict_set(&options, "codec_whitelist", decoderNames(), 0);
    // Every packet is wanted: what to leave out is read from the file's own tables.
    av.av_dict_set(&options, "ignore_editlist", "1", 0);
    av.av_dict_set(&options, "advanced_editlist", "0", 0);
    av.av_dict_set(&options, "ignore_chapters", "1", 0);
    const int status = av.avformat_open_input(&mFormat, "", format, &options);
    av.av_dict_free(&options);
    return status < 0 ? MaybeError(notSound()) : std::nullopt;
}

MaybeError Demuxer::chooseStream()
{
    constexpr uint32_t protectedSoundTag = MKTAG('d', 'r', 'm', 's');
    bool hasSound = false;
    for (unsigned i = 0; i < mFormat->nb_streams; ++i) {
        AVStream* const stream = mFormat->streams[i];
        const AVCodecParameters& codec = *stream->codecpar;
        const bool isSound = codec.codec_type == AVMEDIA_TYPE_AUDIO;
        hasSound |= isSound;
        if (!mStream && isSound && codec.codec_tag != protectedSoundTag && codecEntry(codec.codec_id))
            mStream = stream;
        else
            stream->discard = AVDISCARD_ALL;
    }
    if (mStream)
        return std::nullopt;
    const QString reason =
        hasSound
            ? QStringLiteral("The sound in the file is protected or encoded in a way that is not supported.")
            : QStringLiteral("The file holds no sound.");
    return Error{Error::Code::unsupported, reason};
}

bool Demuxer::findDurations()
{
    const AVCodecID codec = parameters().codec_id;
    const bool isMpegAudio = codec == AV_CODEC_ID_MP3 || codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP1;
    if (!isMpegAudio || isContainer("mov") || isContainer("caf"))
        return true;
    // What was taken for one encoding may turn out as another.
    return FFmpegLibraries::loaded().avformat_find_stream_info(mFormat, nullptr) >= 0 &&
           codecEntry(parameters().codec_id);
}

bool Demuxer::isContainer(std::string_view name) const
{
    return listContains(mFormat->iformat->name, name);
}

QByteArray Demuxer::tag(const char* key) const
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    const AVDictionaryEntry* entry = av.av_dict_get(mFormat->metadata, key, nullptr, 0);
    if (!entry)
        entry = av.av_dict_get(mStream->metadata, key, nullptr, 0);
    return entry ? QByteArray(entry->value) : QByteArray();
}

bool Demuxer::readPacket(AVPacket& packet)
{
    const FFmpegLibraries& av = FFmpegLibraries::loaded();
    // Where a table counts the packets, one with a damaged head stands for its time.
    const bool hasTable = isContainer("mov") || isContainer("caf");
    while (true) {
        av.av_packet_unref(&packet);
        if (av.av_read_frame(mFormat, &packet) < 0)
            return false;
        const bool isWhole = !(packet.flags & AV_PKT_FLAG_CORRUPT);
        if (packet.stream_index != mStream->index)
            continue;
        mHasMetCutPacket |= !isWhole;
        if (isWhole && (hasTable || !isJunk(parameters().codec_id, packet)))
            return true;
    }
}

bool Demuxer::seekToFrame(int64_t frame)
{
    const int rate = mStream->codecpar->sample_rate;
    if (rate <= 0)
        return false;
    const AVRational base = mStream->time_base;
    const double seconds = static_cast<double>(frame) / rate;
    const auto time = static_cast<int64_t>(seconds * base.den / base.num);
    return FFmpegLibraries::loaded().avformat_seek_file(mFormat, mStream->index, INT64_MIN, time, time, 0) >=
           0;
}

} // namespace velloria
