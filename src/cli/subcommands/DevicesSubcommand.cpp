#include "Classes/CoreAudio/VLAudioObject.h"
#include "cli/subcommands/Subcommand.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace velloria
{

namespace
{

QByteArray jsonOf(const HardwareDevice& device, const HardwareState& state)
{
    const QJsonObject object = {
        {QStringLiteral("uid"), device.uid},
        {QStringLiteral("name"), device.name},
        {QStringLiteral("sampleRate"), device.sampleRate},
        {QStringLiteral("inputChannels"), static_cast<qint64>(device.input.numChannels())},
        {QStringLiteral("outputChannels"), static_cast<qint64>(device.output.numChannels())},
        {QStringLiteral("isDefaultInput"), device.id == state.defaultInput},
        {QStringLiteral("isDefaultOutput"), device.id == state.defaultOutput},
        {QStringLiteral("isMonitor"), device.isMonitor}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

/// "2 in", "6 out", "2 in, 2 out"
QString channelsText(const HardwareDevice& device)
{
    QStringList parts;
    if (device.input.numChannels() > 0)
        parts += QStringLiteral("%1 in").arg(device.input.numChannels());
    if (device.output.numChannels() > 0)
        parts += QStringLiteral("%1 out").arg(device.output.numChannels());
    return parts.join(QStringLiteral(", "));
}

QByteArray textOf(const HardwareDevice& device, const HardwareState& state)
{
    QStringList notes;
    if (device.id == state.defaultInput)
        notes += QStringLiteral("default input");
    if (device.id == state.defaultOutput)
        notes += QStringLiteral("default output");
    const QString text =
        QStringLiteral("%1\n    %2, %3 Hz%4\n    %5\n")
            .arg(Terminal::withoutControls(device.name), channelsText(device))
            .arg(device.sampleRate)
            .arg(notes.isEmpty() ? QString() : QStringLiteral(", ") + notes.join(QStringLiteral(", ")),
                 Terminal::withoutControls(device.uid));
    return text.toUtf8();
}

ExitStatus listDevices(const Arguments& arguments)
{
    AudioHardware& hardware = AudioHardware::current();
    const HardwareState state = hardware.state();
    if (const MaybeError error = hardware.unavailable()) {
        Terminal::sayError(*error);
        return ExitStatus::failed;
    }
    const bool isJson = arguments.has("--json");
    QByteArray text;
    for (const HardwareDevice& device : state.devices)
        text += isJson ? jsonOf(device, state) : textOf(device, state);
    if (const MaybeError error = OutputSink::forStandardOutput()->write(text)) {
        Terminal::sayError(*error);
        return ExitStatus::failed;
    }
    return ExitStatus::done;
}

} // namespace

Subcommand devicesSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "devices";
    subcommand.synopsis = QStringLiteral("[--json]");
    subcommand.summary = QStringLiteral("Lists the audio devices.");
    subcommand.description = {
        QStringLiteral(
            "Prints name, channels, sample rate and UID of each device that the sound server has. The "
            "UID stays the same from one start to the next. A monitor is an input that hears what "
            "an output plays. Without a sound server it ends with status 1."),
        QStringLiteral(
            "With --json each device is one object on one line, with the keys uid, name, sampleRate, "
            "inputChannels, outputChannels, isDefaultInput, isDefaultOutput and isMonitor.")};
    subcommand.options = {{"--json", {}, QStringLiteral("One JSON object a line.")}};
    subcommand.run = listDevices;
    return subcommand;
}

} // namespace velloria
