#include "formats/wave/WaveFormat.h"

#include "formats/decoding/FileDamage.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// Where an extensible format's sub-format identifier begins with the format tag.
constexpr qsizetype subFormatOffset = 24;
constexpr qsizetype channelMaskOffset = 20;
constexpr qsizetype validBitsOffset = 18;
constexpr uint32_t maskOfMono = 4;
constexpr uint32_t maskOfStereo = 3;
// Beyond what any converter or radio delivers.
constexpr uint32_t highestSampleRate = 100'000'000;
constexpr uint32_t widestSample = 32;

struct EncodingName {
    uint16_t tag;
    const char* name;
};

constexpr auto encodingNames = std::to_array<EncodingName>({
    {0x0002, "Microsoft ADPCM"},
    {WaveFormat::tagALaw, "A-law"},
    {WaveFormat::tagMuLaw, "mu-law"},
    {0x0010, "OKI ADPCM"},
    {0x0011, "IMA ADPCM"},
    {0x0016, "G.723 ADPCM"},
    {0x0017, "Dialogic ADPCM"},
    {0x0020, "Yamaha ADPCM"},
    {0x0022, "TrueSpeech"},
    {0x0031, "GSM 6.10"},
    {0x0040, "G.721 ADPCM"},
    {0x0042, "G.723"},
    {0x0045, "G.726 ADPCM"},
    {0x0050, "MPEG audio"},
    {0x0055, "MP3"},
    {0x0064, "G.726 ADPCM"},
    {0x0092, "AC-3"},
    {0x00FF, "AAC"},
    {0x0160, "Windows Media Audio"},
    {0x0161, "Windows Media Audio"},
    {0x0162, "Windows Media Audio"},
    {0x0163, "Windows Media Audio"},
    {0x2000, "AC-3"},
    {0x2001, "DTS"},
    {0x674F, "Ogg Vorbis"},
    {0xA106, "AAC"},
    {0xF1AC, "FLAC"},
});

/// The fields of a payload by their offsets; 0 beyond its end.
class Fields
{
public:
    Fields(const QByteArray& bytes, ChunkByteOrder byteOrder)
        : mBytes(bytes)
        , mIsBigEndian(byteOrder == ChunkByteOrder::bigEndian)
    {
    }
    uint16_t uint16At(qsizetype offset) const { return at<quint16>(offset); }
    uint32_t uint32At(qsizetype offset) const { return at<quint32>(offset); }

private:
    template <typename Field> Field at(qsizetype offset) const
    {
        if (offset + qsizetype{sizeof(Field)} > mBytes.size())
            return 0;
        const char* const bytes = mBytes.constData() + offset;
        return mIsBigEndian ? qFromBigEndian<Field>(bytes) : qFromLittleEndian<Field>(bytes);
    }

    const QByteArray& mBytes;
    bool mIsBigEndian;
};

QString nameOfTag(uint16_t tag)
{
    for (const EncodingName& encoding : encodingNames) {
        if (encoding.tag == tag)
            return QString::fromLatin1(encoding.name);
    }
    return QStringLiteral("format 0x%1").arg(tag, 4, 16, QLatin1Char('0'));
}

} // namespace

WaveFormat WaveFormat::ofPayload(const QByteArray& payload, ChunkByteOrder byteOrder)
{
    const Fields fields(payload, byteOrder);
    WaveFormat format;
    format.formatTag = fields.uint16At(0);
    format.numChannels = fields.uint16At(2);
    format.sampleRate = fields.uint32At(4);
    format.blockAlign = fields.uint16At(12);
    format.bitsPerSample = fields.uint16At(14);
    format.subFormatTag = format.formatTag;
    if (format.formatTag == tagExtensible) {
        format.subFormatTag = static_cast<uint16_t>(fields.uint32At(subFormatOffset));
        format.channelMask = fields.uint32At(channelMaskOffset);
        format.validBits = fields.uint16At(validBitsOffset);
    }
    format.extension = payload.mid(pcmPayloadLength);
    return format;
}

QByteArray WaveFormat::payload() const
{
    // A rate of bytes that does not fit is of no use to any reader; the other fields stay right.
    const uint64_t byteRate = std::min<uint64_t>(uint64_t{blockAlign} * sampleRate, 0xFFFFFFFF);
    QByteArray bytes(pcmPayloadLength, Qt::Uninitialized);
    qToLittleEndian<quint16>(formatTag, bytes.data());
    qToLittleEndian<quint16>(numChannels, bytes.data() + 2);
    qToLittleEndian<quint32>(sampleRate, bytes.data() + 4);
    qToLittleEndian<quint32>(static_cast<quint32>(byteRate), bytes.data() + 8);
    qToLittleEndian<quint16>(blockAlign, bytes.data() + 12);
    qToLittleEndian<quint16>(bitsPerSample, bytes.data() + 14);
    return bytes + extension;
}

WaveFormat WaveFormat::withExtensionOf(const WaveFormat& other) const
{
    WaveFormat format = *this;
    format.formatTag = other.formatTag;
    format.extension = other.extension;
    format.channelMask = other.channelMask;
    // Whatever was done to the samples may have left bits in all of their room.
    if (format.formatTag == tagExtensible) {
        format.validBits = bitsPerSample;
        qToLittleEndian<quint16>(bitsPerSample, format.extension.data() + validBitsOffset - pcmPayloadLength);
    }
    return format;
}

bool WaveFormat::tellsMoreThanPCM() const
{
    constexpr qsizetype lengthBytes = 2;
    // The identifier of a sub-format behind its tag, as it is for everything that has a tag.
    const QByteArray commonRest = QByteArray::fromHex("000000001000800000aa00389b71");
    if (!isLinear() || isFloat())
        return false;
    const auto isAnything = [](const QByteArray& bytes) { return bytes.count('\0') < bytes.size(); };
    if (formatTag != tagExtensible)
        return isAnything(extension.mid(lengthBytes));
    const qsizetype restOffset = subFormatOffset + lengthBytes - pcmPayloadLength;
    const QByteArray rest = extension.mid(restOffset, commonRest.size());
    // One that is cut short is nothing to write again.
    return rest.size() == commonRest.size() && (hasUncommonSpeakers() || rest != commonRest ||
                                                isAnything(extension.mid(restOffset + commonRest.size())));
}

MaybeError WaveFormat::checked(const QString& name) const
{
    const auto damaged = [&name](const QString& why) { return FileDamage::unreadable(name, why); };
    if (numChannels == 0)
        return damaged(QStringLiteral("its header says that it has no channels"));
    if (sampleRate == 0 || sampleRate > highestSampleRate)
        return damaged(QStringLiteral("its header gives a sample rate of %1 Hz").arg(sampleRate));
    if (!isPCM())
        return std::nullopt;
    if (blockAlign == 0 || blockAlign % numChannels != 0) {
        return damaged(QStringLiteral("its header gives %1 bytes to a frame of %2 samples")
                           .arg(blockAlign)
                           .arg(numChannels));
    }
    if (bitsPerSample > containerBits()) {
        return damaged(QStringLiteral("its header gives %1 bits of room to samples of %2 bits")
                           .arg(containerBits())
                           .arg(bitsPerSample));
    }
    if (containerBits() > widestSample) {
        return Error{Error::Code::unsupported,
                     QStringLiteral("“%1” holds %2-bit integers, which Velloria cannot read.")
                         .arg(name, QString::number(containerBits()))};
    }
    return std::nullopt;
}

std::optional<LinearPcmLayout> WaveFormat::linearLayout(ChunkByteOrder byteOrder) const
{
    if (isPCM() || !isLinear() || numChannels == 0 || blockAlign == 0 || blockAlign % numChannels != 0)
        return std::nullopt;
    LinearPcmLayout layout;
    layout.bytesPerSample = blockAlign / numChannels;
    layout.isFloat = isFloat();
    layout.isBigEndian = byteOrder == ChunkByteOrder::bigEndian;
    layout.isSigned = layout.bytesPerSample > 1;
    const bool isFloatSize = layout.bytesPerSample == 4 || layout.bytesPerSample == 8;
    // Up to 8 bits in more bytes would be unsigned in a way that nobody agrees on.
    const bool isIntegerSize = containerBits() <= widestSample && (containerBits() == 8 || bitsPerSample > 8);
    const bool isReadable = layout.isFloat ? isFloatSize && bitsPerSample == containerBits()
                                           : isIntegerSize && bitsPerSample <= containerBits();
    return isReadable ? std::optional(layout) : std::nullopt;
}

uint32_t WaveFormat::containerBits() const
{
    return numChannels == 0 ? 0U : blockAlign * 8U / numChannels;
}

bool WaveFormat::isOffsetEncoded() const
{
    return (bitsPerSample == 0 ? containerBits() : bitsPerSample) < 9;
}

bool WaveFormat::hasUncommonSpeakers() const
{
    const bool isCommon =
        (numChannels == 1 && channelMask == maskOfMono) || (numChannels == 2 && channelMask == maskOfStereo);
    return channelMask != 0 && !isCommon;
}

FourCharCode WaveFormat::dataFormat() const
{
    switch (subFormatTag) {
    case tagPCM:
    case tagFloat:
        return fourCharCode("lpcm");
    case tagALaw:
        return fourCharCode("alaw");
    case tagMuLaw:
        return fourCharCode("ulaw");
    default:
        return 0;
    }
}

QString WaveFormat::description() const
{
    QString name;
    if (subFormatTag == tagPCM)
        name = QStringLiteral("%1-bit integer").arg(isPCM() ? containerBits() : bitsPerSample);
    else if (subFormatTag == tagFloat)
        name = QStringLiteral("%1-bit floating point").arg(bitsPerSample);
    else
        name = nameOfTag(subFormatTag);
    return formatTag == tagExtensible ? QStringLiteral("extensible (%1)").arg(name) : name;
}

} // namespace velloria
