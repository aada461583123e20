#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace velloria
{

class AudioMarker;
using AudioMarkerPtr = std::shared_ptr<AudioMarker>;
/// An installed list of markers never changes; an edit installs a new one. Null stands for an empty list.
using MarkerList = std::shared_ptr<const std::vector<AudioMarkerPtr>>;

/// A named position in a document, shared by all its tracks. Renaming and moving one marker change it in
/// place, with undo steps of their own.
class AudioMarker
{
public:
    AudioMarker() = default;
    AudioMarker(int32_t ident, int64_t position, const QString& name);

    static AudioMarkerPtr markerWithMarker(const AudioMarker& marker);

    /// File formats keep their own numbers here; 0 for markers made inside the program.
    int32_t ident() const { return mIdent; }
    void setIdent(int32_t ident) { mIdent = ident; }

    /// Frame number within the document.
    int64_t position() const { return mPosition; }
    void setPosition(int64_t position) { mPosition = position; }

    const QString& name() const { return mName; }
    void setName(const QString& name) { mName = name; }

    double secondsWithSampleRate(double sampleRate) const;

private:
    int32_t mIdent = 0;
    int64_t mPosition = 0;
    QString mName;
};

/// Markers as the private record that container formats carry: a CBOR map with the keys "version" (1) and
/// "markers", a list of maps with "ident", "position" and "name".
QByteArray archivedMarkers(const MarkerList& markers);

/// The inverse; an empty list for anything that is not such a record.
MarkerList markersFromArchive(const QByteArray& archive);

} // namespace velloria
