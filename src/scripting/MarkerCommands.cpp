#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "scripting/CommandGroups.h"

#include <algorithm>

namespace velloria
{

namespace
{

using Type = CommandParameter::Type;

const QString kPosition = QStringLiteral("Position");
const QString kFrame = QStringLiteral("Frame");
const QString kName = QStringLiteral("Name");
const QString kIndex = QStringLiteral("Index");
const QString kSpacing = QStringLiteral("Spacing");
const QString kOffset = QStringLiteral("Offset");
constexpr double kLeastSpacing = 1e-6;

CommandParameter positionParameter(const QString& summary)
{
    return makeParameter(kPosition, Type::number, QStringLiteral("s"), 0, {}, {}, summary);
}

CommandParameter frameParameter()
{
    return makeParameter(kFrame, Type::integer, QStringLiteral("frames"), 0, {}, {},
                         QStringLiteral("The same as a frame number."));
}

CommandParameter nameParameter(const QString& summary)
{
    return makeParameter(kName, Type::string, {}, {}, {}, {}, summary);
}

CommandParameter indexParameter()
{
    return makeParameter(kIndex, Type::integer, {}, 0, {}, {},
                         QStringLiteral("Which marker, in the order of their positions, counted from 0."));
}

bool hasPosition(const QVariantMap& arguments)
{
    return arguments.contains(kPosition) || arguments.contains(kFrame);
}

QString checkPosition(const QVariantMap& arguments)
{
    return arguments.contains(kPosition) && arguments.contains(kFrame)
               ? QStringLiteral("Position= and Frame= exclude each other")
               : QString();
}

/// The frame that Position= or Frame= names, which must lie within the document or at its end.
std::optional<int64_t> frameArgument(const SoundDocument& document, const QVariantMap& arguments,
                                     MaybeError* error)
{
    const bool isFrame = arguments.contains(kFrame);
    const int64_t frame = isFrame ? arguments.value(kFrame).toLongLong()
                                  : frameAtTime(arguments.value(kPosition).toDouble(), document.sampleRate());
    if (frame >= 0 && frame <= document.numberOfFrames())
        return frame;
    const QString asked = isFrame ? QStringLiteral("Frame %1").arg(frame)
                                  : QStringLiteral("%1 s").arg(arguments.value(kPosition).toDouble());
    *error =
        Error{Error::Code::failed, QStringLiteral("%1 lies outside the document, which has %2 frames (%3 s).")
                                       .arg(asked)
                                       .arg(document.numberOfFrames())
                                       .arg(document.totalTime())};
    return std::nullopt;
}

/// The marker that Index=, else Position= or Frame=, else Name= tells.
AudioMarkerPtr markerArgument(const SoundDocument& document, const QVariantMap& arguments, MaybeError* error)
{
    const InstalledMarkers& markers = document.markers();
    AudioMarkerPtr found;
    if (arguments.contains(kIndex)) {
        const qlonglong index = arguments.value(kIndex).toLongLong();
        if (index >= 0 && index < markers.count())
            found = markers.orderedAt(index);
    } else if (hasPosition(arguments)) {
        const std::optional<int64_t> frame = frameArgument(document, arguments, error);
        if (!frame)
            return nullptr;
        found = markers.markerAtFrame(*frame);
    } else {
        const QString name = arguments.value(kName).toString();
        found =
            markers.firstOrdered([&name](const AudioMarkerPtr& marker) { return marker->name() == name; });
    }
    if (found)
        return found;
    *error = Error{Error::Code::failed,
                   QStringLiteral("There is no such marker: the document has %1.").arg(markers.count())};
    return nullptr;
}

CommandDescription insertMarkerCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("insert marker");
    command.summary =
        QStringLiteral("Adds a marker. Without a position: at the selection's start and, when the "
                       "selection is not empty and no name is given, one at its end.");
    command.parameters = {positionParameter(QStringLiteral("Where.")), frameParameter(),
                          nameParameter(QStringLiteral("Left out, “New Marker” and a number."))};
    command.check = checkPosition;
    command.run = [](SoundController& controller, const QVariantMap& arguments) -> MaybeError {
        SoundDocument& document = controller.document();
        if (!hasPosition(arguments) && !arguments.contains(kName)) {
            return controller.markers().insertMarker();
        }
        MaybeError error;
        const std::optional<int64_t> frame =
            hasPosition(arguments)
                ? frameArgument(document, arguments, &error)
                : frameAtTime(controller.selection().normalizedSelection().startTime, document.sampleRate());
        if (!frame)
            return error;
        const QString name =
            arguments.value(kName, QStringLiteral("New Marker %1").arg(document.markers().count() + 1))
                .toString();
        return controller.markers().addMarkers({std::make_shared<AudioMarker>(0, *frame, name)}, {});
    };
    return command;
}

CommandDescription renameMarkerCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("rename marker");
    command.summary = QStringLiteral("Gives a marker another name.");
    command.parameters = {indexParameter(), positionParameter(QStringLiteral("Where the marker is.")),
                          frameParameter(), nameParameter(QStringLiteral("The new name."))};
    command.check = [](const QVariantMap& arguments) {
        if (!arguments.contains(kName))
            return QStringLiteral("Name= is missing");
        if (arguments.contains(kIndex) == hasPosition(arguments))
            return QStringLiteral("either Index= or Position= must tell which marker");
        return checkPosition(arguments);
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        MaybeError error;
        if (const AudioMarkerPtr marker = markerArgument(controller.document(), arguments, &error))
            controller.document().setName(arguments.value(kName).toString(), marker);
        return error;
    };
    return command;
}

CommandDescription moveMarkerCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("move marker");
    command.summary = QStringLiteral("Moves a marker to another position.");
    command.parameters = {indexParameter(), nameParameter(QStringLiteral("The first marker of this name.")),
                          positionParameter(QStringLiteral("Where to.")), frameParameter()};
    command.check = [](const QVariantMap& arguments) {
        if (!hasPosition(arguments))
            return QStringLiteral("Position= or Frame= is missing");
        if (arguments.contains(kIndex) == arguments.contains(kName))
            return QStringLiteral("either Index= or Name= must tell which marker");
        return checkPosition(arguments);
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        MaybeError error;
        SoundDocument& document = controller.document();
        const std::optional<int64_t> frame = frameArgument(document, arguments, &error);
        if (!frame)
            return error;
        QVariantMap which = arguments;
        which.remove(kPosition);
        which.remove(kFrame);
        if (const AudioMarkerPtr marker = markerArgument(document, which, &error))
            document.setPosition(*frame, marker);
        return error;
    };
    return command;
}

CommandDescription deleteMarkerCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("delete marker");
    command.summary = QStringLiteral("Deletes one marker.");
    command.parameters = {indexParameter(), positionParameter(QStringLiteral("Where the marker is.")),
                          frameParameter(), nameParameter(QStringLiteral("The first marker of this name."))};
    command.check = [](const QVariantMap& arguments) {
        const int numGiven =
            int(arguments.contains(kIndex)) + int(hasPosition(arguments)) + int(arguments.contains(kName));
        if (numGiven != 1)
            return QStringLiteral("one of Index=, Position= and Name= must tell which marker");
        return checkPosition(arguments);
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        MaybeError error;
        if (const AudioMarkerPtr marker = markerArgument(controller.document(), arguments, &error))
            controller.document().removeAudioMarker(marker);
        return error;
    };
    return command;
}

CommandDescription insertMarkersInGapsCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("insert markers in gaps");
    command.summary =
        QStringLiteral("Adds a marker before each loud passage that 1.9 seconds of quiet precede.");
    command.run = [](SoundController& controller, const QVariantMap&) {
        return controller.markers().insertMarkersInGaps({});
    };
    return command;
}

CommandDescription insertMarkersAtGridlinesCommand()
{
    const QString seconds = QStringLiteral("s");
    CommandDescription command;
    command.name = QStringLiteral("insert markers at gridlines");
    command.summary = QStringLiteral("Adds a marker at each line of a grid, named by bar and beat (001-1).");
    command.parameters = {
        makeParameter(kSpacing, Type::number, seconds, kLeastSpacing, {}, {},
                      QStringLiteral("From line to line.")),
        makeParameter(kOffset, Type::number, seconds, {}, {}, 0, QStringLiteral("Where one line lies."))};
    command.check = [](const QVariantMap& arguments) {
        return arguments.contains(kSpacing) ? QString() : QStringLiteral("Spacing= is missing");
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        return controller.markers().insertMarkersAtGridlines(arguments.value(kOffset).toDouble(),
                                                             arguments.value(kSpacing).toDouble(), {});
    };
    return command;
}

} // namespace

void CommandGroups::appendMarkerCommands(std::vector<CommandDescription>& commands)
{
    commands.push_back(insertMarkerCommand());
    commands.push_back(renameMarkerCommand());
    commands.push_back(moveMarkerCommand());
    commands.push_back(deleteMarkerCommand());
    CommandDescription deleteAll;
    deleteAll.name = QStringLiteral("delete markers");
    deleteAll.summary = QStringLiteral("Deletes all markers.");
    deleteAll.run = [](SoundController& controller, const QVariantMap&) {
        controller.markers().deleteAllMarkers({});
        return MaybeError();
    };
    commands.push_back(deleteAll);
    commands.push_back(insertMarkersInGapsCommand());
    commands.push_back(insertMarkersAtGridlinesCommand());
}

} // namespace velloria
