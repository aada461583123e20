#include "formats/aiff/AiffFormat.h"

#include "formats/decoding/FileDamage.h"
#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/ExtendedFloat.h"
#include "formats/streams/MacRoman.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr double lowestSampleRate = 1.0;
// Beyond what any converter or radio delivers.
constexpr double highestSampleRate = 100'000'000.0;
constexpr uint16_t widestSample = 32;
constexpr qsizetype longestName = 255;

struct EncodingName {
    FourCharCode type;
    const char* name;
};

constexpr auto encodingNames = std::to_array<EncodingName>({
    {fourCharCode("ima4"), "IMA 4:1"},
    {fourCharCode("alaw"), "A-law"},
    {fourCharCode("ALAW"), "A-law"},
    {fourCharCode("ulaw"), "mu-law"},
    {fourCharCode("ULAW"), "mu-law"},
    {fourCharCode("MAC3"), "MACE 3:1"},
    {fourCharCode("MAC6"), "MACE 6:1"},
    {fourCharCode("GSM "), "GSM 6.10"},
    {fourCharCode("agsm"), "GSM 6.10"},
    {fourCharCode("G722"), "G.722 ADPCM"},
    {fourCharCode("QDMC"), "QDesign Music"},
    {fourCharCode("QDM2"), "QDesign Music 2"},
    {fourCharCode("Qclp"), "QUALCOMM PureVoice"},
});

struct LinearType {
    FourCharCode type;
    /// 0 where the header's bits tell it.
    uint32_t bytesPerSample;
    bool isFloat;
    bool isBigEndian;
    bool isSigned;
};

constexpr auto linearTypes = std::to_array<LinearType>({
    {fourCharCode("NONE"), 0, false, true, true},
    {fourCharCode("twos"), 0, false, true, true},
    {fourCharCode("sowt"), 0, false, false, true},
    {fourCharCode("raw "), 0, false, true, false},
    {fourCharCode("in16"), 2, false, true, true},
    {fourCharCode("in24"), 3, false, true, true},
    {fourCharCode("42n1"), 3, false, false, true},
    {fourCharCode("42ni"), 3, false, false, true},
    {fourCharCode("in32"), 4, false, true, true},
    {fourCharCode("23ni"), 4, false, false, true},
    {fourCharCode("fl32"), 4, true, true, true},
    {fourCharCode("FL32"), 4, true, true, true},
    {fourCharCode("fl64"), 8, true, true, true},
    {fourCharCode("FL64"), 8, true, true, true},
});

const LinearType* linearType(std::optional<FourCharCode> type)
{
    const auto* const found =
        std::find_if(linearTypes.begin(), linearTypes.end(),
                     [type](const LinearType& each) { return type && each.type == *type; });
    return found == linearTypes.end() ? nullptr : found;
}

QString nameOfType(FourCharCode type)
{
    const auto* const known = std::find_if(encodingNames.begin(), encodingNames.end(),
                                           [type](const EncodingName& each) { return each.type == type; });
    if (known != encodingNames.end())
        return QString::fromLatin1(known->name);
    return QStringLiteral("encoding %1").arg(QString::fromLatin1(fourCharText(type)));
}

Error unreadableWidth(const QString& name, uint16_t bits)
{
    return {Error::Code::unsupported,
            QStringLiteral("“%1” holds %2-bit integers, which Velloria cannot read.")
                .arg(name, QString::number(bits))};
}

} // namespace

AiffFormat AiffFormat::ofPayload(const QByteArray& payload, bool isCompressed)
{
    BigEndianInputStream stream(payload);
    AiffFormat format;
    format.numChannels = static_cast<uint16_t>(stream.readSInt16());
    format.numFrames = static_cast<uint32_t>(stream.readSInt32());
    format.bitsPerSample = static_cast<uint16_t>(stream.readSInt16());
    format.sampleRate =
        doubleFromExtendedFloat(QByteArrayView(payload).sliced(stream.mark(), extendedFloatLength));
    if (!isCompressed)
        return format;
    BigEndianInputStream rest(payload.sliced(plainLength));
    format.compressionType = static_cast<FourCharCode>(rest.readSInt32());
    const qsizetype nameLength = rest.readUInt8();
    format.compressionName = stringFromMacRoman(payload.mid(compressedLength + 1, nameLength));
    return format;
}

QByteArray AiffFormat::payload() const
{
    BigEndianOutputStream stream;
    stream.writeUInt16(numChannels);
    stream.writeUInt32(numFrames);
    stream.writeUInt16(bitsPerSample);
    stream.appendData(extendedFloatBytes(sampleRate));
    if (compressionType) {
        const QByteArray name = macRomanFromString(compressionName).left(longestName);
        stream.writeUInt32(*compressionType);
        stream.writeUInt8(static_cast<uint8_t>(name.size()));
        stream.appendData(name);
        // The string takes an even number of bytes; the chunk's size counts them all, since some readers lose
        // the sound behind a format chunk of odd size.
        if (name.size() % 2 == 0)
            stream.writeUInt8(0);
    }
    return stream.data();
}

MaybeError AiffFormat::checked(const QString& name) const
{
    const auto damaged = [&name](const QString& why) { return FileDamage::unreadable(name, why); };
    if (numChannels == 0)
        return damaged(QStringLiteral("its header says that it has no channels"));
    if (!(sampleRate >= lowestSampleRate && sampleRate <= highestSampleRate))
        return damaged(QStringLiteral("its header gives a sample rate of %1 Hz").arg(sampleRate));
    if (compressionType && isLinear() && !isFloat() && layout().bytesPerSample > widestSample / 8)
        return unreadableWidth(name, bitsPerSample);
    if (compressionType)
        return std::nullopt;
    if (bitsPerSample == 0)
        return damaged(QStringLiteral("its header gives 0 bits to a sample"));
    if (bitsPerSample > widestSample)
        return unreadableWidth(name, bitsPerSample);
    return std::nullopt;
}

bool AiffFormat::isLinear() const
{
    return !compressionType || linearType(compressionType);
}

bool AiffFormat::isFloat() const
{
    const LinearType* const type = linearType(compressionType);
    return type && type->isFloat;
}

LinearPcmLayout AiffFormat::layout() const
{
    const LinearType* const type = linearType(compressionType);
    const uint32_t bytesOfBits = (bitsPerSample == 0 ? 16U : bitsPerSample + 7U) / 8U;
    LinearPcmLayout layout;
    layout.bytesPerSample = type && type->bytesPerSample != 0 ? type->bytesPerSample : bytesOfBits;
    layout.isFloat = type && type->isFloat;
    layout.isBigEndian = !type || type->isBigEndian;
    layout.isSigned = !type || type->isSigned;
    return layout;
}

QString AiffFormat::description() const
{
    if (!isLinear())
        return nameOfType(*compressionType);
    const uint32_t bits = compressionType ? 8 * layout().bytesPerSample : bitsPerSample;
    return QStringLiteral("%1-bit %2")
        .arg(bits)
        .arg(isFloat() ? QStringLiteral("floating point") : QStringLiteral("integer"));
}

} // namespace velloria
