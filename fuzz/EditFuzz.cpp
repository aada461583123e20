#include "DecodedFileFuzz.h"
#include "document/SoundDocument.h"
#include "document/UndoGroup.h"
#include "document/clips/MutableAudioClip.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <span>
#include <unistd.h>

using namespace velloria;
using velloria::fuzz::require;

namespace
{

// Sounds longer than this tell nothing new.
constexpr int64_t mostFrames = 100000;
constexpr int32_t mostTracks = 8;
constexpr size_t numEditBytes = 32;

/// A folder of this process, removed at its end.
class WorkFolder
{
public:
    WorkFolder()
        : mPath(std::filesystem::temp_directory_path() / ("velloria-edit-fuzz-" + std::to_string(::getpid())))
    {
        std::filesystem::create_directories(mPath);
    }
    ~WorkFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    std::filesystem::path file(const char* name) const { return mPath / name; }

private:
    std::filesystem::path mPath;
};

std::shared_ptr<SoundDocument> open(const std::filesystem::path& path)
{
    SilentProgress progress;
    MaybeError error;
    auto document = SoundDocument::readFromPath(path, QString(), progress, &error);
    require(document || error);
    return document;
}

std::vector<FloatBuffer> samplesOf(const SoundDocument& document)
{
    std::vector<FloatBuffer> tracks;
    tracks.reserve(static_cast<size_t>(document.trackCount()));
    for (int32_t track = 0; track < document.trackCount(); ++track)
        tracks.push_back(document.sampleDataAtOffset(0, document.numberOfFrames(), track));
    return tracks;
}

/// One edit of a few bytes: cut out, move to another place, crop, or add a marker.
void edit(SoundDocument& document, const uint8_t* bytes)
{
    const int64_t numFrames = document.numberOfFrames();
    const int64_t start = numFrames * bytes[1] / 256;
    const int64_t length = std::min((numFrames - start) * bytes[2] / 255, numFrames - start);
    const UndoGroup group(document, QStringLiteral("Edit"));
    if (bytes[0] % 4 == 0) {
        document.addMarker(std::make_shared<AudioMarker>(1, start, QStringLiteral("m")));
        return;
    }
    for (int32_t track = 0; track < document.trackCount(); ++track) {
        const ClipList clips = document.clipsAtOffset(start, length, track);
        if (bytes[0] % 4 == 1)
            document.replaceDataAtOffset(start, length, track, ClipList());
        else if (bytes[0] % 4 == 2)
            document.replaceDataAtOffset(0, 0, track, clips);
        else
            document.replaceDataAtOffset(numFrames * bytes[3] / 256, 0, track, clips);
    }
}

/// What is saved opens again with the samples of the document, to the rounding of its format.
void checkThatASaveKeepsTheSound(SoundDocument& document, const WorkFolder& folder)
{
    const std::vector<FloatBuffer> before = samplesOf(document);
    SaveRequest request;
    request.path = folder.file("out.wav");
    request.uti = QStringLiteral("com.microsoft.waveform-audio");
    request.operation = SaveOperation::saveTo;
    SilentProgress progress;
    if (document.writeToPath(request, progress))
        return;
    const auto saved = open(request.path);
    require(saved && saved->numberOfFrames() == document.numberOfFrames());
    require(saved->audioMarkers()->size() == document.audioMarkers()->size());
    const std::vector<FloatBuffer> after = samplesOf(*saved);
    require(after.size() == before.size());
    const double step = std::ldexp(1.0, 1 - static_cast<int>(saved->sampleSize()));
    for (size_t track = 0; track < before.size(); ++track) {
        for (size_t i = 0; i < before[track].size(); ++i) {
            const double wanted = std::clamp(static_cast<double>(before[track][i]), -1.0, 1.0);
            require(std::isnan(wanted) || std::abs(after[track][i] - wanted) <= 2 * step);
        }
    }
}

} // namespace

/// The first bytes are edits, the rest is a file: it is opened, edited, saved and opened again; then all is
/// undone, and the document is what it was.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static int argumentCount = 1;
    static char name[] = "fuzz_edit";
    static char* arguments[] = {name, nullptr};
    static const QCoreApplication application(argumentCount, arguments);
    static const WorkFolder folder;
    if (size < numEditBytes)
        return 0;
    std::ofstream(folder.file("in.wav"), std::ios::binary)
        .write(reinterpret_cast<const char*>(data + numEditBytes),
               static_cast<std::streamsize>(size - numEditBytes));
    const auto document = open(folder.file("in.wav"));
    if (!document || document->numberOfFrames() > mostFrames || document->trackCount() > mostTracks)
        return 0;
    const std::vector<FloatBuffer> original = samplesOf(*document);
    for (size_t i = 0; i + 4 <= numEditBytes; i += 4) {
        if (document->numberOfFrames() <= mostFrames)
            edit(*document, data + i);
    }
    checkThatASaveKeepsTheSound(*document, folder);
    while (document->undoManager().canUndo())
        document->undoManager().undo();
    const std::vector<FloatBuffer> undone = samplesOf(*document);
    require(undone.size() == original.size());
    for (size_t track = 0; track < original.size(); ++track) {
        // As bytes: not a number is to stay the same not a number.
        const auto before = std::as_bytes(std::span(original[track]));
        const auto after = std::as_bytes(std::span(undone[track]));
        require(std::equal(after.begin(), after.end(), before.begin(), before.end()));
    }
    return 0;
}
