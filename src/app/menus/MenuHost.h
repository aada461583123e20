#pragma once

#include "controllers/SoundController.h"

class QWidget;

namespace velloria
{

class Editor;
class WaveformView;

/// What the menus of a document's window ask of it; DocumentWindow implements it. Main thread.
class MenuHost
{
public:
    virtual ~MenuHost() = default;

    /// The window that sheets and further shortcuts belong to.
    virtual QWidget& widget() = 0;
    virtual Editor& editor() = 0;
    virtual SoundController& controller() = 0;
    SoundDocument& document() { return controller().document(); }
    virtual WaveformView& view() = 0;
    virtual Alerts& alerts() = 0;
    /// Shown until it is destroyed.
    virtual std::unique_ptr<Progress> beginProgress(const QString& title) = 0;

    /// While the document is still being decoded it can be looked at, but not changed nor saved.
    virtual bool isOpening() const = 0;
    /// Reads the file anew, in place of what was changed.
    virtual void reopen() = 0;
    /// Name, unsaved state, format and commands anew.
    virtual void updateState() = 0;
    virtual void bringToFront() = 0;
};

} // namespace velloria
