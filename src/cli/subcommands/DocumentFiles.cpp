#include "cli/subcommands/DocumentFiles.h"

#include "cli/terminal/Terminal.h"
#include "document/clips/SourceWatch.h"

#include <algorithm>

namespace velloria::DocumentFiles
{

std::shared_ptr<SoundDocument> open(const std::filesystem::path& path)
{
    MaybeError error;
    TerminalProgress progress(displayName(path));
    std::shared_ptr<SoundDocument> document = SoundDocument::readFromPath(path, QString(), progress, &error);
    // A file that changes while it is opened looks damaged; what is the matter with it is said instead.
    if (document && (error = SourceWatch(*document->audioTracks()).error()))
        document = nullptr;
    if (!document)
        Terminal::sayError(error.value_or(Error{Error::Code::failed, QStringLiteral("It cannot be opened.")}),
                           path);
    else
        Terminal::sayAll(document->openWarnings(), path);
    return document;
}

SaveRequest tellingLosses(const SaveRequest& request, const SoundDocument& document)
{
    SaveRequest telling = request;
    telling.willReplace = [losses = document.lossesWhenSaving(request), path = request.path] {
        Terminal::sayAll(losses, path);
    };
    return telling;
}

bool save(SoundDocument& document, const SaveRequest& request)
{
    MaybeError error = document.refusalToSave(request);
    if (!error) {
        TerminalProgress progress(displayName(request.path));
        error = document.writeToPath(tellingLosses(request, document), progress);
    }
    if (error)
        Terminal::sayError(*error, request.path);
    else
        Terminal::sayAll(document.saveWarnings(), request.path);
    return !error;
}

std::optional<SoundSelection> selection(const SoundDocument& document, const ArgumentValues::TimeRange& range)
{
    const double total = document.totalTime();
    SoundSelection selection;
    selection.startTime = std::clamp(range.start.value_or(0.0), 0.0, total);
    selection.endTime = std::clamp(range.end.value_or(total), 0.0, total);
    selection.numTracks = document.trackCount();
    const bool isWanted = range.start || range.end;
    if (!isWanted || frameAtTime(selection.startTime, document.sampleRate()) <
                         frameAtTime(selection.endTime, document.sampleRate()))
        return selection;
    Terminal::say(QStringLiteral("%1: there is no sound in that range; the file is %2 s long")
                      .arg(displayPath(document.filePath()), QString::number(total)));
    return std::nullopt;
}

} // namespace velloria::DocumentFiles
