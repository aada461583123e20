#pragma once

class QWidget;

namespace velloria
{

class SoundController;

/// The sheets of the edit commands: each asks, and does what was asked for. Undo steps are named by their
/// titles.
namespace EditSheets
{
void insertSilence(SoundController& controller, QWidget& window);
void mixPaste(SoundController& controller, QWidget& window);
void resample(SoundController& controller, QWidget& window);
void documentProperties(SoundController& controller, QWidget& window);
/// The grid's spacing and offset, which are preferences.
void gridSettings(QWidget& window);
} // namespace EditSheets

} // namespace velloria
