#pragma once

#include <QObject>
#include <QPointer>

class QAction;
class QMenuBar;

namespace velloria
{

class MenuHost;
class SpectrumWindow;

/// The Analysis menu: what is measured of the selection, and changes nothing.
class AnalysisActions : public QObject
{
    Q_OBJECT

public:
    AnalysisActions(MenuHost& window, QMenuBar& menuBar);
    ~AnalysisActions() override;

    void update();
    QAction* statisticsAction() const { return mStatistics; }
    QAction* spectrumAction() const { return mSpectrum; }

private:
    void showStatistics();
    void showSpectrum();

    MenuHost& mWindow;
    QAction* mStatistics;
    QAction* mSpectrum;
    QPointer<SpectrumWindow> mSpectrumWindow;
};

} // namespace velloria
