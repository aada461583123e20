#include "scripting/ScriptText.h"

#include <algorithm>
#include <string>

namespace velloria::ScriptText
{

namespace
{

constexpr ushort kFirstByte = 0xDC80;
constexpr ushort kLastByte = 0xDCFF;
constexpr ushort kByteOffset = 0xDC00;

bool isByte(const QString& text, qsizetype index)
{
    const ushort code = text[index].unicode();
    return code >= kFirstByte && code <= kLastByte && (index == 0 || !text[index - 1].isHighSurrogate());
}

/// Bytes of the character at the front, 0 when there is none.
qsizetype lengthOfCharacter(QByteArrayView bytes)
{
    for (qsizetype length = 1; length <= std::min<qsizetype>(4, bytes.size()); ++length)
        if (bytes.first(length).isValidUtf8())
            return length;
    return 0;
}

} // namespace

QString fromBytes(QByteArrayView bytes)
{
    if (bytes.isValidUtf8())
        return QString::fromUtf8(bytes);
    QString text;
    while (!bytes.isEmpty()) {
        const qsizetype length = lengthOfCharacter(bytes);
        if (length > 0)
            text += QString::fromUtf8(bytes.first(length));
        else
            text += QChar(static_cast<ushort>(kByteOffset + static_cast<unsigned char>(bytes.front())));
        bytes = bytes.sliced(std::max<qsizetype>(1, length));
    }
    return text;
}

std::filesystem::path toPath(const QString& text)
{
    std::string bytes;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isByte(text, i))
            continue;
        bytes += text.sliced(start, i - start).toStdString();
        bytes += static_cast<char>(text[i].unicode() - kByteOffset);
        start = i + 1;
    }
    return bytes + text.sliced(start).toStdString();
}

QString forDisplay(const QString& text)
{
    QString shown = text;
    for (qsizetype i = 0; i < text.size(); ++i)
        if (isByte(text, i))
            shown[i] = QChar(QChar::ReplacementCharacter);
    return shown;
}

} // namespace velloria::ScriptText
