#include "cli/subcommands/MeasurementText.h"

#include "cli/subcommands/FileDescription.h"
#include "cli/terminal/Terminal.h"
#include "measurement/Levels.h"
#include "platform/FileHandle.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

namespace velloria::MeasurementText
{

namespace
{

constexpr int kLabelWidth = 22;
constexpr int kValueWidth = 10;

/// JSON has no infinities. Hundredths are finer than any of these can be measured.
QJsonValue jsonNumber(double value)
{
    return std::isfinite(value) ? QJsonValue(std::round(value * 100.0) / 100.0) : QJsonValue();
}

QJsonValue jsonLevel(double level)
{
    return jsonNumber(decibelsOfLevel(level));
}

QString number(double value, int decimals)
{
    return std::isfinite(value) ? QString::number(value, 'f', decimals) : QStringLiteral("-inf");
}

QString row(const QString& label, const QStringList& values, const QString& unit)
{
    QString line = QStringLiteral("  ") + label.leftJustified(kLabelWidth);
    for (const QString& value : values)
        line += value.rightJustified(kValueWidth);
    return (unit.isEmpty() ? line : line + u' ' + unit) + u'\n';
}

QString loudnessRows(const SoundStatistics::Loudness& loudness)
{
    const QString lufs = QStringLiteral("LUFS");
    return row(QStringLiteral("Integrated loudness"), {number(loudness.integrated, 1)}, lufs) +
           row(QStringLiteral("Loudness range"), {number(loudness.range, 1)}, QStringLiteral("LU")) +
           row(QStringLiteral("Highest momentary"), {number(loudness.highestMomentary, 1)}, lufs) +
           row(QStringLiteral("Highest short-term"), {number(loudness.highestShortTerm, 1)}, lufs);
}

QString trackRows(const SoundStatistics& statistics)
{
    using Track = SoundStatistics::Track;
    const auto valuesOf = [&statistics](const auto& textOf) {
        QStringList values;
        for (const Track& track : statistics.tracks)
            values.append(textOf(track));
        return values;
    };
    const auto level = [](double value) { return number(decibelsOfLevel(value), 2); };
    QStringList names;
    for (size_t i = 0; i < statistics.tracks.size(); ++i)
        names.append(QStringLiteral("Channel %1").arg(i + 1));
    return row({}, names, {}) +
           row(QStringLiteral("True peak"),
               valuesOf([&](const Track& track) { return level(track.truePeak); }), QStringLiteral("dBTP")) +
           row(QStringLiteral("Peak"), valuesOf([&](const Track& track) { return level(track.peak); }),
               QStringLiteral("dBFS")) +
           row(QStringLiteral("RMS level"), valuesOf([&](const Track& track) { return level(track.rms); }),
               QStringLiteral("dBFS")) +
           row(QStringLiteral("DC offset"),
               valuesOf([](const Track& track) { return number(100.0 * track.dcOffset, 3); }),
               QStringLiteral("%")) +
           row(QStringLiteral("Clipped samples"),
               valuesOf([](const Track& track) { return QString::number(track.numClipped); }), {});
}

} // namespace

QByteArray json(const SoundStatistics& statistics, const std::filesystem::path& path)
{
    QJsonArray channels;
    for (const SoundStatistics::Track& track : statistics.tracks)
        channels.append(
            QJsonObject{{QStringLiteral("peak"), jsonLevel(track.peak)},
                        {QStringLiteral("truePeak"), jsonLevel(track.truePeak)},
                        {QStringLiteral("rms"), jsonLevel(track.rms)},
                        {QStringLiteral("dcOffset"), track.dcOffset},
                        {QStringLiteral("clippedSamples"), static_cast<qint64>(track.numClipped)}});
    const double none = std::numeric_limits<double>::quiet_NaN();
    const SoundStatistics::Loudness loudness =
        statistics.loudness.value_or(SoundStatistics::Loudness{none, none, none, none});
    QJsonObject object = {{QStringLiteral("sampleRate"), statistics.sampleRate},
                          {QStringLiteral("frames"), static_cast<qint64>(statistics.numFrames)},
                          {QStringLiteral("integratedLoudness"), jsonNumber(loudness.integrated)},
                          {QStringLiteral("loudnessRange"), jsonNumber(loudness.range)},
                          {QStringLiteral("maxMomentaryLoudness"), jsonNumber(loudness.highestMomentary)},
                          {QStringLiteral("maxShortTermLoudness"), jsonNumber(loudness.highestShortTerm)},
                          {QStringLiteral("truePeak"), jsonLevel(statistics.highestTruePeak())},
                          {QStringLiteral("peak"), jsonLevel(statistics.highestPeak())},
                          {QStringLiteral("clippedSamples"), static_cast<qint64>(statistics.numClipped())},
                          {QStringLiteral("channels"), channels}};
    FileDescription::insertPath(object, path);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QString table(const SoundStatistics& statistics, const std::filesystem::path& path)
{
    QString text = Terminal::withoutControls(displayPath(path)) + u'\n';
    if (statistics.loudness)
        text += loudnessRows(*statistics.loudness);
    return text + trackRows(statistics);
}

} // namespace velloria::MeasurementText
