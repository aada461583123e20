#pragma once

#include <QColor>
#include <QPalette>

namespace velloria
{

/// The colours of the waveform views, derived from a palette so that they follow the desktop, light or dark.
struct Theme {
    bool isDark = false;
    QColor chrome;        ///< around the lanes: rulers, scales
    QColor lane;          ///< behind a track
    QColor outside;       ///< before the beginning and after the end
    QColor waveform;      ///< the sound, near silence
    QColor waveformPeak;  ///< the sound, at full scale
    QColor selection;     ///< translucent, over the lane
    QColor selectionEdge; ///< lines at both ends
    QColor grid;          ///< thin lines at labelled times
    QColor axis;          ///< the line of silence
    QColor separator;     ///< between widgets
    QColor text;          ///< labels
    QColor secondaryText; ///< captions, ticks
    QColor cue;           ///< the insertion point
    QColor marker;        ///< flags and lines of markers
    QColor shade;         ///< translucent, over what the view does not show
    QColor frame;         ///< around what the view shows

    static Theme fromPalette(const QPalette& palette);
};

/// Whether the whole program is light or dark; the values of the preference "view.appearance".
enum class Appearance { system = 0, light = 1, dark = 2 };

namespace ThemePalettes
{
QPalette light();
QPalette dark();
bool isDark(const QPalette& palette);
} // namespace ThemePalettes

} // namespace velloria
