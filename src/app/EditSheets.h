#pragma once

#include <cstdint>

namespace velloria
{

class DocumentWindow;

/// The sheets of the edit commands: each asks, and does what was asked for. Undo steps are named by their
/// titles.
namespace EditSheets
{
void insertSilence(DocumentWindow& window);
void mixPaste(DocumentWindow& window);
void resample(DocumentWindow& window);
void documentProperties(DocumentWindow& window);
/// The grid's spacing and offset, which are preferences.
void gridSettings(DocumentWindow& window);
} // namespace EditSheets

} // namespace velloria
