#include "app/waveform/DocumentSubject.h"
#include "controllers/DisplayController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"

namespace velloria
{

DocumentSubject::DocumentSubject(SoundController& controller, Handler didRead)
    : mController(&controller)
    , mDidRead(std::move(didRead))
{
}

void DocumentSubject::setController(SoundController& controller)
{
    mController = &controller;
    mOverviewCloseUps.clear();
}

int32_t DocumentSubject::numTracks() const
{
    return static_cast<int32_t>(mController->document().audioTracks()->size());
}

int64_t DocumentSubject::numFrames() const
{
    return mController->document().numberOfFrames();
}

double DocumentSubject::sampleRate() const
{
    return mController->document().sampleRate();
}

TrackList DocumentSubject::tracks() const
{
    return mController->document().audioTracks();
}

FloatBuffer DocumentSubject::columns(int64_t firstColumn, int64_t numColumns, double framesPerColumn,
                                     int32_t track)
{
    const double stride = framesPerColumn / sampleRate();
    const double start = static_cast<double>(firstColumn) * stride;
    return mController->display().minMaxDataFrom(start, start + static_cast<double>(numColumns) * stride,
                                                 stride, track);
}

FloatBuffer DocumentSubject::overviewColumns(int64_t numColumns, int32_t track)
{
    const SoundDocument& document = mController->document();
    const TrackList tracks = document.audioTracks();
    const auto index = static_cast<size_t>(track);
    const auto length = static_cast<double>(numFrames());
    const double stride = length / static_cast<double>(numColumns);
    if (index < tracks->size() && SampleCloseUp::isCloseUp(stride)) {
        if (mOverviewCloseUps.size() < tracks->size())
            mOverviewCloseUps.resize(tracks->size());
        if (!mOverviewCloseUps[index])
            mOverviewCloseUps[index] = std::make_unique<SampleCloseUp>(mDidRead);
        if (auto pairs = mOverviewCloseUps[index]->minMaxDataAtOffset((*tracks)[index], 0, length, stride))
            return std::move(*pairs);
    }
    return document.minMaxDataFrom(0, document.totalTime(), stride / sampleRate(), track);
}

SoundSelection DocumentSubject::selection() const
{
    return mController->selection().normalizedSelection();
}

void DocumentSubject::setSelection(const SoundSelection& selection)
{
    mController->selection().setSelection(selection);
}

double DocumentSubject::cueTime() const
{
    return mController->transport().cueTime();
}

void DocumentSubject::setCueTime(double seconds)
{
    mController->transport().setCueTime(seconds);
}

bool DocumentSubject::isPlaying() const
{
    return mController->transport().isPlaying();
}

MarkerList DocumentSubject::markers() const
{
    return mController->document().orderedMarkers();
}

void DocumentSubject::setMarkerName(const AudioMarkerPtr& marker, const QString& name)
{
    mController->document().setName(name, marker);
}

void DocumentSubject::setMarkerPosition(const AudioMarkerPtr& marker, int64_t position)
{
    mController->document().setPosition(position, marker);
}

void DocumentSubject::removeMarker(const AudioMarkerPtr& marker)
{
    mController->document().removeAudioMarker(marker);
}

double DocumentSubject::nearestZeroCrossing(double within, double to, int32_t track) const
{
    return mController->display().nearestZeroCrossingWithin(within, to, track);
}

} // namespace velloria
