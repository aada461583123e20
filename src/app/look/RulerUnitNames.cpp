#include "app/look/RulerUnitNames.h"

#include "display/TimeFormatter.h"

#include <QCoreApplication>

namespace velloria
{

const std::vector<int64_t>& RulerUnitNames::codes()
{
    static const std::vector<int64_t> codes = {kRulerUnitsMinutesAndSeconds, kRulerUnitsSeconds,
                                               kRulerUnitsSamples,           kRulerUnitsTimeAndFrames30,
                                               kRulerUnitsTimeAndFrames25,   kRulerUnitsTimeAndFrames24,
                                               kRulerUnitsFeetAndFrames,     kRulerUnitsFilmFrames};
    return codes;
}

QString RulerUnitNames::name(int64_t code)
{
    switch (code) {
    case kRulerUnitsSeconds:
        //% "Seconds"
        return qtTrId("units-seconds");
    case kRulerUnitsSamples:
        //% "Samples"
        return qtTrId("units-samples");
    case kRulerUnitsTimeAndFrames30:
        //% "Time and Frames, 30 fps"
        return qtTrId("units-frames-30");
    case kRulerUnitsTimeAndFrames25:
        //% "Time and Frames, 25 fps"
        return qtTrId("units-frames-25");
    case kRulerUnitsTimeAndFrames24:
        //% "Time and Frames, 24 fps"
        return qtTrId("units-frames-24");
    case kRulerUnitsFeetAndFrames:
        //% "Feet and Frames"
        return qtTrId("units-feet");
    case kRulerUnitsFilmFrames:
        //% "Film Frames, 24 fps"
        return qtTrId("units-film");
    default:
        //% "Minutes and Seconds"
        return qtTrId("units-minutes");
    }
}

QString RulerUnitNames::shortName(int64_t code)
{
    switch (code) {
    case kRulerUnitsSeconds:
        //% "s"
        return qtTrId("units-seconds-short");
    case kRulerUnitsSamples:
        //% "samples"
        return qtTrId("units-samples-short");
    case kRulerUnitsTimeAndFrames30:
        //% "30 fps"
        return qtTrId("units-frames-30-short");
    case kRulerUnitsTimeAndFrames25:
        //% "25 fps"
        return qtTrId("units-frames-25-short");
    case kRulerUnitsTimeAndFrames24:
        //% "24 fps"
        return qtTrId("units-frames-24-short");
    case kRulerUnitsFeetAndFrames:
        //% "feet"
        return qtTrId("units-feet-short");
    case kRulerUnitsFilmFrames:
        //% "film frames"
        return qtTrId("units-film-short");
    default:
        //% "min:s"
        return qtTrId("units-minutes-short");
    }
}

} // namespace velloria
