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

/// The smaller one of both readings.
bool isBigEndian(const QByteArray& payload)
{
    return payload.size() >= shortestPayload &&
           qFromBigEndian<quint32>(payload.constData()) < qFromLittleEndian<quint32>(payload.constData());
}

uint32_t countOf(const QByteArray& payload)
{
    if (payload.size() < shortestPayload)
        return 0;
    return isBigEndian(payload) ? qFromBigEndian<quint32>(payload.constData())
                                : qFromLittleEndian<quint32>(payload.constData());
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

QByteArray editedPayload(const QByteArray& payload, const MetadataDictionary& before,
                         const MetadataDictionary& now)
{
    QStringList changed;
    for (const MetadataDictionary& each : {before, now}) {
        for (const QString& key : orderedMetadataKeys(each)) {
            if (!changed.contains(key) && metadataText(before.value(key)) != metadataText(now.value(key)))
                changed.append(key);
        }
    }
    if (changed.isEmpty())
        return payload;
    QByteArray strings;
    uint32_t count = 0;
    const auto add = [&](const QString& key, const QString& value) {
        if (value.isEmpty())
            return;
        appendString(strings, key);
        appendString(strings, value);
        ++count;
    };
    qsizetype offset = countLength;
    QStringList missing = changed;
    for (uint32_t i = 0; i < countOf(payload); ++i) {
        const std::optional<QString> key = nextString(payload, &offset);
        const std::optional<QString> value = nextString(payload, &offset);
        if (!key || !value)
            break;
        missing.removeAll(*key);
        add(*key, changed.contains(*key) ? metadataText(now.value(*key)) : *value);
    }
    for (const QString& key : std::as_const(missing))
        add(key, metadataText(now.value(key)));
    if (count == 0)
        return {};
    QByteArray edited(countLength, Qt::Uninitialized);
    if (isBigEndian(payload))
        qToBigEndian<quint32>(count, edited.data());
    else
        qToLittleEndian<quint32>(count, edited.data());
    // What stands behind the last entry told.
    return edited + strings + payload.mid(offset + 1);
}

MetadataDictionary dictionaryOfPayload(const QByteArray& payload, QStringList* keysTwice)
{
    MetadataDictionary dictionary;
    if (payload.size() < shortestPayload)
        return dictionary;
    const uint32_t count = countOf(payload);
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
