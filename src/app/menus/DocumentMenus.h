#pragma once

#include <memory>

class QAction;
class QMenuBar;

namespace velloria
{

class AnalysisActions;
class EditActions;
class EffectActions;
class FileActions;
class HelpActions;
class MarkerActions;
class MenuHost;
class RecordActions;
class SoundActions;
class TransportActions;
class ViewActions;

/// All commands of a document's window: an action group a menu, in the order of the menu bar. Main thread.
class DocumentMenus
{
public:
    /// The toggles show and hide the window's lists.
    DocumentMenus(MenuHost& window, QMenuBar& menuBar, QAction& historyToggle, QAction& markerListToggle);
    ~DocumentMenus();

    FileActions& file() { return *mFile; }
    EditActions& edit() { return *mEdit; }
    ViewActions& view() { return *mView; }
    MarkerActions& markers() { return *mMarkers; }
    EffectActions& effects() { return *mEffects; }
    AnalysisActions& analysis() { return *mAnalysis; }
    TransportActions& transport() { return *mTransport; }
    RecordActions& recording() { return *mRecording; }

    // What is possible, and what is checked, anew.
    void update();
    void updateForSelection();
    void updateForTransport();
    /// What is still being decoded or recorded is not to be changed; markers may be set while it is recorded.
    void setEditable(bool canEdit, bool canMark);

private:
    std::unique_ptr<FileActions> mFile;
    std::unique_ptr<EditActions> mEdit;
    std::unique_ptr<ViewActions> mView;
    std::unique_ptr<MarkerActions> mMarkers;
    std::unique_ptr<SoundActions> mSound;
    std::unique_ptr<EffectActions> mEffects;
    std::unique_ptr<AnalysisActions> mAnalysis;
    std::unique_ptr<TransportActions> mTransport;
    std::unique_ptr<RecordActions> mRecording;
    std::unique_ptr<HelpActions> mHelp;
    QAction* mEditMenu;
    QAction* mMarkersMenu;
    QAction* mSoundMenu;
    QAction* mEffectsMenu;
};

} // namespace velloria
