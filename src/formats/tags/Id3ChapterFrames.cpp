#include "formats/tags/Id3ChapterFrames.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr qsizetype frameHeaderLength = 10;
constexpr qsizetype timesLength = 16;
constexpr qsizetype mostChildren = 255;

QByteArray bigEndian32(uint32_t value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

bool isPlainTitle(const QByteArray& frame)
{
    return frame.startsWith("TIT2") && frame[9] == 0;
}

} // namespace

std::optional<Id3Chapter> Id3Chapter::ofPayload(QByteArrayView payload, int version)
{
    const qsizetype idEnd = payload.indexOf('\0');
    if (idEnd < 0 || payload.size() < idEnd + 1 + timesLength)
        return std::nullopt;
    Id3Chapter chapter;
    chapter.elementID = payload.first(idEnd).toByteArray();
    const QByteArrayView times = payload.sliced(idEnd + 1, timesLength);
    chapter.start = qFromBigEndian<quint32>(times.data());
    chapter.end = qFromBigEndian<quint32>(times.data() + 4);
    chapter.offsets = times.sliced(8).toByteArray();
    QByteArrayView rest = payload.sliced(idEnd + 1 + timesLength);
    while (!rest.isEmpty()) {
        if (rest.size() < frameHeaderLength)
            return std::nullopt;
        const int64_t size = version == 4 ? intFromSynchSafe(rest.sliced(4, 4))
                                          : int64_t{qFromBigEndian<quint32>(rest.data() + 4)};
        if (size > rest.size() - frameHeaderLength)
            return std::nullopt;
        const QByteArray frame = rest.first(frameHeaderLength + size).toByteArray();
        if (isPlainTitle(frame) && size > 0 && chapter.title.isEmpty())
            chapter.title = decodeId3Text(static_cast<uint8_t>(frame[frameHeaderLength]),
                                          QByteArrayView(frame).sliced(frameHeaderLength + 1));
        chapter.frames += frame;
        rest = rest.sliced(frame.size());
    }
    return chapter;
}

QByteArray Id3Chapter::payload() const
{
    return elementID + '\0' + bigEndian32(start) + bigEndian32(end) + offsets + frames.join();
}

void Id3Chapter::setTitle(const QString& text, const Id3FrameMaker& maker)
{
    title = text;
    const auto place = std::find_if(frames.begin(), frames.end(), isPlainTitle);
    const QByteArray before = place == frames.end() ? QByteArray() : place->sliced(frameHeaderLength);
    const QByteArray frame = text.isEmpty() ? QByteArray() : maker.partText("TIT2", text, before);
    if (place != frames.end())
        *place = frame;
    else
        frames.prepend(frame);
    frames.removeAll(QByteArray());
}

bool Id3Chapter::holdsMore() const
{
    return frames.size() > 1 || (frames.size() == 1 && !isPlainTitle(frames.front()));
}

std::optional<Id3ChapterList> Id3ChapterList::ofPayload(QByteArrayView payload)
{
    const qsizetype idEnd = payload.indexOf('\0');
    if (idEnd < 0 || payload.size() < idEnd + 3)
        return std::nullopt;
    Id3ChapterList list;
    list.elementID = payload.first(idEnd).toByteArray();
    list.flags = payload[idEnd + 1];
    const int count = static_cast<uint8_t>(payload[idEnd + 2]);
    QByteArrayView rest = payload.sliced(idEnd + 3);
    for (int i = 0; i < count; ++i) {
        const qsizetype end = rest.indexOf('\0');
        if (end < 0)
            return std::nullopt;
        list.children += rest.first(end).toByteArray();
        rest = rest.sliced(end + 1);
    }
    list.rest = rest.toByteArray();
    return list;
}

QByteArray Id3ChapterList::payload() const
{
    const qsizetype count = std::min(children.size(), mostChildren);
    QByteArray bytes = elementID + '\0' + flags + static_cast<char>(count);
    for (const QByteArray& child : children.first(count))
        bytes += child + '\0';
    return bytes + rest;
}

} // namespace velloria
