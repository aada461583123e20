#include "document/clips/AudioClip.h"
#include "document/clips/AudioTrack.h"
#include "formats/decoding/VLAudioFileDecompressor.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"
#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/mpeg4/Mpeg4Movie.h"
#include "formats/mpeg4/Mpeg4Splice.h"
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
    Mpeg4Tags::read(*out, metadata);
    require(metadata.artwork().size() == file.metadata().artwork().size());
}

/// A second of silence.
class Silence : public FrameSource
{
public:
    int64_t numberOfFrames() const override { return 44100; }
    double sampleRate() const override { return 44100.0; }
    TrackList audioTracks() const override
    {
        const auto clip = std::make_shared<AudioClip>(numberOfFrames());
        return std::make_shared<const std::vector<AudioTrackPtr>>(
            1, std::make_shared<AudioTrack>(ClipList(clip)));
    }
};

const FileHandle& newSound()
{
    static const std::shared_ptr<FileHandle> handle = [] {
        Mpeg4AppleLosslessFile writer(44100.0, 16, 1);
        std::shared_ptr<FileHandle> file = memoryFile({});
        writer.setFileHandle(file);
        writer.validateAndCorrectParameters();
        SilentProgress progress;
        MaybeError error;
        require(writer.saveDocument(Silence(), nullptr, progress, &error));
        return file;
    }();
    return *handle;
}

/// New sound in the file leaves the samples of all other tracks as they are; where the sound stays, those of
/// all.
void checkThatTracksAreCarried(const std::shared_ptr<FileHandle>& handle, const FileHandle* sound)
{
    const auto decoder = VLAudioFileDecompressor::forReadingFile(handle, QString(), nullptr);
    if (!decoder)
        return;
    const Mpeg4Layout layout(*handle);
    Mpeg4Splice::Options options;
    options.opened = {decoder->trackID(), decoder->sampleRate(), decoder->numberOfPrimingFrames(),
                      decoder->numberOfFramesInPackets()};
    if (sound ? !Mpeg4Splice::obstacle(layout, options.opened).isEmpty()
              : !Mpeg4Splice::canKeepSound(layout, options.opened))
        return;
    options.table = {44100, 0, 0};
    options.sampleRate = 44100;
    const std::shared_ptr<FileHandle> out = memoryFile({});
    SilentProgress progress;
    require(!Mpeg4Splice(*handle, layout, sound, options).write(*out, progress));
    const Mpeg4Layout carried(*out);
    require(carried.tracks.size() == layout.tracks.size());
    for (size_t i = 0; i < layout.tracks.size(); ++i) {
        const Mpeg4Track& old = layout.tracks[i];
        if ((sound && old.id == options.opened.trackID) || old.isExternal)
            continue;
        require(carried.tracks[i].runs.size() == old.runs.size());
        for (size_t k = 0; k < old.runs.size(); ++k) {
            const ByteRange before = old.runs[k].bytes;
            const ByteRange after = carried.tracks[i].runs[k].bytes;
            require(handle->readAt(before.offset, before.length) == out->readAt(after.offset, after.length) ||
                    before.length == 0);
        }
    }
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
    require(file->closeLedger().empty());
    checkThatExtrasComeBack(*file);
    checkThatTracksAreCarried(handle, &newSound());
    checkThatTracksAreCarried(handle, nullptr);
    return 0;
}
