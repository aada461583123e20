#include "formats/caf/CafFormat.h"

#include "formats/decoding/FileDamage.h"
#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "platform/codec/AudioFormats.h"

namespace velloria
{

namespace
{

constexpr double lowestSampleRate = 1.0;
// Beyond what any converter or radio delivers, and any recording has.
constexpr double highestSampleRate = 100'000'000.0;
// Each channel takes a scratch file of its own.
constexpr uint32_t mostChannels = 512;

} // namespace

CafFormat CafFormat::ofPayload(const QByteArray& payload)
{
    BigEndianInputStream stream(payload);
    const auto next = [&stream] { return static_cast<uint32_t>(stream.readSInt32()); };
    CafFormat format;
    format.sampleRate = stream.readFloat64();
    format.formatID = next();
    format.formatFlags = next();
    format.bytesPerPacket = next();
    format.framesPerPacket = next();
    format.numChannels = next();
    format.bitsPerChannel = next();
    return format;
}

QByteArray CafFormat::payload() const
{
    BigEndianOutputStream stream;
    stream.writeFloat64(sampleRate);
    for (const uint32_t field :
         {formatID, formatFlags, bytesPerPacket, framesPerPacket, numChannels, bitsPerChannel})
        stream.writeUInt32(field);
    return stream.data();
}

LinearPcmLayout CafFormat::layout() const
{
    const uint32_t bytesOfBits = bitsPerChannel / 8 + (bitsPerChannel % 8 != 0);
    LinearPcmLayout layout;
    layout.bytesPerSample =
        bytesPerPacket == 0 || numChannels == 0 ? bytesOfBits : bytesPerPacket / numChannels;
    layout.isFloat = isFloat();
    layout.isBigEndian = !(formatFlags & flagLittleEndian);
    return layout;
}

MaybeError CafFormat::checked(const QString& name) const
{
    const auto damaged = [&name](const QString& why) { return FileDamage::unreadable(name, why); };
    if (!(sampleRate >= lowestSampleRate && sampleRate <= highestSampleRate))
        return damaged(QStringLiteral("its header gives a sample rate of %1 Hz").arg(sampleRate));
    if (numChannels == 0)
        return damaged(QStringLiteral("its header says that it has no channels"));
    if (numChannels > mostChannels)
        return damaged(QStringLiteral("its header says that it has %1 channels").arg(numChannels));
    if (!isLinearPcm())
        return std::nullopt;
    if (bytesPerPacket % numChannels != 0 || framesPerPacket > 1) {
        return damaged(QStringLiteral("its header gives %1 bytes to a frame of %2 samples")
                           .arg(bytesPerPacket)
                           .arg(numChannels));
    }
    const LinearPcmLayout samples = layout();
    const bool isReadable = samples.isFloat ? samples.bytesPerSample == 4 || samples.bytesPerSample == 8
                                            : samples.bytesPerSample >= 1 && samples.bytesPerSample <= 4;
    if (!isReadable || bitsPerChannel > 8 * samples.bytesPerSample) {
        return Error{
            Error::Code::unsupported,
            QStringLiteral("“%1” holds %2-bit samples in %3 bytes, which Velloria cannot read.")
                .arg(name, QString::number(bitsPerChannel), QString::number(samples.bytesPerSample))};
    }
    return std::nullopt;
}

FourCharCode CafFormat::dataFormat() const
{
    if (!isLinearPcm())
        return formatID;
    const uint32_t bits = 8 * layout().bytesPerSample;
    if (isFloat())
        return bits <= 32 ? fourCharCode("fl32") : fourCharCode("fl64");
    if (bits <= 16)
        return fourCharCode("sowt");
    return bits <= 24 ? fourCharCode("in24") : fourCharCode("in32");
}

QString CafFormat::description() const
{
    if (isLinearPcm()) {
        const QString kind = isFloat() ? QStringLiteral("floating point") : QStringLiteral("integer");
        return QStringLiteral("%1-bit %2").arg(8 * layout().bytesPerSample).arg(kind);
    }
    const auto info = audioFormatInfo(formatID);
    return info ? info->name : QStringLiteral("encoding %1").arg(QString::fromLatin1(fourCharText(formatID)));
}

} // namespace velloria
