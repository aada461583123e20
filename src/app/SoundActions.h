#pragma once

#include <QObject>

class QAction;
class QMenu;
class QMenuBar;

namespace velloria
{

class DocumentWindow;

/// The Sound menu: silence, tracks, mixdowns, rate and format.
class SoundActions : public QObject
{
    Q_OBJECT

public:
    SoundActions(DocumentWindow& window, QMenuBar& menuBar);

    void update();

private:
    void mixdown(int numChannels, const QAction& action);

    DocumentWindow& mWindow;
    QAction* mRemoveTracks = nullptr;
    QAction* mMono = nullptr;
    QAction* mStereo = nullptr;
    QAction* mResample = nullptr;
};

} // namespace velloria
