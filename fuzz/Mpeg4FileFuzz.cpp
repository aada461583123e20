#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4File.h"
#include "formats/mpeg4/Mpeg4Movie.h"
#include "formats/mpeg4/Mpeg4Tags.h"
#include "platform/Log.h"

#include <cstdlib>
#include <sys/mman.h>

using namespace velloria;

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

std::shared_ptr<FileHandle> memoryFile(std::span<const std::byte> bytes)
{
    auto handle = FileHandle::adopt(::memfd_create("mpeg4", MFD_CLOEXEC), "in.m4a");
    require(!handle->writeAt(0, bytes));
    return handle;
}

std::vector<std::pair<int64_t, QString>> chaptersOf(const FileHandle& file)
{
    std::vector<std::pair<int64_t, QString>> chapters;
    if (const MarkerList markers = Mpeg4Chapters::read(file, 44100.0)) {
        for (const AudioMarkerPtr& marker : *markers)
            chapters.emplace_back(marker->position(), marker->name());
    }
    return chapters;
}

/// What is put into a file that another one's chapters and tags were read from comes out again.
void checkThatExtrasComeBack(const AudioFile& file)
{
    const QByteArray track =
        mpeg4Box(fourCharCode("trak"), mpeg4Box(fourCharCode("tkhd"), QByteArray(84, '\1')));
    const QByteArray movie =
        mpeg4Box(fourCharCode("moov"), mpeg4Box(fourCharCode("mvhd"), QByteArray(100, '\1')) + track);
    const std::shared_ptr<FileHandle> out =
        memoryFile(std::as_bytes(std::span(movie.data(), static_cast<size_t>(movie.size()))));
    Mpeg4Extras extras;
    extras.markers = file.markers();
    extras.sampleRate = 44100;
    extras.numFrames = 44100;
    extras.meta = Mpeg4Tags::box(file.metadata(), {});
    require(!putIntoMpeg4File(*out, extras));
    const size_t numMarkers = file.markers() ? file.markers()->size() : 0;
    require(chaptersOf(*out).size() == numMarkers);
    AudioMetadata metadata;
    require(Mpeg4Tags::read(*out, metadata).isEmpty());
    require(metadata.artwork().size() == file.metadata().artwork().size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const LogCapture quiet;
    const std::shared_ptr<FileHandle> handle = memoryFile(std::as_bytes(std::span(data, size)));
    // These also meet what the file's sound would keep from being opened.
    chaptersOf(*handle);
    AudioMetadata metadata;
    Mpeg4Tags::read(*handle, metadata);
    MaybeError error;
    const std::shared_ptr<AudioFile> file = Mpeg4File::open(handle, &error);
    require(!file || !error);
    if (!file)
        return 0;
    require(file->numberOfChannels() > 0 && file->sampleRate() > 0.0 && file->numberOfFrames() >= 0);
    checkThatExtrasComeBack(*file);
    return 0;
}
