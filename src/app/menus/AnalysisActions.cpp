#include "app/menus/AnalysisActions.h"

#include "app/analysis/SpectrumWindow.h"
#include "app/analysis/StatisticsSheet.h"
#include "app/menus/Commands.h"
#include "app/menus/MenuHost.h"
#include "app/progress/WindowAlerts.h"

#include <QMenu>
#include <QMenuBar>

namespace velloria
{

AnalysisActions::AnalysisActions(MenuHost& window, QMenuBar& menuBar)
    : mWindow(window)
{
    //% "A&nalysis"
    QMenu& menu = *menuBar.addMenu(qtTrId("menu-analysis"));
    //% "&Statistics…"
    mStatistics =
        Commands::add(menu, qtTrId("analysis-statistics"), {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_T)},
                      [this] { showStatistics(); });
    //% "S&pectrum…"
    mSpectrum = Commands::add(menu, qtTrId("analysis-spectrum"),
                              {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F)}, [this] { showSpectrum(); });
}

AnalysisActions::~AnalysisActions() = default;

void AnalysisActions::update()
{
    const bool hasSound = mWindow.document().numberOfFrames() > 0;
    mStatistics->setEnabled(hasSound);
    mSpectrum->setEnabled(hasSound);
}

void AnalysisActions::showStatistics()
{
    const AnalysedSound sound = AnalysedSound::selectionOf(mWindow.controller());
    MaybeError error;
    std::optional<SoundStatistics> statistics;
    {
        const std::unique_ptr<Progress> progress = mWindow.beginProgress(Commands::plainName(*mStatistics));
        statistics = SoundStatistics::ofTracks(sound.tracks, sound.sampleRate, sound.offset, sound.numFrames,
                                               *progress, &error);
    }
    reportError(mWindow.alerts(), error);
    if (!statistics)
        return;
    StatisticsSheet sheet(sound, *statistics, &mWindow.widget());
    sheet.exec();
}

void AnalysisActions::showSpectrum()
{
    if (!mSpectrumWindow) {
        mSpectrumWindow = new SpectrumWindow(
            [this] { return AnalysedSound::selectionOf(mWindow.controller()); }, &mWindow.widget());
        mSpectrumWindow->setAttribute(Qt::WA_DeleteOnClose);
    }
    mSpectrumWindow->measure();
    // Cancelled, a new one has nothing to show.
    if (!mSpectrumWindow)
        return;
    mSpectrumWindow->show();
    mSpectrumWindow->raise();
    mSpectrumWindow->activateWindow();
}

} // namespace velloria
