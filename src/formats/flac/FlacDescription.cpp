#include "formats/flac/FlacDescription.h"

#include "formats/flac/FlacInOgg.h"
#include "formats/flac/FlacLedger.h"
#include "formats/ogg/OggLedger.h"
#include "formats/ogg/OggStreams.h"
#include "formats/tagediting/TagsAround.h"
#include "platform/Log.h"
#include "platform/codec/ElementaryStreams.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr uint32_t narrowestSample = 8;

/// Collects what the blocks say.
class Intake : public FlacStreamDecoder::Client
{
public:
    explicit Intake(FlacDescription& description)
        : mDescription(description)
    {
    }

    bool hasStreamInfo() const { return mHasStreamInfo; }
    /// Only comes to this where no metadata told.
    bool didDecode(const FLAC__Frame& frame, const FLAC__int32* const[]) override
    {
        mHasStreamInfo = true;
        mDescription.format = {frame.header.sample_rate, frame.header.channels, frame.header.bits_per_sample};
        return false;
    }
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
        default:
            return noteBlock(block);
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

    /// In Ogg the blocks stand in packets; in a file of its own they are accounted for by their bytes.
    void noteBlock(const FLAC__StreamMetadata& block)
    {
        if (!mDescription.container.isOgg)
            return;
        const auto* const id = reinterpret_cast<const char*>(block.data.application.id);
        const bool isApplication = block.type == FLAC__METADATA_TYPE_APPLICATION;
        const QString name =
            FlacLedger::nameOfBlock(block.type, isApplication ? QByteArrayView(id, 4) : QByteArrayView());
        const Keeping keeping = mDescription.blocks ? Keeping::asBytes : Keeping::notKept;
        if (!name.isEmpty())
            mDescription.ledger.add({ItemKind::part, keeping, name, {}});
    }

    FlacDescription& mDescription;
    bool mHasStreamInfo = false;
};

std::optional<FlacMetadataEdit::Blocks> blocksOf(const FileHandle& handle,
                                                 const FlacStreamDecoder::Container& container)
{
    if (container.isOgg) {
        const std::optional<OggHeaders> headers = FlacInOgg::headersOf(handle);
        return headers ? std::optional(FlacInOgg::blocksOf(*headers)) : std::nullopt;
    }
    const FlacLayout layout = FlacLayout::ofFile(handle);
    if (!layout.isWhole)
        return std::nullopt;
    FlacMetadataEdit::Blocks blocks = FlacMetadataEdit::blocksOf(handle, layout);
    return blocks.size() + 1 == layout.blocks.size() ? std::optional(std::move(blocks)) : std::nullopt;
}

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
    const auto tags = TagsAround::inFront(handle);
    const int64_t start = tags.empty() ? 0 : tags.back().bytes.end();
    if (handle.readAt(start, 4) == "fLaC")
        return FlacStreamDecoder::Container{false, 0, false, start};
    // The head of AAC packets can begin with the same bits, and its checksum be right by chance.
    if (FlacLedger::isFrameAt(handle, start) && !ElementaryStreams::isAdts(handle))
        return FlacStreamDecoder::Container{false, 0, true, start};
    const auto stream = OggStreams::startWith(OggStreams::startsIn(handle), OggStreams::flacStart);
    if (stream)
        return FlacStreamDecoder::Container{true, static_cast<int32_t>(stream->serialNumber), false};
    return std::nullopt;
}

std::optional<FlacDescription> FlacDescription::read(const std::shared_ptr<const FileHandle>& handle,
                                                     FlacStreamDecoder::Container container, QString* why)
{
    FlacDescription description;
    if (container.isOgg)
        description.ledger.addNested(
            oggLedgerOfFirst(*handle, {static_cast<uint32_t>(container.serialNumber)}, &container.end), 0);
    description.container = container;
    description.blocks = blocksOf(*handle, container);
    Intake intake(description);
    const auto decoder =
        FlacStreamDecoder::open(handle, container, FlacStreamDecoder::Metadata::told, intake);
    description.isComplete = decoder && decoder->readMetadata();
    // What nobody could read to its end is no metadata that could be edited.
    if (!description.isComplete)
        description.blocks.reset();
    if (container.isBare && description.isComplete)
        decoder->decodeNext();
    if (!container.isOgg)
        description.ledger = FlacLedger::ofFile(*handle);
    *why = intake.hasStreamInfo() ? reasonToRefuse(description.format)
                                  : QStringLiteral("its description of the sound is missing");
    return why->isEmpty() ? std::optional(std::move(description)) : std::nullopt;
}

} // namespace velloria
