#include "formats/caf/CafInfo.h"

#include <QtEndian>
#include <algorithm>
#include <optional>

namespace velloria::CafInfo
{

namespace
{

constexpr qsizetype countLength = 4;
constexpr qsizetype shortestPayload = 5;

/// Nothing at the end. Runs of zeros count as one.
std::optional<QString> nextString(const QByteArray& payload, qsizetype* offset)
{
    while (*offset < payload.size() && payload[*offset] == '\0')
        ++*offset;
    if (*offset >= payload.size())
        return std::nullopt;
    const qsizetype zero = payload.indexOf('\0', *offset);
    const qsizetype end = zero < 0 ? payload.size() : zero;
    const QString text = QString::fromUtf8(payload.constData() + *offset, end - *offset);
    *offset = end;
    return text;
}

void appendString(QByteArray& payload, const QString& text)
{
    payload += text.toUtf8();
    if (!payload.endsWith('\0'))
        payload += '\0';
}

} // namespace

QByteArray payloadOfDictionary(const MetadataDictionary& dictionary)
{
    QByteArray strings;
    uint32_t count = 0;
    for (const QString& key : orderedMetadataKeys(dictionary)) {
        const QString value = metadataText(dictionary.value(key));
        if (value.isEmpty())
            continue;
        appendString(strings, key);
        appendString(strings, value);
        ++count;
    }
    if (count == 0)
        return {};
    QByteArray payload(countLength, Qt::Uninitialized);
    qToLittleEndian<quint32>(count, payload.data());
    return payload + strings;
}

MetadataDictionary dictionaryOfPayload(const QByteArray& payload, QStringList* keysTwice)
{
    MetadataDictionary dictionary;
    if (payload.size() < shortestPayload)
        return dictionary;
    const uint32_t count = std::min(qFromLittleEndian<quint32>(payload.constData()),
                                    qFromBigEndian<quint32>(payload.constData()));
    qsizetype offset = countLength;
    for (uint32_t i = 0; i < count; ++i) {
        const std::optional<QString> key = nextString(payload, &offset);
        const std::optional<QString> value = nextString(payload, &offset);
        if (!key || !value)
            break;
        if (keysTwice && dictionary.contains(*key) && dictionary.value(*key) != *value)
            keysTwice->append(*key);
        dictionary.insert(*key, *value);
    }
    return dictionary;
}

} // namespace velloria::CafInfo
