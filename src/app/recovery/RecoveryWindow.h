#pragma once

#include "document/LeftOverSounds.h"

#include <QDialog>
#include <functional>

class QLabel;
class QPushButton;

namespace velloria
{

class LeftOverList;
class SoundPlayer;

/// Shows the sounds that earlier runs left, to be listened to, opened or discarded. It stands beside the
/// windows and stops nobody from working. Closing it, in whatever way the program ends, keeps what is still
/// listed: only what a person discarded by its name is removed.
class RecoveryWindow : public QDialog
{
    Q_OBJECT

public:
    /// Opens a sound in a window; an error leaves it listed.
    using Open = std::function<MaybeError(const LeftOverSound&)>;

    RecoveryWindow(std::vector<LeftOverSound> sounds, Open open, QWidget* parent = nullptr);
    ~RecoveryWindow() override;

    LeftOverList& list() { return *mList; }
    SoundPlayer& player() { return *mPlayer; }

    void openSelected();
    void openAll();
    /// Asks for each sound.
    void discardSelected();

private:
    void addButtons();
    void updateButtons();
    void openSounds(const std::vector<LeftOverSound>& sounds);
    bool confirmsSoManyWindows(size_t count);
    void showFiles();
    void closeIfEmpty();

    const Open mOpen;
    LeftOverList* const mList;
    SoundPlayer* const mPlayer;
    QPushButton* mOpenButton = nullptr;
    QPushButton* mOpenAllButton = nullptr;
    QPushButton* mDiscardButton = nullptr;
};

} // namespace velloria
