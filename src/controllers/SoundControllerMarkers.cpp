#include "controllers/SoundController.h"

#include "document/UndoGroup.h"

namespace velloria
{

void SoundController::insertMarker()
{
    const SoundSelection selection = normalizedSelection();
    const double rate = mDocument->sampleRate();
    const auto add = [&](double time, const QString& name) {
        mDocument->addMarker(std::make_shared<AudioMarker>(0, frameAtTime(time, rate), name));
    };
    const UndoGroup group(*mDocument, QStringLiteral("Add Marker"));
    if (selection.startTime == selection.endTime) {
        const size_t number = mDocument->audioMarkers()->size() + 1;
        add(selection.startTime, QStringLiteral("New Marker %1").arg(number));
        return;
    }
    add(selection.startTime, QStringLiteral("Start Marker"));
    add(selection.endTime, QStringLiteral("End Marker"));
}

void SoundController::deleteAllMarkers(const QString& actionName)
{
    if (mDocument->audioMarkers()->empty())
        return;
    const UndoGroup group(*mDocument, actionName);
    mDocument->undoableSetAudioMarkers(nullptr);
}

} // namespace velloria
