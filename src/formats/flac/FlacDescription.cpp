#include "formats/flac/FlacDescription.h"

#include "formats/chunks/ChunkNames.h"
#include "formats/ogg/OggStreams.h"
#include "platform/Log.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t id3HeaderLength = 10;
constexpr uint32_t narrowestSample = 8;

/// The length of the ID3v2 tag that a file begins with; 0 when there is none.
int64_t lengthOfId3Tag(const FileHandle& handle)
{
    const QByteArray header = handle.readAt(0, id3HeaderLength);
    if (header.size() < id3HeaderLength || !header.startsWith("ID3"))
        return 0;
    int64_t length = 0;
    for (qsizetype i = 6; i < id3HeaderLength; ++i)
        length = length << 7 | (header[i] & 0x7F);
    return length + id3HeaderLength;
}

/// Collects what the blocks say.
class Intake : public FlacStreamDecoder::Client
{
public:
    explicit Intake(FlacDescription& description)
        : mDescription(description)
    {
    }

    bool hasStreamInfo() const { return mHasStreamInfo; }
    bool didDecode(const FLAC__Frame&, const FLAC__int32* const[]) override { return false; }
    void didFail(FLAC__StreamDecoderErrorStatus status) override
    {
        logLine(QStringLiteral("FLAC decoder error: %1").arg(static_cast<int>(status)));
    }

    void didReadMetadata(const FLAC__StreamMetadata& block) override
    {
        switch (block.type) {
        case FLAC__METADATA_TYPE_STREAMINFO:
            return takeStreamInfo(block.data.stream_info);
        case FLAC__METADATA_TYPE_VORBIS_COMMENT:
            return takeComments(block.data.vorbis_comment);
        case FLAC__METADATA_TYPE_PICTURE:
            return takePicture(block.data.picture);
        case FLAC__METADATA_TYPE_CUESHEET:
            return note(QStringLiteral("cue sheet"));
        case FLAC__METADATA_TYPE_APPLICATION:
            return noteApplication(block.data.application.id);
        case FLAC__METADATA_TYPE_PADDING:
        case FLAC__METADATA_TYPE_SEEKTABLE:
            return;
        default:
            return note(QStringLiteral("metadata block of type %1").arg(static_cast<int>(block.type)));
        }
    }

private:
    void takeStreamInfo(const FLAC__StreamMetadata_StreamInfo& info)
    {
        mHasStreamInfo = true;
        mDescription.format = {info.sample_rate, info.channels, info.bits_per_sample};
        mDescription.numFrames = static_cast<int64_t>(info.total_samples);
        const QByteArray md5(reinterpret_cast<const char*>(info.md5sum), sizeof info.md5sum);
        if (md5.count('\0') != md5.size())
            mDescription.md5 = md5;
    }

    void takeComments(const FLAC__StreamMetadata_VorbisComment& block)
    {
        for (const FLAC__StreamMetadata_VorbisComment_Entry& entry :
             std::span(block.comments, block.num_comments)) {
            if (entry.entry)
                mDescription.comments.add({reinterpret_cast<const char*>(entry.entry), entry.length});
        }
    }

    void takePicture(const FLAC__StreamMetadata_Picture& picture)
    {
        const auto* const data = reinterpret_cast<const char*>(picture.data);
        mDescription.comments.addPicture(
            picture.type, picture.mime_type ? picture.mime_type : "",
            picture.description ? reinterpret_cast<const char*>(picture.description) : "",
            QByteArray(data, static_cast<qsizetype>(picture.data_length)));
    }

    void noteApplication(const FLAC__byte (&id)[4])
    {
        QString name;
        for (const FLAC__byte byte : id) {
            if (byte >= 0x20 && byte < 0x7F)
                name += QLatin1Char(static_cast<char>(byte));
        }
        note(QStringLiteral("data of an application (“%1”)").arg(name));
    }

    void note(const QString& name) { addChunkName(mDescription.blocksNotKept, name); }

    FlacDescription& mDescription;
    bool mHasStreamInfo = false;
};

QString reasonToRefuse(const FlacFormat& format)
{
    if (format.sampleRate == 0)
        return QStringLiteral("its header gives a sample rate of 0 Hz");
    if (format.bitsPerSample < narrowestSample)
        return QStringLiteral("its samples have only %1 bits").arg(format.bitsPerSample);
    return {};
}

} // namespace

std::optional<FlacStreamDecoder::Container> FlacDescription::containerOf(const FileHandle& handle)
{
    if (handle.readAt(lengthOfId3Tag(handle), 4) == "fLaC")
        return FlacStreamDecoder::Container();
    const auto stream = OggStreams::startWith(OggStreams::startsIn(handle), OggStreams::flacStart);
    if (stream)
        return FlacStreamDecoder::Container{true, static_cast<int32_t>(stream->serialNumber)};
    return std::nullopt;
}

std::optional<FlacDescription> FlacDescription::read(const std::shared_ptr<const FileHandle>& handle,
                                                     FlacStreamDecoder::Container container, QString* why)
{
    FlacDescription description;
    description.container = container;
    Intake intake(description);
    const auto decoder =
        FlacStreamDecoder::open(handle, container, FlacStreamDecoder::Metadata::told, intake);
    description.isComplete = decoder && decoder->readMetadata();
    *why = intake.hasStreamInfo() ? reasonToRefuse(description.format)
                                  : QStringLiteral("its description of the sound is missing");
    return why->isEmpty() ? std::optional(std::move(description)) : std::nullopt;
}

} // namespace velloria
