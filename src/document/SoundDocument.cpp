#include "document/SoundDocument.h"

#include "document/DocumentRecording.h"
#include "document/DocumentStep.h"
#include "document/DocumentTransport.h"
#include "platform/ScratchFolder.h"
#include "platform/UserDefaults.h"

#include <QUuid>
#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

// What audio devices and sound files of today go up to; a preference beyond is a slip of the hand.
constexpr double kLowestSampleRate = 100.0;
constexpr double kHighestSampleRate = 1000000.0;

double preferredSampleRate()
{
    const double rate = UserDefaults::standard().doubleValue(QStringLiteral("file.sampleRate"));
    return rate >= kLowestSampleRate && rate <= kHighestSampleRate ? rate : 44100.0;
}

int64_t preferredSampleSize()
{
    const int bits = UserDefaults::standard().integerValue(QStringLiteral("file.sampleSize"));
    return bits == 8 || bits == 16 || bits == 24 || bits == 32 ? bits : 16;
}

} // namespace

SoundDocument::SoundDocument()
    : SoundDocument(ForLoading())
{
    mSampleRate = preferredSampleRate();
    mSampleSize = preferredSampleSize();
    mAudioTracks = std::make_shared<const std::vector<AudioTrackPtr>>(
        std::vector<AudioTrackPtr>{AudioTrack::track(), AudioTrack::track()});
    updateTrackPanning();
}

SoundDocument::SoundDocument(ForLoading)
    : mAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>())
    , mScratchID(QUuid::createUuid().toString(QUuid::WithoutBraces))
    , mRecording(std::make_unique<DocumentRecording>(*this))
    , mTransport(std::make_unique<DocumentTransport>(*this))
{
}

SoundDocument::~SoundDocument() = default;

TrackList SoundDocument::audioTracks() const
{
    const std::lock_guard lock(mTracksMutex);
    return mAudioTracks;
}

QString SoundDocument::displayName() const
{
    if (!mFilePath.empty())
        return velloria::displayName(mFilePath);
    return mTitle.isEmpty() ? QStringLiteral("Untitled") : mTitle;
}

void SoundDocument::setLeftOvers(std::vector<std::shared_ptr<LeftOverFile>> files)
{
    mLeftOvers = std::move(files);
    mUndoStack.resetClean();
}

void SoundDocument::discardLeftOvers()
{
    for (const std::shared_ptr<LeftOverFile>& file : mLeftOvers)
        file->removeWhenUnused();
    mLeftOvers.clear();
}

ScratchLabel SoundDocument::scratchLabel(ScratchLabel::Use use) const
{
    ScratchLabel label;
    label.use = use;
    label.documentID = mScratchID;
    label.documentName = displayName();
    label.file = QByteArray::fromStdString(mFilePath.native());
    label.sampleBits = mSampleSize;
    if (mOpenStep)
        label.command = mOpenStep->text();
    return label;
}

ClipList SoundDocument::clipsAtOffset(int64_t offset, int64_t length, int32_t track) const
{
    const TrackList tracks = audioTracks();
    if (track < 0 || static_cast<size_t>(track) >= tracks->size())
        return ClipList();
    return (*tracks)[static_cast<size_t>(track)]->clipsAtOffset(offset, length);
}

FloatBuffer SoundDocument::minMaxDataFrom(double startTime, double endTime, double stride,
                                          int32_t track) const
{
    const TrackList tracks = audioTracks();
    if (track < 0 || static_cast<size_t>(track) >= tracks->size())
        return FloatBuffer();
    const double rate = sampleRate();
    return (*tracks)[static_cast<size_t>(track)]->minMaxDataAtOffset(
        startTime * rate, (endTime - startTime) * rate, stride * rate);
}

void SoundDocument::addController(DocumentController* controller)
{
    mControllers.push_back(controller);
}

void SoundDocument::removeController(DocumentController* controller)
{
    std::erase(mControllers, controller);
}

void SoundDocument::tellMarkersDidChange() const
{
    for (DocumentController* controller : std::vector(mControllers))
        controller->markersDidChange();
}

void SoundDocument::tellMetadataDidChange() const
{
    for (DocumentController* controller : std::vector(mControllers))
        controller->metadataDidChange();
}

void SoundDocument::updateTrackPanning()
{
    const size_t count = mAudioTracks->size();
    for (size_t i = 0; i < count; ++i) {
        // The first of several is the left channel here, although a track added at index 0 starts in the
        // centre (defaultPanForTrackIndex).
        const double pan = count == 1 ? 0.0 : i % 2 == 1 ? 1.0 : -1.0;
        if ((*mAudioTracks)[i]->pan() != pan)
            (*mAudioTracks)[i]->setPan(pan);
    }
}

double SoundDocument::defaultPanForTrackIndex(int32_t index)
{
    if (index == 0)
        return 0.0;
    return index % 2 == 0 ? -1.0 : 1.0;
}

void SoundDocument::recalculateNumFrames()
{
    int64_t numFrames = 0;
    for (const AudioTrackPtr& track : *mAudioTracks)
        numFrames = std::max(numFrames, track->length());
    mNumberOfFrames = numFrames;
}

void SoundDocument::reload()
{
    recalculateNumFrames();
    // A copy: a controller may leave while it is told.
    for (DocumentController* controller : std::vector(mControllers)) {
        controller->setNumTracks(trackCount());
        controller->reload();
    }
}

} // namespace velloria
