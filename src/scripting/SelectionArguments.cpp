#include "scripting/SelectionArguments.h"

#include "scripting/CommandGroups.h"

#include <algorithm>

namespace velloria::SelectionArguments
{

namespace
{

const QString kStart = QStringLiteral("Start");
const QString kEnd = QStringLiteral("End");
const QString kStartFrame = QStringLiteral("StartFrame");
const QString kEndFrame = QStringLiteral("EndFrame");
const QString kFirstTrack = QStringLiteral("FirstTrack");
const QString kNumTracks = QStringLiteral("NumTracks");

double timeArgument(const SoundDocument& document, const QVariantMap& arguments, const QString& secondsKey,
                    const QString& frameKey, double otherwise)
{
    const double total = document.numberOfFrames() > 0 ? document.totalTime() : 0.0;
    if (arguments.contains(frameKey)) {
        const qlonglong frame =
            std::clamp<qlonglong>(arguments.value(frameKey).toLongLong(), 0, document.numberOfFrames());
        return static_cast<double>(frame) / document.sampleRate();
    }
    return std::clamp(arguments.value(secondsKey, otherwise).toDouble(), 0.0, total);
}

Error noSuchTracks(const SoundDocument& document, qlonglong first, qlonglong count)
{
    const QString asked =
        count == 1 ? QStringLiteral("There is no track %1").arg(first)
                   : QStringLiteral("There are no %1 tracks from track %2 on").arg(count).arg(first);
    return {
        Error::Code::failed,
        QStringLiteral("%1: the document has %2 (counted from 0).").arg(asked).arg(document.trackCount())};
}

} // namespace

std::vector<CommandParameter> parameters()
{
    using Type = CommandParameter::Type;
    const QString seconds = QStringLiteral("s");
    const QString frames = QStringLiteral("frames");
    // Times have no limits: they are clamped to the document.
    return {
        makeParameter(kStart, Type::number, seconds, {}, {}, 0,
                      QStringLiteral("Start of the range, which is kept within the document.")),
        makeParameter(kEnd, Type::number, seconds, {}, {}, {},
                      QStringLiteral("End of the range; left out, the end of the document.")),
        makeParameter(kStartFrame, Type::integer, frames, {}, {}, {},
                      QStringLiteral("First frame of the range, instead of Start.")),
        makeParameter(kEndFrame, Type::integer, frames, {}, {}, {},
                      QStringLiteral("Frame after the last of the range, instead of End.")),
        makeParameter(kFirstTrack, Type::integer, {}, 0, {}, 0,
                      QStringLiteral("First track (channel), counted from 0.")),
        makeParameter(kNumTracks, Type::integer, {}, 1, {}, {},
                      QStringLiteral("Number of tracks; left out, all from the first on.")),
    };
}

QString check(const QVariantMap& arguments)
{
    if (arguments.contains(kStart) && arguments.contains(kStartFrame))
        return QStringLiteral("Start= and StartFrame= exclude each other");
    if (arguments.contains(kEnd) && arguments.contains(kEndFrame))
        return QStringLiteral("End= and EndFrame= exclude each other");
    return {};
}

std::optional<SoundSelection> selection(const SoundDocument& document, const QVariantMap& arguments,
                                        MaybeError* error)
{
    const double start = timeArgument(document, arguments, kStart, kStartFrame, 0.0);
    const double end = timeArgument(document, arguments, kEnd, kEndFrame, document.totalTime());
    const qlonglong numTracks = document.trackCount();
    const qlonglong first = arguments.value(kFirstTrack, 0).toLongLong();
    const qlonglong count =
        arguments.value(kNumTracks, std::max<qlonglong>(1, numTracks - first)).toLongLong();
    if (first < 0 || first >= numTracks || count < 1 || count > numTracks - first) {
        if (error)
            *error = noSuchTracks(document, first, count);
        return std::nullopt;
    }
    return SoundSelection{std::min(start, end), std::max(start, end), static_cast<int32_t>(first),
                          static_cast<int32_t>(count)};
}

} // namespace velloria::SelectionArguments
