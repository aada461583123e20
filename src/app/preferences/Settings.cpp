#include "app/preferences/Settings.h"

#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "app/look/Theme.h"
#include "controllers/AutoRecordController.h"
#include "controllers/CueFollower.h"
#include "controllers/InputLevelsController.h"
#include "display/TimeFormatter.h"
#include "platform/NotificationCenter.h"
#include "platform/UserDefaults.h"

namespace velloria
{

void Settings::registerDefaults()
{
    UserDefaults& defaults = UserDefaults::standard();
    const SnapSettings snap;
    VLRTAudioPlayer::registerDefaults();
    CueFollower::registerDefaults();
    InputLevelsController::registerDefaults();
    AutoRecordController::registerDefaults();
    defaults.registerDefault(sampleRate, 44100.0);
    defaults.registerDefault(sampleSize, 16);
    defaults.registerDefault(copiesPackets, true);
    defaults.registerDefault(rulerUnits, static_cast<int>(kRulerUnitsMinutesAndSeconds));
    defaults.registerDefault(defaultZoom, 0);
    defaults.registerDefault(appearance, static_cast<int>(Appearance::system));
    defaults.registerDefault(levelScaleInDecibels, true);
    defaults.registerDefault(showsOverview, true);
    defaults.registerDefault(showsSpectrogram, false);
    defaults.registerDefault(spectrogramIsLinear, false);
    defaults.registerDefault(showsLoudness, false);
    defaults.registerDefault(previewLoops, 0);
    defaults.registerDefault(showsMarkers, true);
    defaults.registerDefault(locksMarkers, false);
    defaults.registerDefault(showsGrid, false);
    defaults.registerDefault(snapsToMarkers, snap.snapsToMarkers);
    defaults.registerDefault(snapsToGrid, snap.snapsToGrid);
    defaults.registerDefault(snapsToZeroCrossings, static_cast<int>(snap.snapsToZeroCrossings));
    defaults.registerDefault(gridSpacingValue, 1.0);
    defaults.registerDefault(gridSpacingUnits, static_cast<int>(snap.gridSpacingUnits));
    defaults.registerDefault(gridOffsetValue, snap.gridOffsetValue);
    defaults.registerDefault(gridOffsetUnits, static_cast<int>(snap.gridOffsetUnits));
}

void Settings::change(const QString& key, const QVariant& value)
{
    UserDefaults::standard().setValue(key, value);
    NotificationCenter::standard().post(didChange);
}

SnapSettings Settings::snapSettings()
{
    const UserDefaults& defaults = UserDefaults::standard();
    SnapSettings settings;
    settings.snapsToMarkers = defaults.boolValue(snapsToMarkers);
    settings.snapsToGrid = defaults.boolValue(snapsToGrid);
    settings.snapsToZeroCrossings = defaults.integerValue(snapsToZeroCrossings) != 0;
    settings.gridSpacingValue = defaults.doubleValue(gridSpacingValue);
    settings.gridSpacingUnits = defaults.integerValue(gridSpacingUnits);
    settings.gridOffsetValue = defaults.doubleValue(gridOffsetValue);
    settings.gridOffsetUnits = defaults.integerValue(gridOffsetUnits);
    return settings;
}

} // namespace velloria
