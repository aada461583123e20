#include "document/clips/ScratchLabel.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>
#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace velloria
{

namespace
{

constexpr int kVersion = 1;
constexpr int32_t kMostTracks = 65536;
constexpr qsizetype kMostCharacters = 4096;
constexpr int kMostBits = 64;

using Use = ScratchLabel::Use;

constexpr std::array<std::pair<Use, QLatin1String>, 4> kUses = {{
    {Use::recording, QLatin1String("recording")},
    {Use::document, QLatin1String("document")},
    {Use::decoding, QLatin1String("decoding")},
    {Use::computation, QLatin1String("computation")},
}};

/// Innermost last.
std::vector<const std::function<ScratchLabel()>*>& openScopes()
{
    static thread_local std::vector<const std::function<ScratchLabel()>*> scopes;
    return scopes;
}

QString textOf(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1String(key)).toString().left(kMostCharacters);
}

} // namespace

ScratchLabel ScratchLabel::forNewSound(int32_t tracks) const
{
    ScratchLabel label = *this;
    label.soundID = QUuid::createUuid().toString(QUuid::WithoutBraces);
    label.numTracks = tracks;
    label.made = QDateTime::currentDateTimeUtc();
    return label;
}

QByteArray ScratchTrackLabel::toNote() const
{
    const auto use = std::find_if(kUses.begin(), kUses.end(),
                                  [this](const auto& entry) { return entry.first == label.use; });
    const QJsonObject object = {
        {QStringLiteral("velloria"), kVersion},
        {QStringLiteral("use"), use->second},
        {QStringLiteral("sound"), label.soundID},
        {QStringLiteral("track"), track},
        {QStringLiteral("tracks"), label.numTracks},
        {QStringLiteral("document"), label.documentID},
        {QStringLiteral("name"), label.documentName},
        // Paths are bytes and need not be text.
        {QStringLiteral("file"), QString::fromLatin1(label.file.toPercentEncoding("/"))},
        {QStringLiteral("command"), label.command},
        {QStringLiteral("bits"), static_cast<qint64>(label.sampleBits)},
        {QStringLiteral("made"), label.made.toString(Qt::ISODateWithMs)},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<ScratchTrackLabel> ScratchTrackLabel::ofNote(const QByteArray& note)
{
    const QJsonObject object = QJsonDocument::fromJson(note).object();
    const QString useName = textOf(object, "use");
    const auto use =
        std::find_if(kUses.begin(), kUses.end(), [&](const auto& entry) { return entry.second == useName; });
    ScratchTrackLabel read;
    ScratchLabel& label = read.label;
    label.soundID = textOf(object, "sound");
    label.numTracks = object.value(QLatin1String("tracks")).toInt();
    read.track = object.value(QLatin1String("track")).toInt(-1);
    const bool isOurs = object.value(QLatin1String("velloria")).toInt() == kVersion && use != kUses.end();
    const bool isSound = label.numTracks >= 1 && label.numTracks <= kMostTracks && read.track >= 0 &&
                         read.track < label.numTracks && !label.soundID.isEmpty();
    if (!isOurs || !isSound)
        return std::nullopt;
    label.use = use->first;
    label.documentID = textOf(object, "document");
    label.documentName = textOf(object, "name");
    label.file = QByteArray::fromPercentEncoding(textOf(object, "file").toLatin1());
    label.command = textOf(object, "command");
    label.sampleBits = std::clamp(object.value(QLatin1String("bits")).toInt(), 0, kMostBits);
    label.made = QDateTime::fromString(textOf(object, "made"), Qt::ISODateWithMs);
    return read;
}

ScratchLabelScope::ScratchLabelScope(std::function<ScratchLabel()> label)
    : mLabel(std::move(label))
{
    openScopes().push_back(&mLabel);
}

ScratchLabelScope::~ScratchLabelScope()
{
    std::erase(openScopes(), &mLabel);
}

std::shared_ptr<const ScratchLabel> ScratchLabelScope::labelForNewSound(int32_t numTracks)
{
    if (openScopes().empty())
        return nullptr;
    return std::make_shared<const ScratchLabel>((*openScopes().back())().forNewSound(numTracks));
}

} // namespace velloria
