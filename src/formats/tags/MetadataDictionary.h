#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>
#include <optional>

namespace velloria
{

/// Tags under the keys that all formats share ("title", "track number", ...). Values are QString, except
/// "attached pictures", a QList<AttachedPicture>. Readers of other containers may also leave a QByteArray
/// (position and total, see numberDataText()) under "track number" and "disc number", and a number under
/// "genre".
using MetadataDictionary = QMap<QString, QVariant>;

namespace MetadataKey
{
inline const QString attachedPictures = QStringLiteral("attached pictures");
inline const QString comments = QStringLiteral("comments");
inline const QString discNumber = QStringLiteral("disc number");
inline const QString encodingApplication = QStringLiteral("encoding application");
inline const QString genre = QStringLiteral("genre");
inline const QString podcast = QStringLiteral("podcast");
inline const QString trackNumber = QStringLiteral("track number");
} // namespace MetadataKey

/// The dictionary's keys in the order in which files list them: those of AudioMetadata in its order, then
/// any others by name.
QStringList orderedMetadataKeys(const MetadataDictionary& dictionary);

/// A string as it is, a number as decimal text; empty for every other value.
QString metadataText(const QVariant& value);

/// Reads a position as MPEG-4 containers store it: two bytes unused, number and total of 16 bits each, big
/// end first. Gives "number/total", "number" where there is no total, nothing where there is no number.
QString numberDataText(const QByteArray& data);

/// Replaces position bytes (see numberDataText()) under `key` by their text, or removes the key when they
/// hold no number. Other values stay.
void convertNumberDataToString(MetadataDictionary& dictionary, const QString& key);

/// Replaces a numeric genre by its name, when it has one.
void convertGenreNumberToString(MetadataDictionary& dictionary);

/// The integer that a text begins with, blanks before it skipped: 12 for " 12/14". Values beyond 64 bits
/// are clamped; nothing when the text begins with no digit.
std::optional<int64_t> leadingInteger(QStringView text);

} // namespace velloria
