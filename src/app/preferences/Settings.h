#pragma once

#include "display/SnapSettings.h"

#include <QString>

namespace velloria
{

/// The keys of the preferences that the editor's windows read, and their defaults.
namespace Settings
{
inline const QString sampleRate = QStringLiteral("file.sampleRate");
inline const QString sampleSize = QStringLiteral("file.sampleSize");
inline const QString copiesPackets = QStringLiteral("file.copyPackets");
inline const QString rulerUnits = QStringLiteral("view.ruler.units");
inline const QString defaultZoom = QStringLiteral("defaultZoom");
inline const QString appearance = QStringLiteral("view.appearance");
inline const QString levelScaleInDecibels = QStringLiteral("view.levelScale.decibels");
inline const QString showsSpectrogram = QStringLiteral("view.spectrogram.show");
inline const QString spectrogramIsLinear = QStringLiteral("view.spectrogram.linear");
inline const QString showsOverview = QStringLiteral("view.overview.show");
inline const QString showsLoudness = QStringLiteral("view.loudness.show");
inline const QString showsMarkers = QStringLiteral("view.markers.show");
inline const QString locksMarkers = QStringLiteral("view.markers.lock");
inline const QString showsGrid = QStringLiteral("view.grid.show");
inline const QString snapsToMarkers = QStringLiteral("view.markers.snapTo");
inline const QString snapsToGrid = QStringLiteral("view.grid.snapTo");
inline const QString snapsToZeroCrossings = QStringLiteral("view.snapToZeroCrossings");
inline const QString gridSpacingValue = QStringLiteral("view.grid.spacing.value");
inline const QString gridSpacingUnits = QStringLiteral("view.grid.spacing.units");
inline const QString gridOffsetValue = QStringLiteral("view.grid.offset.value");
inline const QString gridOffsetUnits = QStringLiteral("view.grid.offset.units");
inline const QString previewLoops = QStringLiteral("filter.preview.loop");
inline const QString windowSize = QStringLiteral("window.size");
inline const QString recentFiles = QStringLiteral("recentFiles");
inline const QString lastFolder = QStringLiteral("file.lastFolder");

/// Told through the NotificationCenter after a preference was changed.
inline const QString didChange = QStringLiteral("settingsDidChange");

void registerDefaults();
/// Stores a value and tells everybody.
void change(const QString& key, const QVariant& value);
SnapSettings snapSettings();
} // namespace Settings

} // namespace velloria
