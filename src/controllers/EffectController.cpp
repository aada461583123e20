#include "controllers/EffectController.h"

#include "document/UndoGroup.h"

#include <utility>

namespace velloria
{

namespace
{

std::shared_ptr<Filter>& lastFilterOfApplication()
{
    static std::shared_ptr<Filter> filter;
    return filter;
}

void rememberFilter(std::shared_ptr<Filter> filter)
{
    std::shared_ptr<Filter>& last = lastFilterOfApplication();
    if (last && last != filter)
        last->setDelegate(nullptr);
    last = std::move(filter);
}

} // namespace

EffectController::~EffectController()
{
    // It must neither call back nor keep the document's files open.
    const std::shared_ptr<Filter> last = lastFilter();
    if (last && last->delegate() == this) {
        last->setDelegate(nullptr);
        last->setSource(nullptr);
    }
}

void EffectController::setUpFilter(Filter& filter)
{
    mSelectionBefore.reset();
    if (mSelection.isEmpty()) {
        mSelectionBefore = mSelection.value();
        mSelection.selectAll();
    }
    // In whole frames: the source rounds start, end and duration each by itself, and where they disagree the
    // effect would replace one frame more than it read.
    const double rate = mDocument->sampleRate();
    SoundSelection selection = mSelection.normalizedSelection();
    selection.startTime = static_cast<double>(frameAtTime(selection.startTime, rate)) / rate;
    selection.endTime = static_cast<double>(frameAtTime(selection.endTime, rate)) / rate;
    filter.setSource(std::make_shared<DocumentSource>(mDocument, selection));
    filter.setDelegate(this);
}

void EffectController::filterWasCancelled()
{
    if (const std::optional<SoundSelection> before = std::exchange(mSelectionBefore, std::nullopt))
        mSelection.setSelection(*before);
}

MaybeError EffectController::runFilter(Filter& filter)
{
    MaybeError error = applyAsStep(filter);
    const bool isDone = !error && !filter.wasCancelled();
    const std::optional<EffectRemark> remark = isDone ? filter.remark() : std::nullopt;
    if (!isDone || (remark && remark->leavesSound()))
        filterWasCancelled();
    if (remark)
        mHost.effectDidRemark(filter.name(), *remark);
    return error;
}

MaybeError EffectController::applyAsStep(Filter& filter)
{
    const UndoGroup group(*mDocument, filter.name());
    filter.setMostScratchBytes(mMostScratchBytes);
    MaybeError error = filter.apply();
    mFilterProgress.reset();
    return error;
}

MaybeError EffectController::applyFilter(const std::shared_ptr<Filter>& filter)
{
    MaybeError error = runFilter(*filter);
    // What somebody thought better of is not offered as the thing to do again.
    if (!filter->wasCancelled())
        rememberFilter(filter);
    return error;
}

std::shared_ptr<Filter> EffectController::lastFilter()
{
    return lastFilterOfApplication();
}

MaybeError EffectController::applyLastFilter()
{
    const std::shared_ptr<Filter> filter = lastFilter();
    if (!filter)
        return std::nullopt;
    setUpFilter(*filter);
    return runFilter(*filter);
}

void EffectController::filterDidReachProgress(Filter& filter, double progress)
{
    if (!mFilterProgress)
        mFilterProgress = mHost.beginProgress(filter.name());
    if (mFilterProgress)
        mFilterProgress->setProgressValue(progress);
}

bool EffectController::filterShouldCancel(Filter&)
{
    return mFilterProgress && mFilterProgress->isCancelled();
}

void EffectController::filterDidFinishProgress(Filter&)
{
    mFilterProgress.reset();
}

void EffectController::filterDidInsertData(Filter&, int64_t offset, int64_t length, int32_t firstTrack,
                                           int32_t numTracks)
{
    const double rate = mDocument->sampleRate();
    mSelection.setSelection({static_cast<double>(offset) / rate, static_cast<double>(offset + length) / rate,
                             firstTrack, numTracks});
}

} // namespace velloria
