#include "cli/subcommands/FileDescription.h"

#include "cli/terminal/Terminal.h"
#include "display/TimeFormatter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace velloria::FileDescription
{

namespace
{

QJsonArray markersJson(const SoundDocument& document)
{
    QJsonArray list;
    for (const AudioMarkerPtr& marker : *document.orderedMarkers())
        list.append(QJsonObject{{QStringLiteral("ident"), marker->ident()},
                                {QStringLiteral("position"), static_cast<qint64>(marker->position())},
                                {QStringLiteral("name"), marker->name()}});
    return list;
}

QJsonObject metadataJson(const AudioMetadata& metadata)
{
    QJsonObject tags;
    const MetadataDictionary dictionary = metadata.dictionary();
    for (auto entry = dictionary.begin(); entry != dictionary.end(); ++entry)
        if (entry.key() != MetadataKey::attachedPictures)
            tags.insert(entry.key(), metadataText(entry.value()));
    return tags;
}

QJsonArray picturesJson(const AudioMetadata& metadata)
{
    QJsonArray list;
    for (const AttachedPicture& picture : metadata.artwork())
        list.append(
            QJsonObject{{QStringLiteral("format"), picture.imageFormat()},
                        {QStringLiteral("type"), static_cast<qint64>(picture.pictureType())},
                        {QStringLiteral("description"), picture.pictureDescription()},
                        {QStringLiteral("bytes"), static_cast<qint64>(picture.pictureData().size())}});
    return list;
}

/// Labels with their values, one below the other.
class Table
{
public:
    /// Lines of a value after the first stand below it.
    void add(const QString& label, const QString& value)
    {
        QString shownLabel = label;
        for (const QString& line : value.split(u'\n')) {
            mRows.append({shownLabel, Terminal::withoutControls(line)});
            shownLabel.clear();
        }
        mLabelWidth = std::max(mLabelWidth, label.size());
    }

    QString text() const
    {
        QString lines;
        for (const auto& [label, value] : mRows)
            lines += QStringLiteral("  ") + label.leftJustified(mLabelWidth + 2) + value + u'\n';
        return lines;
    }

private:
    QList<std::pair<QString, QString>> mRows;
    qsizetype mLabelWidth = 0;
};

QString channelsText(int32_t count)
{
    if (count == 1)
        return QStringLiteral("1 (mono)");
    return count == 2 ? QStringLiteral("2 (stereo)") : QString::number(count);
}

QString lengthText(const SoundDocument& document)
{
    TimeFormatter formatter(QLocale::c());
    formatter.setPrecision(0.001);
    const double seconds = document.numberOfFrames() > 0 ? document.totalTime() : 0.0;
    return QStringLiteral("%1 (%2 frames)")
        .arg(formatter.stringWithTime(seconds))
        .arg(document.numberOfFrames());
}

void addMarkers(Table& table, const SoundDocument& document)
{
    TimeFormatter formatter(QLocale::c());
    QStringList lines;
    for (const AudioMarkerPtr& marker : *document.orderedMarkers())
        lines += formatter.stringWithTime(marker->secondsWithSampleRate(document.sampleRate())) +
                 QStringLiteral("  ") + Terminal::withoutControls(marker->name());
    if (!lines.isEmpty())
        table.add(QStringLiteral("Markers"), lines.join(u'\n'));
}

void addTags(Table& table, const AudioMetadata& metadata)
{
    const MetadataDictionary dictionary = metadata.dictionary();
    for (const QString& key : orderedMetadataKeys(dictionary))
        if (key != MetadataKey::attachedPictures)
            table.add(key.left(1).toUpper() + key.sliced(1), metadataText(dictionary.value(key)));
}

void addPictures(Table& table, const AudioMetadata& metadata)
{
    for (const AttachedPicture& picture : metadata.artwork()) {
        QString text =
            QStringLiteral("%1, %2 bytes").arg(picture.imageFormat()).arg(picture.pictureData().size());
        if (!picture.pictureDescription().isEmpty())
            text += QStringLiteral(", “%1”").arg(picture.pictureDescription());
        table.add(QStringLiteral("Picture"), text);
    }
}

} // namespace

void insertPath(QJsonObject& object, const std::filesystem::path& path)
{
    const std::string& bytes = path.native();
    const QByteArray name(bytes.data(), static_cast<qsizetype>(bytes.size()));
    object.insert(QStringLiteral("path"), displayPath(path));
    if (!name.isValidUtf8())
        object.insert(QStringLiteral("pathBytes"), QString::fromLatin1(name.toBase64()));
}

QByteArray json(const SoundDocument& document)
{
    const AudioFile& file = *document.audioFile();
    QJsonObject object = {
        {QStringLiteral("uti"), file.fileFormatUTI()},
        {QStringLiteral("type"), file.displayTypeName()},
        {QStringLiteral("dataFormat"), QString::fromLatin1(fourCharText(file.dataFormat()))},
        {QStringLiteral("channels"), document.trackCount()},
        {QStringLiteral("sampleRate"), document.sampleRate()},
        {QStringLiteral("bitsPerSample"), static_cast<qint64>(file.bitsPerSample())},
        {QStringLiteral("frames"), static_cast<qint64>(document.numberOfFrames())},
        {QStringLiteral("bitRate"), static_cast<qint64>(file.bitRate())},
        {QStringLiteral("isFloat"), file.isFloat()},
        {QStringLiteral("inPlace"), !file.requiresConversion()},
        {QStringLiteral("markers"), markersJson(document)},
        {QStringLiteral("metadata"), metadataJson(document.audioMetadata())},
        {QStringLiteral("pictures"), picturesJson(document.audioMetadata())},
    };
    insertPath(object, document.filePath());
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QString text(const SoundDocument& document)
{
    const AudioFile& file = *document.audioFile();
    Table table;
    table.add(QStringLiteral("Type"),
              QStringLiteral("%1, %2").arg(file.displayTypeName(), file.encodingDescription()));
    table.add(QStringLiteral("Channels"), channelsText(document.trackCount()));
    table.add(QStringLiteral("Rate"),
              QStringLiteral("%1 Hz").arg(QString::number(document.sampleRate(), 'g', 12)));
    if (file.bitRate() > 0)
        table.add(QStringLiteral("Bit rate"), QStringLiteral("%1 bit/s").arg(file.bitRate()));
    table.add(QStringLiteral("Length"), lengthText(document));
    addMarkers(table, document);
    addTags(table, document.audioMetadata());
    addPictures(table, document.audioMetadata());
    return Terminal::withoutControls(displayPath(document.filePath())) + u'\n' + table.text();
}

} // namespace velloria::FileDescription
