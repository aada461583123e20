#include "controllers/SoundController.h"

#include "Classes/CoreAudio/AudioPreferences.h"
#include "document/DocumentTransport.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// NaN becomes 0.
double clampedTime(double seconds, double totalTime)
{
    return seconds > totalTime ? totalTime : seconds >= 0.0 ? seconds : 0.0;
}

} // namespace

SoundController::SoundController(std::shared_ptr<SoundDocument> document, SoundControllerHost& host)
    : mDocument(std::move(document))
    , mHost(host)
    , mNumTracks(mDocument->trackCount())
{
    mSelection.numTracks = mNumTracks;
    mDocument->addController(this);
    mCueMainTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&mCueMainTimer, &QTimer::timeout, &mCueMainTimer, [this] { cueMainTimerFire(); });
    mVolumeToken =
        NotificationCenter::standard().addObserver(AudioNotification::playbackVolumeDidChange(),
                                                   [this](const void*) { mHost.playbackVolumeDidChange(); });
}

SoundController::~SoundController()
{
    NotificationCenter::standard().removeObserver(mVolumeToken);
    mDocument->removeController(this);
    // The last filter outlives this document: it must neither call back nor keep the document's files open.
    const std::shared_ptr<Filter> last = lastFilter();
    if (last && last->delegate() == this) {
        last->setDelegate(nullptr);
        last->setSource(nullptr);
    }
}

SoundSelection SoundController::everything() const
{
    return {0.0, mDocument->totalTime(), 0, mDocument->trackCount()};
}

SoundSelection SoundController::normalizedSelection() const
{
    const double total = mDocument->numberOfFrames() > 0 ? mDocument->totalTime() : 0.0;
    const int32_t count = mDocument->trackCount();
    SoundSelection selection = mSelection;
    const double start = clampedTime(selection.startTime, total);
    const double end = clampedTime(selection.endTime, total);
    selection.startTime = std::min(start, end);
    selection.endTime = std::max(start, end);
    if (selection.firstTrack < 0) {
        selection.firstTrack = 0;
        selection.numTracks = count;
    }
    selection.firstTrack = std::min(selection.firstTrack, std::max(0, count - 1));
    selection.numTracks = std::clamp(selection.numTracks, 0, count - selection.firstTrack);
    return selection;
}

bool SoundController::isSelectionEmpty() const
{
    const SoundSelection selection = normalizedSelection();
    return selection.startTime == selection.endTime;
}

SoundSelection SoundController::selectionOrAll() const
{
    return isSelectionEmpty() ? everything() : normalizedSelection();
}

void SoundController::setSelection(const SoundSelection& selection)
{
    if (selection == mSelection)
        return;
    mSelection = selection;
    mHost.selectionDidChange();
}

void SoundController::selectAll()
{
    setSelection(everything());
}

void SoundController::selectNone()
{
    SoundSelection selection = normalizedSelection();
    selection.endTime = selection.startTime;
    setSelection(selection);
}

void SoundController::setCueTime(double seconds)
{
    if (isPlaying())
        moveCueWhilePlaying(clampedTime(seconds, mDocument->totalTime()));
    else
        showCueTime(seconds);
}

void SoundController::showCueTime(double seconds)
{
    const double time = clampedTime(seconds, mDocument->totalTime());
    if (time == mCueTime)
        return;
    mCueTime = time;
    mHost.cueDidChange();
}

void SoundController::setNumTracks(int32_t numTracks)
{
    if (numTracks == mNumTracks)
        return;
    // A selection of all tracks stays one.
    SoundSelection selection = normalizedSelection();
    if (mSelection.firstTrack <= 0 && mSelection.numTracks >= mNumTracks)
        selection.numTracks = numTracks;
    mNumTracks = numTracks;
    mCloseUps.clear();
    setSelection(selection);
}

void SoundController::reload()
{
    mDocument->transport().documentDidChange();
    showCueTime(mCueTime);
    mHost.documentDidReload();
}

void SoundController::markersDidChange()
{
    mHost.markersDidChange();
}

void SoundController::restoreSelection(const SoundSelection& selection)
{
    setSelection(selection);
}

} // namespace velloria
