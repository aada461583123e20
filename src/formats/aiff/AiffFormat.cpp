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

constexpr std::array integerTypes = {fourCharCode("NONE"), fourCharCode("twos"), fourCharCode("sowt"),
                                     fourCharCode("in24"), fourCharCode("42ni"), fourCharCode("in32"),
                                     fourCharCode("23ni"), fourCharCode("raw "), fourCharCode("in16")};
constexpr std::array floatTypes = {fourCharCode("fl32"), fourCharCode("FL32"), fourCharCode("fl64"),
                                   fourCharCode("FL64")};

template <typename Types> bool contains(const Types& types, FourCharCode type)
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

QString nameOfType(FourCharCode type)
{
    const auto* const known = std::find_if(encodingNames.begin(), encodingNames.end(),
                                           [type](const EncodingName& each) { return each.type == type; });
    if (known != encodingNames.end())
        return QString::fromLatin1(known->name);
    return QStringLiteral("encoding %1").arg(QString::fromLatin1(fourCharText(type)));
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
    if (compressionType)
        return std::nullopt;
    if (bitsPerSample == 0)
        return damaged(QStringLiteral("its header gives 0 bits to a sample"));
    if (bitsPerSample > widestSample) {
        return Error{Error::Code::unsupported,
                     QStringLiteral("“%1” holds %2-bit integers, which Velloria cannot read.")
                         .arg(name)
                         .arg(bitsPerSample)};
    }
    return std::nullopt;
}

bool AiffFormat::isLinear() const
{
    return !compressionType || contains(integerTypes, *compressionType) || isFloat();
}

bool AiffFormat::isFloat() const
{
    return compressionType && contains(floatTypes, *compressionType);
}

QString AiffFormat::description() const
{
    if (!compressionType || contains(integerTypes, *compressionType))
        return QStringLiteral("%1-bit integer").arg(bitsPerSample);
    if (isFloat())
        return QStringLiteral("%1-bit floating point").arg(bitsPerSample);
    return nameOfType(*compressionType);
}

} // namespace velloria
