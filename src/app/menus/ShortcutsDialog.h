#pragma once

#include <QDialog>

class QMenu;
class QMenuBar;

namespace velloria
{

/// What the keys and the mouse do: the shortcuts of all menus, read from the menus themselves, and what the
/// waveform does beyond them.
class ShortcutsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ShortcutsDialog(const QMenuBar& menuBar, QWidget* parent = nullptr);

    /// As rich text.
    static QString overview(const QMenuBar& menuBar);
};

} // namespace velloria
