#pragma once

#include "formats/kit/SavingTestKit.h"
#include "formats/wave/WaveFile.h"

/// What the tests of cue points share: chunks as most programs write them, and saves of hand-made files.
namespace velloria::test
{

using Markers = std::vector<std::pair<int64_t, QString>>;

inline const QByteArray kFormat = chunk("fmt ", formatPayload({.numChannels = 1}));
inline const QByteArray kSound = chunk("data", noiseBytes(2000, 7));

struct Point {
    int64_t ident;
    int64_t position;
};

/// As most programs write them: both fields hold the place.
inline QByteArray points(const std::vector<Point>& list)
{
    QByteArray payload = littleEndian32(std::ssize(list));
    for (const Point& point : list)
        payload += littleEndian32(point.ident) + littleEndian32(point.position) + "data" +
                   QByteArray(8, '\0') + littleEndian32(point.position);
    return payload;
}

inline QByteArray text(const char* ident, int64_t point, const QByteArray& text)
{
    return chunk(ident, littleEndian32(point) + text + '\0');
}

inline QByteArray region(int64_t point, int64_t length, const QByteArray& text = {})
{
    return chunk("ltxt", littleEndian32(point) + littleEndian32(length) + "rgn " + littleEndian16(49) +
                             littleEndian16(7) + littleEndian16(1) + littleEndian16(1252) + text);
}

struct Loop {
    int64_t ident;
    int64_t start;
    int64_t end;
};

inline QByteArray sampler(const std::vector<Loop>& loops, int64_t framePeriod = 22676)
{
    QByteArray payload = littleEndian32(1) + littleEndian32(2) + littleEndian32(framePeriod) +
                         littleEndian32(60) + QByteArray(12, '\3') + littleEndian32(std::ssize(loops)) +
                         littleEndian32(3);
    for (const Loop& loop : loops)
        payload += littleEndian32(loop.ident) + littleEndian32(1) + littleEndian32(loop.start) +
                   littleEndian32(loop.end) + littleEndian32(5) + littleEndian32(6);
    return payload + "abc";
}

inline QByteArray list(const QByteArray& entries)
{
    return chunk("LIST", "adtl" + entries);
}

inline Markers sorted(Markers markers)
{
    std::sort(markers.begin(), markers.end());
    return markers;
}

class WaveCuesTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openedFrom(const QByteArray& bytes)
    {
        makeFile("in.wav", bytes);
        return opened("in.wav");
    }

    struct Change {
        /// Of the marker as it is.
        QString name;
        std::optional<int64_t> newPosition;
        std::optional<QString> newName = {};
        bool isDeleted = false;
    };

    static MarkerList changed(const AudioFile& file, const std::vector<Change>& changes,
                              const Markers& added = {})
    {
        std::vector<AudioMarkerPtr> markers;
        for (const AudioMarkerPtr& each : file.markers() ? *file.markers() : std::vector<AudioMarkerPtr>()) {
            const auto change =
                std::ranges::find_if(changes, [&](const Change& c) { return c.name == each->name(); });
            if (change != changes.end() && change->isDeleted)
                continue;
            markers.push_back(AudioMarker::markerWithMarker(*each));
            if (change != changes.end()) {
                markers.back()->setPosition(change->newPosition.value_or(each->position()));
                markers.back()->setName(change->newName.value_or(each->name()));
            }
        }
        for (const auto& [position, name] : added)
            markers.push_back(std::make_shared<AudioMarker>(0, position, name));
        return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
    }

    /// A save as the document does it; what it tells goes to mLost.
    std::shared_ptr<WaveFile> saved(const std::shared_ptr<AudioFile>& file, const MarkerList& markers,
                                    const AudioMetadata& metadata, double sampleRate = 44100.0)
    {
        auto writer = std::make_shared<WaveFile>(sampleRate, file->bitsPerSample(), file->numberOfChannels());
        writer->setOpenedFile(file);
        writer->setMarkers(markers);
        writer->setMetadata(metadata);
        writer->setNumberOfFrames(file->numberOfFrames());
        mLost = file->ledger().namesOf(ItemKind::part,
                                       [&](const FileItem& item) { return !writer->willWrite(item); });
        mLost += writer->soundLosses();
        mMostMarkers = writer->maximumNumberOfMarkers();
        const ClipList track(AudioClipPtr(std::make_shared<AudioClip>(file, 0, file->numberOfFrames(), 0)));
        save(*writer, "out.wav", TrackDocument({track}, sampleRate));
        return writer;
    }

    QByteArray savedBytes(const std::shared_ptr<AudioFile>& file, const MarkerList& markers)
    {
        saved(file, markers, file->metadata());
        return bytesOf("out.wav");
    }

    QStringList mLost;
    int64_t mMostMarkers = 0;
};

} // namespace velloria::test
