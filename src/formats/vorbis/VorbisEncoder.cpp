#include "formats/vorbis/VorbisEncoder.h"

#include "formats/vorbis/VorbisChannels.h"
#include "formats/vorbis/VorbisHeaders.h"
#include "platform/Log.h"

#include <vorbis/vorbisenc.h>

namespace velloria
{

VorbisEncoder::VorbisEncoder(std::shared_ptr<FileHandle> handle, const VorbisSettings& settings,
                             int serialNumber)
    : mSettings(settings)
    , mPages(std::move(handle), serialNumber)
{
    vorbis_info_init(&mInfo);
}

VorbisEncoder::~VorbisEncoder()
{
    if (mHasStarted) {
        vorbis_block_clear(&mBlock);
        vorbis_dsp_clear(&mState);
    }
    vorbis_info_clear(&mInfo);
}

bool VorbisEncoder::canEncode(const VorbisSettings& settings)
{
    return nominalBitRate(settings) > 0;
}

int64_t VorbisEncoder::nominalBitRate(const VorbisSettings& settings)
{
    vorbis_info info;
    vorbis_info_init(&info);
    const int64_t bitRate = setUp(info, settings) == 0 ? info.bitrate_nominal : 0;
    vorbis_info_clear(&info);
    return bitRate;
}

int VorbisEncoder::setUp(vorbis_info& info, const VorbisSettings& settings)
{
    return settings.bitRate > 0
               ? vorbis_encode_init(&info, settings.numChannels, settings.sampleRate, -1,
                                    static_cast<long>(settings.bitRate), -1)
               : vorbis_encode_init_vbr(&info, settings.numChannels, settings.sampleRate, settings.quality);
}

MaybeError VorbisEncoder::start(VorbisCommentPacket& comments)
{
    const int status = setUp(mInfo, mSettings);
    if (status != 0) {
        logLine(QStringLiteral("Ogg Vorbis init failed. Error %1.").arg(status));
        return refusal();
    }
    vorbis_analysis_init(&mState, &mInfo);
    vorbis_block_init(&mState, &mBlock);
    mHasStarted = true;
    writeHeaders(comments);
    return mPages.error();
}

Error VorbisEncoder::refusal() const
{
    const QString sound =
        QStringLiteral("%1 channels at %2 Hz").arg(mSettings.numChannels).arg(mSettings.sampleRate);
    if (mSettings.bitRate > 0) {
        return {Error::Code::unsupported,
                QStringLiteral("Ogg Vorbis cannot encode %1 with %2 kbps. Please choose another bit rate, or "
                               "a quality.")
                    .arg(sound)
                    .arg(mSettings.bitRate / 1000)};
    }
    return {Error::Code::unsupported,
            QStringLiteral("Ogg Vorbis cannot encode %1 with this quality. Please choose another quality or "
                           "sample rate.")
                .arg(sound)};
}

void VorbisEncoder::writeHeaders(VorbisCommentPacket& comments)
{
    vorbis_comment block;
    vorbis_comment_init(&block);
    ogg_packet identification;
    ogg_packet tags;
    ogg_packet codebooks;
    vorbis_analysis_headerout(&mState, &block, &identification, &tags, &codebooks);
    const QByteArray ownTags(reinterpret_cast<const char*>(tags.packet), tags.bytes);
    comments.setVendor(VorbisHeaders::commentsOf(ownTags).vendor());
    QByteArray packet = VorbisHeaders::packetOf(comments);
    tags.packet = reinterpret_cast<unsigned char*>(packet.data());
    tags.bytes = static_cast<long>(packet.size());
    mPages.add(identification);
    mPages.add(tags);
    mPages.add(codebooks);
    // Sound begins on a page of its own.
    mPages.endPage();
    vorbis_comment_clear(&block);
}

MaybeError VorbisEncoder::encode(std::span<const float> interleaved)
{
    const auto numChannels = static_cast<size_t>(mSettings.numChannels);
    const size_t numFrames = interleaved.size() / numChannels;
    float** const buffers = vorbis_analysis_buffer(&mState, static_cast<int>(numFrames));
    for (size_t c = 0; c < numChannels; ++c) {
        float* const out = buffers[vorbisChannel(c, numChannels)];
        for (size_t i = 0; i < numFrames; ++i)
            out[i] = interleaved[i * numChannels + c];
    }
    vorbis_analysis_wrote(&mState, static_cast<int>(numFrames));
    writeBlocks();
    return mPages.error();
}

MaybeError VorbisEncoder::finish()
{
    vorbis_analysis_wrote(&mState, 0);
    writeBlocks();
    return mPages.finish();
}

void VorbisEncoder::writeBlocks()
{
    while (vorbis_analysis_blockout(&mState, &mBlock) == 1) {
        vorbis_analysis(&mBlock, nullptr);
        vorbis_bitrate_addblock(&mBlock);
        ogg_packet packet;
        while (vorbis_bitrate_flushpacket(&mState, &packet))
            mPages.add(packet);
    }
}

} // namespace velloria
