#pragma once

#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "document/DocumentKit.h"
#include "effects/frame/EffectRemark.h"

namespace velloria::kit
{

/// A window that notes what it is told and answers questions as the test wants.
class HostRecorder : public SoundControllerHost, private Alerts
{
public:
    Alerts& alerts() override { return *this; }
    std::unique_ptr<Progress> beginProgress(const QString& title) override
    {
        calls += QStringLiteral("progress ") + title;
        return std::make_unique<ProgressRecorder>(cancelAfter);
    }
    void resultIsPartial(PartialResult result) override { partialResults.push_back(result); }
    void effectDidRemark(const QString& name, const EffectRemark& remark) override
    {
        remarks += QStringLiteral("%1: %2").arg(name, remark.inEnglish());
    }
    void selectionDidChange() override { calls += QStringLiteral("selection"); }
    void cueDidChange() override { calls += QStringLiteral("cue"); }
    void documentDidReload() override { calls += QStringLiteral("reload"); }
    void markersDidChange() override { calls += QStringLiteral("markers"); }
    void revealSelection() override { calls += QStringLiteral("reveal"); }
    void constrainRevealed() override { calls += QStringLiteral("constrain"); }
    void setNeedsDisplayWithFrameOffset(int64_t offset, int64_t length) override
    {
        drawn.push_back({offset, length});
    }

    QStringList calls;
    QStringList losses;
    QStringList remarks;
    std::vector<PartialResult> partialResults;
    std::vector<std::pair<int64_t, int64_t>> drawn;
    bool answer = true;
    size_t cancelAfter = SIZE_MAX;

private:
    void showError(const QString& message) override { calls += message; }
    void showWarning(const QString& message) override { calls += message; }
    bool confirmLoss(const QString&, const QStringList& told) override
    {
        losses = told;
        return answer;
    }
};

/// A document of given tracks with its controller.
struct Window {
    explicit Window(const TrackSamples& samples)
        : document(documentOf(samples))
        , controller(document, host)
    {
    }

    void select(int64_t start, int64_t end, int32_t firstTrack = 0, int32_t numTracks = -1)
    {
        const double rate = document->sampleRate();
        controller.selection().setSelection(
            {static_cast<double>(start) / rate, static_cast<double>(end) / rate, firstTrack,
             numTracks < 0 ? document->trackCount() - firstTrack : numTracks});
    }

    /// The selection's frames.
    std::pair<int64_t, int64_t> selectedFrames() const
    {
        const SoundSelection selection = controller.selection().normalizedSelection();
        return {frameAtTime(selection.startTime, document->sampleRate()),
                frameAtTime(selection.endTime, document->sampleRate())};
    }

    std::vector<int64_t> markers() const { return positionsOf(*document->audioMarkers()); }

    std::shared_ptr<SoundDocument> document;
    HostRecorder host;
    SoundController controller;
};

} // namespace velloria::kit
