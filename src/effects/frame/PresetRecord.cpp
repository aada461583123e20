#include "effects/frame/PresetRecord.h"

#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "platform/Log.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

using Type = PresetField::Type;

constexpr int64_t kHeaderBytes = 8;

int64_t numBytesOf(Type type)
{
    switch (type) {
    case Type::float64:
        return 8;
    case Type::float32:
    case Type::int32:
        return 4;
    case Type::uint8:
        return 1;
    case Type::rest:
        break;
    }
    return 0;
}

void writeField(BigEndianOutputStream& stream, const PresetField& field, const EffectParameters& parameters)
{
    const double value = parameters.value(field.parameter) * field.factor;
    switch (field.type) {
    case Type::float64:
        stream.writeFloat64(value);
        break;
    case Type::float32:
        stream.writeFloat32(static_cast<float>(value));
        break;
    case Type::int32:
        stream.writeSInt32(static_cast<int32_t>(value));
        break;
    case Type::uint8:
        stream.writeUInt8(static_cast<uint8_t>(value));
        break;
    case Type::rest:
        for (const double number : parameters.list(field.parameter))
            stream.writeFloat64(number);
        break;
    }
}

double readNumber(BigEndianInputStream& stream, Type type)
{
    switch (type) {
    case Type::float32:
        return static_cast<double>(stream.readFloat32());
    case Type::int32:
        return stream.readSInt32();
    case Type::uint8:
        return stream.readUInt8();
    case Type::float64:
    case Type::rest:
        break;
    }
    return stream.readFloat64();
}

/// A record read as a layout: one list a field, of one number except for the list.
using Values = std::vector<std::vector<double>>;

std::optional<Values> valuesOf(const PresetLayout& layout, BigEndianInputStream& stream,
                               const EffectParameters& parameters)
{
    Values values;
    for (const PresetField& field : layout.fields) {
        std::vector<double>& numbers = values.emplace_back();
        if (field.type == Type::rest) {
            // In pairs: the half of a point at the end counts for nothing.
            const int64_t numWhole = stream.remaining() / 16 * 2;
            while (std::ssize(numbers) < numWhole)
                numbers.push_back(stream.readFloat64());
            if (numbers.size() < parameters[field.parameter].fewestInList)
                return std::nullopt;
        } else {
            if (stream.remaining() < numBytesOf(field.type))
                return std::nullopt;
            numbers.push_back(readNumber(stream, field.type) / field.factor);
        }
        if (!std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); }))
            return std::nullopt;
    }
    return values;
}

/// A record, and the layout that it has.
struct ReadRecord {
    const PresetLayout* layout;
    Values values;
};

Error corrupt(const QString& message, const PresetFormat& format)
{
    return Error{Error::Code::corruptFile, message.arg(format.folderName)};
}

std::optional<ReadRecord> readRecord(const PresetFormat& format, const QByteArray& record,
                                     const EffectParameters& parameters, MaybeError* error)
{
    BigEndianInputStream stream(record);
    const auto code = static_cast<FourCharCode>(stream.readSInt32());
    const int32_t version = stream.readSInt32();
    bool isCodeKnown = false;
    bool isNewer = true;
    for (const PresetLayout& layout : format.layouts) {
        if (record.size() < kHeaderBytes || layout.code != code)
            continue;
        isCodeKnown = true;
        isNewer = isNewer && version > layout.version;
        if (layout.version != version)
            continue;
        if (std::optional<Values> values = valuesOf(layout, stream, parameters))
            return ReadRecord{&layout, std::move(*values)};
    }
    if (!isCodeKnown)
        *error = corrupt(QStringLiteral("This is no preset of “%1”."), format);
    else if (isNewer)
        *error = corrupt(QStringLiteral("This preset of “%1” is of a newer version of Velloria."), format);
    else
        *error = corrupt(QStringLiteral("This preset of “%1” is damaged."), format);
    return std::nullopt;
}

} // namespace

QByteArray PresetRecord::write(const PresetFormat& format, const EffectParameters& parameters)
{
    const PresetLayout& layout = format.layouts.front();
    BigEndianOutputStream stream;
    stream.writeUInt32(layout.code);
    stream.writeSInt32(layout.version);
    for (const PresetField& field : layout.fields)
        writeField(stream, field, parameters);
    return stream.data();
}

MaybeError PresetRecord::read(const PresetFormat& format, const QByteArray& record,
                              EffectParameters& parameters)
{
    MaybeError error;
    const std::optional<ReadRecord> found = readRecord(format, record, parameters, &error);
    if (!found) {
        if (!format.mismatchMessage.isEmpty())
            logLine(format.mismatchMessage);
        return error;
    }
    for (size_t i = 0; i < found->values.size(); ++i) {
        const PresetField& field = found->layout->fields[i];
        if (field.type == Type::rest)
            parameters.setList(field.parameter, found->values[i]);
        else if (const auto value = parameters[field.parameter].valueOfStored(found->values[i].front()))
            parameters.setValue(field.parameter, *value);
    }
    return std::nullopt;
}

MaybeError PresetRecord::refusal(const PresetFormat& format, const QByteArray& record,
                                 const EffectParameters& parameters)
{
    MaybeError error;
    readRecord(format, record, parameters, &error);
    return error;
}

} // namespace velloria
