#include "controllers/ConversionCommands.h"
#include "controllers/EditCommands.h"
#include "controllers/MixPasteController.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "scripting/CommandGroups.h"

namespace velloria
{

namespace
{

using Type = CommandParameter::Type;

const QString kDuration = QStringLiteral("Duration");
const QString kExisting = QStringLiteral("Existing");
const QString kPasteboard = QStringLiteral("Pasteboard");
const QString kInto = QStringLiteral("Into");
const QString kChannels = QStringLiteral("Channels");
const QString kRate = QStringLiteral("Rate");
const QString kBits = QStringLiteral("Bits");
constexpr int kLowestRate = 100;
constexpr int kHighestRate = 1000000;
constexpr double kLeastSeconds = 1e-6;

std::optional<double> number(const QVariantMap& arguments, const QString& key)
{
    return arguments.contains(key) ? std::optional(arguments.value(key).toDouble()) : std::nullopt;
}

CommandParameter durationParameter(double least, const QString& summary)
{
    return makeParameter(kDuration, Type::number, QStringLiteral("s"), least, {}, {}, summary);
}

CommandParameter rateParameter(const QString& summary)
{
    return makeParameter(kRate, Type::number, QStringLiteral("Hz"), kLowestRate, kHighestRate, {}, summary);
}

CommandDescription insertSilenceCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("insert silence");
    command.summary =
        QStringLiteral("Inserts silence at the selection's start, on its tracks, and selects it.");
    command.parameters = {durationParameter(0.0, QStringLiteral("Left out, as long as the selection."))};
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        const double duration =
            number(arguments, kDuration).value_or(controller.selection().normalizedSelection().duration());
        return controller.editing().insertSilence(duration, {});
    };
    return command;
}

CommandDescription mixPasteCommand()
{
    const QString decibels = QStringLiteral("dB");
    CommandDescription command;
    command.name = QStringLiteral("mix paste");
    command.summary = QStringLiteral("Mixes what was copied into the document at the selection's start and "
                                     "selects the result.");
    command.parameters = {
        makeParameter(kExisting, Type::number, decibels, {}, {}, 0,
                      QStringLiteral("Level of the sound that is there.")),
        makeParameter(kPasteboard, Type::number, decibels, {}, {}, 0,
                      QStringLiteral("Level of the sound that was copied.")),
        makeParameter(kInto, Type::boolean, {}, 0, 1, 0,
                      QStringLiteral("1 keeps within the selection, 0 takes all that was copied.")),
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        if (!AudioClipboard::clipboard().hasContent()) {
            controller.host().alerts().showWarning(QStringLiteral("mix paste: nothing was copied yet."));
            return MaybeError();
        }
        MixPasteController mix(controller);
        mix.setExisting(number(arguments, kExisting).value_or(0.0));
        mix.setPasteboard(number(arguments, kPasteboard).value_or(0.0));
        mix.setPasteInto(arguments.value(kInto).toInt() != 0);
        return mix.performMixPaste({});
    };
    return command;
}

CommandDescription mixdownCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("mixdown");
    command.summary = QStringLiteral("Mixes all tracks down to one (mono) or two (stereo).");
    command.parameters = {
        makeParameter(kChannels, Type::integer, {}, 1, 2, {}, QStringLiteral("Tracks to mix down to."))};
    command.check = [](const QVariantMap& arguments) {
        return arguments.contains(kChannels) ? QString() : QStringLiteral("Channels= is missing");
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        return controller.conversions().mixdown(arguments.value(kChannels).toInt(), {});
    };
    return command;
}

CommandDescription resampleCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("resample");
    command.summary = QStringLiteral("Converts the sound to another sample rate, or to another duration, "
                                     "which changes its pitch.");
    command.parameters = {rateParameter(QStringLiteral("Left out, the document's.")),
                          durationParameter(kLeastSeconds, QStringLiteral("Left out, as long as before."))};
    command.check = [](const QVariantMap& arguments) {
        return arguments.isEmpty() ? QStringLiteral("Rate= or Duration= is missing") : QString();
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        return controller.conversions().resample(
            number(arguments, kRate).value_or(controller.document().sampleRate()),
            number(arguments, kDuration), {});
    };
    return command;
}

CommandDescription setFormatCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("set format");
    command.summary = QStringLiteral("Sets what a save writes. Another rate plays the same samples faster or "
                                     "slower; see resample to convert them.");
    command.parameters = {
        rateParameter(QStringLiteral("Left out, the rate stays.")),
        makeParameter(kBits, Type::integer, QStringLiteral("bits"), 8, 32, {},
                      QStringLiteral("Size of a sample: 8, 16, 24 or 32; left out, it stays."))};
    command.check = [](const QVariantMap& arguments) {
        if (arguments.isEmpty())
            return QStringLiteral("Rate= or Bits= is missing");
        const qlonglong bits = arguments.value(kBits, 8).toLongLong();
        if (bits < 8 || bits > 32 || bits % 8 != 0)
            return QStringLiteral("Bits= must be 8, 16, 24 or 32");
        return QString();
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        const SoundDocument& document = controller.document();
        return controller.conversions().setProperties(
            number(arguments, kRate).value_or(document.sampleRate()),
            arguments.value(kBits, qlonglong{document.sampleSize()}).toLongLong(), {});
    };
    return command;
}

CommandDescription trackCommand(const char* name, const char* summary,
                                void (ConversionCommands::*change)(const QString&))
{
    CommandDescription command;
    command.name = QString::fromLatin1(name);
    command.summary = QString::fromLatin1(summary);
    command.run = [change](SoundController& controller, const QVariantMap&) {
        (controller.conversions().*change)({});
        return MaybeError();
    };
    return command;
}

} // namespace

void CommandGroups::appendConversionCommands(std::vector<CommandDescription>& commands)
{
    commands.push_back(insertSilenceCommand());
    commands.push_back(mixPasteCommand());
    commands.push_back(mixdownCommand());
    commands.push_back(resampleCommand());
    commands.push_back(setFormatCommand());
    commands.push_back(
        trackCommand("add track", "Adds a silent track behind the others.", &ConversionCommands::addTrack));
    commands.push_back(trackCommand("remove tracks",
                                    "Removes the selected tracks; one stays when all are selected.",
                                    &ConversionCommands::removeSelectedTracks));
}

} // namespace velloria
