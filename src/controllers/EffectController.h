#pragma once

#include "controllers/SelectionModel.h"
#include "effects/frame/Filter.h"

#include <memory>
#include <optional>

namespace velloria
{

/// Runs effects on a document: gives them the selection, shows their progress, selects what they computed,
/// and remembers the last one for the whole application. Main thread.
class EffectController : public FilterDelegate
{
public:
    EffectController(std::shared_ptr<SoundDocument> document, SelectionModel& selection, CommandHost& host)
        : mDocument(std::move(document))
        , mSelection(selection)
        , mHost(host)
    {
    }
    /// The last filter goes on without this document.
    ~EffectController() override;
    EffectController(const EffectController&) = delete;
    EffectController& operator=(const EffectController&) = delete;

    /// Gives the effect a source over the selection (everything, when it is empty; the selection then
    /// follows) and this controller as delegate.
    void setUpFilter(Filter& filter);
    /// The effect that was set up is not to be applied after all, or changed nothing: what setUpFilter()
    /// selected is not selected any more.
    void filterWasCancelled();
    /// Applies an effect that was set up, as one step named after it, and keeps it as the last filter.
    /// Nothing is answered when the person cancelled it, as Filter::apply() does; then the selection is what
    /// it was, and the last filter, too.
    MaybeError applyFilter(const std::shared_ptr<Filter>& filter);
    /// The same without keeping it. What the effect remarks on the sound the host is told.
    MaybeError runFilter(Filter& filter);
    /// Passed on to the effects run from now on; see Filter.
    void setMostScratchBytes(int64_t numBytes) { mMostScratchBytes = numBytes; }
    /// The application-wide last filter, or null.
    static std::shared_ptr<Filter> lastFilter();
    MaybeError applyLastFilter();

private:
    void filterDidReachProgress(Filter& filter, double progress) override;
    bool filterShouldCancel(Filter& filter) override;
    void filterDidFinishProgress(Filter& filter) override;
    void filterDidInsertData(Filter& filter, int64_t offset, int64_t length, int32_t firstTrack,
                             int32_t numTracks) override;

    MaybeError applyAsStep(Filter& filter);

    std::shared_ptr<SoundDocument> mDocument;
    SelectionModel& mSelection;
    CommandHost& mHost;
    std::unique_ptr<Progress> mFilterProgress;
    std::optional<SoundSelection> mSelectionBefore; ///< where everything was selected for an effect
    int64_t mMostScratchBytes = INT64_MAX;
};

} // namespace velloria
