#include "app/look/TrackNames.h"

#include <QCoreApplication>

namespace velloria
{

QString TrackNames::name(int32_t track, int32_t numTracks)
{
    if (numTracks == 2 && track == 0)
        //% "Left Channel"
        return qtTrId("track-left");
    if (numTracks == 2)
        //% "Right Channel"
        return qtTrId("track-right");
    //% "Track %1"
    return qtTrId("track-number").arg(track + 1);
}

QString TrackNames::shortName(int32_t track, int32_t numTracks)
{
    if (numTracks < 2)
        return {};
    if (numTracks == 2 && track == 0)
        //% "L"
        return qtTrId("track-left-letter");
    if (numTracks == 2)
        //% "R"
        return qtTrId("track-right-letter");
    return QString::number(track + 1);
}

QString TrackNames::channels(int32_t numTracks)
{
    if (numTracks == 1)
        //% "Mono"
        return qtTrId("channels-mono");
    if (numTracks == 2)
        //% "Stereo"
        return qtTrId("channels-stereo");
    //% "%1 channels"
    return qtTrId("channels-many").arg(numTracks);
}

} // namespace velloria
