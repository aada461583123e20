#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLAudioObject.h"
#include "cli/subcommands/ArgumentValues.h"
#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/PlaySession.h"
#include "cli/terminal/Terminal.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

namespace velloria
{

namespace
{

constexpr double kSlowest = 0.5;
constexpr double kFastest = 2.0;

/// For this run only; the preferences of the editor stay as they are. False when there is no such device.
bool chooseDevice(const QByteArray& uid)
{
    const QString text = ArgumentValues::text(uid);
    const std::optional<VLAudioObject> device = VLAudioObject::deviceForUID(text);
    if (!device || !device->hasOutputStreams()) {
        const MaybeError error = AudioHardware::current().unavailable();
        Terminal::say(error ? error->message : QStringLiteral("There is no output device \"%1\".").arg(text));
        return false;
    }
    UserDefaults::standard().overrideValue(AudioPreference::outputDevice(), text);
    return true;
}

ExitStatus play(const Arguments& arguments)
{
    ArgumentValues::TimeRange range;
    std::optional<double> level;
    std::optional<double> speed;
    if (!ArgumentValues::readTimeRange(arguments, range) ||
        !ArgumentValues::readNumber(arguments, "--level", level) ||
        !ArgumentValues::readNumber(arguments, "--speed", speed))
        return ExitStatus::wrongArguments;
    if (speed && (*speed < kSlowest || *speed > kFastest)) {
        Terminal::say(QStringLiteral("--speed must be from %1 to %2").arg(kSlowest).arg(kFastest));
        return ExitStatus::wrongArguments;
    }
    const std::shared_ptr<SoundDocument> document =
        DocumentFiles::open(ArgumentValues::path(arguments.words().front()));
    if (!document)
        return ExitStatus::failed;
    const std::optional<SoundSelection> selection = DocumentFiles::selection(*document, range);
    if (!selection)
        return ExitStatus::failed;
    if (const auto uid = arguments.value("--device"); uid && !chooseDevice(*uid))
        return ExitStatus::failed;

    int argumentCount = 0;
    QCoreApplication application(argumentCount, nullptr);
    setPrintEnabled(false);
    VLRTAudioPlayer::registerDefaults();
    if (level)
        UserDefaults::standard().overrideValue(AudioPreference::playbackVolume(), *level);
    document->transport().setPlaybackSpeed(speed.value_or(1.0));
    document->transport().setAudioPlaybackLoops(arguments.has("--loop"));
    const ExitStatus status = PlaySession(document, *selection).run();
    // While there still is an event loop for what it may have to say.
    AudioHardware::setCurrent(nullptr);
    return status;
}

} // namespace

Subcommand playSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "play";
    subcommand.synopsis =
        QStringLiteral("FILE [--device UID] [--level DB] [--speed X] [--start S] [--end S] [--loop]");
    subcommand.summary = QStringLiteral("Plays a sound.");
    subcommand.description = {QStringLiteral(
        "On a terminal it shows time and levels; there space pauses and goes on, the left and right arrows "
        "go "
        "back and forward by five seconds, and q ends it. It ends by itself with the sound. Without --device "
        "the sound goes to the device of the preferences, else to the default one.")};
    subcommand.options = ArgumentValues::timeRangeOptions();
    subcommand.options.insert(
        subcommand.options.begin(),
        {{"--device", QStringLiteral("UID"), QStringLiteral("Device to play on; see velloria-cli devices.")},
         {"--level", QStringLiteral("DB"), QStringLiteral("Output level; 0 leaves the sound as it is.")},
         {"--speed", QStringLiteral("X"),
          QStringLiteral("From 0.5 to 2, at the same pitch; 1 is the normal speed.")}});
    subcommand.options.push_back({"--loop", {}, QStringLiteral("Again and again.")});
    subcommand.minWords = 1;
    subcommand.maxWords = 1;
    subcommand.run = play;
    return subcommand;
}

} // namespace velloria
