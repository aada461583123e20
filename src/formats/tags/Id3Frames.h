#pragma once

#include <QByteArrayView>
#include <QString>
#include <span>
#include <string_view>

namespace velloria
{

enum class Id3FrameKind { text, url, comment, podcastFlag, pictures };

/// Which frame holds which key of the metadata dictionary. An empty ID: no such frame in that version.
struct Id3Frame {
    std::u16string_view key;
    Id3FrameKind kind;
    std::string_view version2ID;
    std::string_view version34ID;

    QString keyString() const { return QString::fromUtf16(key.data(), static_cast<qsizetype>(key.size())); }
};

/// All known frames, in the order in which a tag is written.
std::span<const Id3Frame> id3Frames();

/// The frame that a tag of version 2, 3 or 4 gets for a key that it had not; null when that version has none.
const Id3Frame* id3FrameForKey(const QString& key, int version);

/// The frame of a 3-character ID (version 2.2) or 4-character ID (2.3, 2.4); null when it is unknown.
const Id3Frame* id3FrameWithID(QByteArrayView id);

} // namespace velloria
