#include "cli/subcommands/WaveformColumns.h"

#include "display/SampleCloseUp.h"
#include "display/VLWaveformCacheRenderer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

/// Six decimals tell neighbouring 16-bit values apart.
double shortened(float value)
{
    return std::round(static_cast<double>(value) * 1e6) / 1e6;
}

} // namespace

WaveformColumns WaveformColumns::ofDocument(const SoundDocument& document, const SoundSelection& range,
                                            int maxColumns, Progress& progress)
{
    WaveformColumns columns;
    columns.sampleRate = document.sampleRate();
    columns.numFrames = document.numberOfFrames();
    columns.startFrame = frameAtTime(range.startTime, columns.sampleRate);
    columns.endFrame = std::min(columns.numFrames, frameAtTime(range.endTime, columns.sampleRate));
    const int64_t length = columns.endFrame - columns.startFrame;
    const TrackList tracks = document.audioTracks();
    columns.tracks.resize(tracks->size());
    if (length < 1)
        return columns;

    const auto numColumns = static_cast<size_t>(std::min<int64_t>(maxColumns, length));
    const double stride = static_cast<double>(length) / static_cast<double>(numColumns);
    const bool isCloseUp = SampleCloseUp::isCloseUp(stride);
    if (!isCloseUp)
        if (const auto renderer = VLWaveformCacheRenderer::rendererForTracks(*tracks))
            renderer->run(progress);
    const auto offset = static_cast<double>(columns.startFrame);
    for (size_t i = 0; i < tracks->size(); ++i) {
        const AudioTrack& track = *(*tracks)[i];
        const auto numFrames = static_cast<double>(length);
        columns.tracks[i] = isCloseUp ? SampleCloseUp::minMaxDataOfTrack(track, offset, numFrames, stride)
                                      : track.minMaxDataAtOffset(offset, numFrames, stride);
        // The quotient may come out a hair above the whole number that it is.
        columns.tracks[i].resize(2 * numColumns);
    }
    return columns;
}

QByteArray WaveformColumns::json() const
{
    QJsonArray channels;
    for (const FloatBuffer& track : tracks) {
        QJsonArray pairs;
        for (size_t i = 0; i + 1 < track.size(); i += 2)
            pairs.append(QJsonArray{shortened(track[i]), shortened(track[i + 1])});
        channels.append(pairs);
    }
    const QJsonObject object = {{QStringLiteral("sampleRate"), sampleRate},
                                {QStringLiteral("frames"), static_cast<qint64>(numFrames)},
                                {QStringLiteral("channels"), static_cast<qint64>(tracks.size())},
                                {QStringLiteral("start"), static_cast<double>(startFrame) / sampleRate},
                                {QStringLiteral("end"), static_cast<double>(endFrame) / sampleRate},
                                {QStringLiteral("columns"), channels}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace velloria
