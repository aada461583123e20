#include "Classes/CoreAudio/AudioPreferences.h"
#include "Classes/CoreAudio/VLAudioObject.h"
#include "cli/subcommands/ArgumentValues.h"
#include "cli/subcommands/DocumentFiles.h"
#include "cli/subcommands/RecordSession.h"
#include "cli/subcommands/TargetArguments.h"
#include "cli/terminal/Terminal.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <algorithm>
#include <unistd.h>

namespace velloria
{

namespace
{

constexpr double kLowestRate = 100.0;
constexpr double kHighestRate = 1000000.0;
constexpr double kLongest = 1.0e9;
// Below the start level by as much as the automatic recording's presets.
constexpr double kStopBelowStart = 12.0;
// Keeps every sample as it came in, in every type that has this size.
constexpr int64_t kSampleSize = 32;

/// What the words say, checked as far as that is possible without a device.
struct Recording {
    SaveRequest request;
    SaveArguments::TargetType type;
    std::optional<double> seconds;
    std::optional<double> level;
    std::optional<double> rate;
    int numChannels = 0;

    bool read(const Arguments& arguments)
    {
        return ArgumentValues::readNumber(arguments, "--seconds", seconds) &&
               ArgumentValues::readNumber(arguments, "--level", level) &&
               ArgumentValues::readNumber(arguments, "--rate", rate) &&
               ArgumentValues::readInteger(arguments, "--channels", 1, 2, numChannels) &&
               isWithin("--seconds", seconds, 0.0, kLongest) && isWithin("--level", level, -200.0, 0.0) &&
               isWithin("--rate", rate, kLowestRate, kHighestRate) &&
               TargetArguments::read(arguments, arguments.words().front(), {}, request, type);
    }

private:
    static bool isWithin(const char* option, const std::optional<double>& number, double least, double most)
    {
        if (!number || (*number >= least && *number <= most && (*number > 0.0 || least != 0.0)))
            return true;
        Terminal::say(least == 0.0 ? QStringLiteral("%1 must be more than 0").arg(QString::fromLatin1(option))
                                   : QStringLiteral("%1 must be from %2 to %3")
                                         .arg(QString::fromLatin1(option))
                                         .arg(least, 0, 'f', 0)
                                         .arg(most, 0, 'f', 0));
        return false;
    }
};

/// Before an hour was recorded for nothing.
bool canWriteTo(const std::filesystem::path& path)
{
    std::error_code ignored;
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    if (std::filesystem::is_directory(path, ignored))
        Terminal::say(QStringLiteral("%1 is a folder.").arg(displayPath(path)));
    else if (::access(folder.c_str(), W_OK | X_OK) != 0)
        Terminal::sayError(
            Error::fromErrno(QStringLiteral("%1 cannot be written").arg(displayPath(path)), errno));
    else
        return true;
    return false;
}

/// The device of this run; the preferences of the editor stay as they are. Nothing, said, when there is none.
std::optional<VLAudioObject> chooseDevice(const Arguments& arguments)
{
    InputUnit::registerDefaults();
    if (const auto uid = arguments.value("--device"))
        UserDefaults::standard().overrideValue(AudioPreference::inputDevice(), ArgumentValues::text(*uid));
    const VLAudioObject device(InputUnit::selectedInputDevice());
    const auto uid = arguments.value("--device");
    const QString wanted = uid ? ArgumentValues::text(*uid) : QString();
    const MaybeError error = AudioHardware::current().unavailable();
    if (!error && device.audioObjectID() != 0 && device.hasInputStreams() && (!uid || device.UID() == wanted))
        return device;
    Terminal::say(error ? error->message
                  : uid ? QStringLiteral("There is no input device \"%1\".").arg(wanted)
                        : QStringLiteral("There is no device to record from."));
    return std::nullopt;
}

std::shared_ptr<SoundDocument> makeDocument(const Recording& recording, const VLAudioObject& device)
{
    auto document = std::make_shared<SoundDocument>();
    const auto deviceChannels = device.numberOfChannelsAvailableForScope(HardwareCode::kInput);
    document->setNumTracks(recording.numChannels > 0 ? recording.numChannels
                                                     : static_cast<int>(std::clamp(deviceChannels, 1U, 2U)));
    document->updateTrackPanning();
    document->undoableSetSampleRate(recording.rate.value_or(device.nominalSampleRate()));
    document->undoableSetSampleSize(kSampleSize);
    return document;
}

/// Who interrupts ends the recording; that must not end the saving of it, too.
class SavingProgress : public TerminalProgress
{
public:
    using TerminalProgress::TerminalProgress;
    bool isCancelled() const override { return false; }
};

/// Where it cannot be saved the take stays where it is.
bool save(SoundDocument& document, const SaveRequest& request)
{
    SavingProgress progress(displayName(request.path));
    const MaybeError error = document.writeToPath(DocumentFiles::tellingLosses(request, document), progress);
    if (!error) {
        Terminal::sayAll(document.saveWarnings(), request.path);
        return true;
    }
    QStringList kept;
    for (const std::shared_ptr<MutableAudioClip>& clip : document.recording().audioRecordingClips())
        if (const std::shared_ptr<TempFile>& file = clip->tempFile()) {
            file->leaveBehind();
            kept += displayPath(file->path());
        }
    const QString where =
        QStringLiteral("What was recorded is kept in %1").arg(kept.join(QStringLiteral(" and ")));
    Terminal::sayError({error->code, QStringLiteral("%1 %2").arg(error->message, where)}, request.path);
    return false;
}

ExitStatus record(const Arguments& arguments)
{
    Recording recording;
    if (!recording.read(arguments))
        return ExitStatus::wrongArguments;
    if (!canWriteTo(recording.request.path))
        return ExitStatus::failed;
    int argumentCount = 0;
    QCoreApplication application(argumentCount, nullptr);
    setPrintEnabled(false);
    const std::optional<VLAudioObject> device = chooseDevice(arguments);
    if (!device)
        return ExitStatus::failed;
    std::shared_ptr<SoundDocument> document = makeDocument(recording, *device);
    if (!TargetArguments::complete(recording.type, *document, recording.request))
        return ExitStatus::wrongArguments;
    RecordSession::Settings settings;
    if (recording.seconds)
        settings.numFrames = std::max<int64_t>(1, frameAtTime(*recording.seconds, document->sampleRate()));
    if (recording.level) {
        settings.trigger.emplace();
        settings.trigger->startLevel = *recording.level;
        settings.trigger->stopLevel = *recording.level - kStopBelowStart;
    }
    ExitStatus status = RecordSession(*document, settings).run();
    if (document->numberOfFrames() > 0 && !save(*document, recording.request))
        status = ExitStatus::failed;
    // While there still is an event loop for what it may have to say.
    document.reset();
    AudioHardware::setCurrent(nullptr);
    return status;
}

} // namespace

Subcommand recordSubcommand()
{
    Subcommand subcommand;
    subcommand.name = "record";
    subcommand.synopsis = QStringLiteral("OUT [--seconds S] [--device UID] [--level DB] [--rate R] "
                                         "[--channels N] [--type NAME] [--option TAG]");
    subcommand.summary = QStringLiteral("Records a sound.");
    subcommand.description = {
        QStringLiteral(
            "Records until S seconds are there, until Ctrl-C or a polite kill, or until q is pressed; then "
            "OUT "
            "is written. On a terminal it shows time and levels. Without --device it records from the device "
            "of the preferences, else from the default one; rate and channels are the device's. Samples are "
            "kept as they come, in 32 bits where the type has that; --option asks for less."),
        QStringLiteral("With --level only the loud passages are kept: one begins with a peak of that level "
                       "and ends when "
                       "it has been 12 dB below it for 10 seconds. S then counts what is kept."),
        QStringLiteral("When the disk is full, the device goes away or the sound server ends, OUT holds what "
                       "was recorded until then, and the status is 1.")};
    subcommand.options = {
        {"--seconds", QStringLiteral("S"), QStringLiteral("How much to record, to the frame.")},
        {"--device", QStringLiteral("UID"),
         QStringLiteral("Device to record from; see velloria-cli devices.")},
        {"--level", QStringLiteral("DB"), QStringLiteral("Begin with a peak of this level, as -24.")},
        {"--rate", QStringLiteral("R"), QStringLiteral("Sample rate of OUT in Hz.")},
        {"--channels", QStringLiteral("N"),
         QStringLiteral("1 for the left channel alone, 2 for left and right.")}};
    for (const OptionDescription& option : TargetArguments::options())
        subcommand.options.push_back(option);
    subcommand.minWords = 1;
    subcommand.maxWords = 1;
    subcommand.run = record;
    return subcommand;
}

} // namespace velloria
