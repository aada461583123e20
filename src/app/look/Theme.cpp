#include "app/look/Theme.h"

#include <cmath>

namespace velloria
{

namespace
{

constexpr int kDarkBelowLightness = 128;

QColor mixed(const QColor& a, const QColor& b, double share)
{
    const auto mix = [share](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * share)); };
    return {mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue())};
}

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

struct BasicColors {
    QRgb window, base, text, button, highlight, highlightedText, link, mid, disabled;
};

QPalette paletteFrom(const BasicColors& colors)
{
    const QColor window(colors.window);
    const QColor text(colors.text);
    QPalette palette(QColor(colors.button), window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, QColor(colors.base));
    palette.setColor(QPalette::AlternateBase, mixed(QColor(colors.base), window, 0.5));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::PlaceholderText, withAlpha(text, 128));
    palette.setColor(QPalette::ToolTipBase, QColor(colors.base));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, QColor(colors.highlight));
    palette.setColor(QPalette::HighlightedText, QColor(colors.highlightedText));
    palette.setColor(QPalette::Link, QColor(colors.link));
    palette.setColor(QPalette::Mid, QColor(colors.mid));
    const QColor disabled(colors.disabled);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(colors.mid));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, disabled);
    return palette;
}

} // namespace

QPalette ThemePalettes::light()
{
    return paletteFrom({0xffefeff1, 0xffffffff, 0xff1d2126, 0xfff6f6f7, 0xff2f6fb5, 0xffffffff, 0xff2163a8,
                        0xffb9bcc2, 0xffa0a4aa});
}

QPalette ThemePalettes::dark()
{
    return paletteFrom({0xff26292e, 0xff32363d, 0xffe4e6ea, 0xff33373d, 0xff3d7fc4, 0xffffffff, 0xff7fb6ee,
                        0xff4a4f57, 0xff757b84});
}

bool ThemePalettes::isDark(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < kDarkBelowLightness;
}

Theme Theme::fromPalette(const QPalette& palette)
{
    Theme theme;
    theme.isDark = ThemePalettes::isDark(palette);
    const QColor window = palette.color(QPalette::Window);
    const QColor text = palette.color(QPalette::WindowText);
    theme.chrome = window;
    theme.text = text;
    theme.secondaryText = mixed(text, window, 0.42);
    theme.separator = mixed(window, text, theme.isDark ? 0.16 : 0.18);
    if (theme.isDark) {
        theme.lane = QColor(0xff17191d);
        theme.outside = QColor(0xff202328);
        theme.waveform = QColor(0xff3f9fd4);
        theme.waveformPeak = QColor(0xff8fd3f5);
        theme.selection = QColor(120, 190, 240, 52);
        theme.selectionEdge = QColor(0xff8fcdf2);
        theme.grid = QColor(255, 255, 255, 16);
        theme.axis = QColor(255, 255, 255, 34);
        theme.cue = QColor(0xffff7a59);
        theme.marker = QColor(0xffe3b341);
        theme.shade = QColor(12, 13, 15, 120);
        theme.frame = QColor(0xffa7b0bb);
    } else {
        theme.lane = QColor(0xffffffff);
        theme.outside = QColor(0xfff3f3f5);
        theme.waveform = QColor(0xff1f639a);
        theme.waveformPeak = QColor(0xff5aa5d8);
        theme.selection = QColor(47, 125, 200, 44);
        theme.selectionEdge = QColor(0xff3f86c6);
        theme.grid = QColor(0, 0, 0, 14);
        theme.axis = QColor(0, 0, 0, 34);
        theme.cue = QColor(0xffd9482b);
        theme.marker = QColor(0xffb27a00);
        theme.shade = QColor(120, 125, 134, 62);
        theme.frame = QColor(0xff6c747e);
    }
    return theme;
}

} // namespace velloria
