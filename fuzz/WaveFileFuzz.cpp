#include "document/clips/AudioClip.h"
#include "document/clips/FrameSource.h"
#include "formats/AudioFileRegistry.h"
#include "formats/wave/WaveFile.h"

#include <cstdlib>
#include <sys/mman.h>

using namespace velloria;

namespace
{

// Documents of more tracks than this are not made: opening them is what could go wrong.
constexpr uint32_t mostTracks = 32;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

std::shared_ptr<FileHandle> memoryFile()
{
    return FileHandle::adopt(::memfd_create("wave", MFD_CLOEXEC), "in.wav");
}

class OpenedDocument : public FrameSource
{
public:
    explicit OpenedDocument(const std::shared_ptr<const AudioFile>& file)
        : mFile(file)
    {
        std::vector<AudioTrackPtr> tracks;
        for (const AudioClipPtr& clip : AudioFile::pcmAudioClips(file))
            tracks.push_back(std::make_shared<AudioTrack>(ClipList(clip)));
        mTracks = std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks));
    }
    int64_t numberOfFrames() const override { return mFile->numberOfFrames(); }
    double sampleRate() const override { return mFile->sampleRate(); }
    TrackList audioTracks() const override { return mTracks; }

private:
    std::shared_ptr<const AudioFile> mFile;
    TrackList mTracks;
};

QByteArray soundOf(const AudioFile& file)
{
    QByteArray bytes(file.numberOfFrames() * file.frameSize(), Qt::Uninitialized);
    const auto out = std::as_writable_bytes(std::span(bytes.data(), static_cast<size_t>(bytes.size())));
    require(file.readAudioDataAtOffset(file.soundDataOffset(), out) == bytes.size());
    return bytes;
}

std::vector<int64_t> markerPositions(const AudioFile& file)
{
    std::vector<int64_t> positions;
    if (file.markers()) {
        for (const AudioMarkerPtr& marker : *file.markers())
            positions.push_back(marker->position());
    }
    return positions;
}

/// Saved in its own format, a file gives the same sound, markers and chunks again. (What tags
/// may lose is known to the tags' own harness.)
void checkThatSavingKeepsEverything(const std::shared_ptr<const AudioFile>& file)
{
    WaveFile writer(file->sampleRate(), file->bitsPerSample(), file->numberOfChannels());
    const std::shared_ptr<FileHandle> handle = memoryFile();
    writer.setFileHandle(handle);
    writer.setMarkers(file->markers());
    writer.setMetadata(file->metadata());
    SilentProgress progress;
    require(writer.saveDocument(OpenedDocument(file), nullptr, progress, nullptr));

    const std::shared_ptr<AudioFile> reread = WaveFile::open(handle, nullptr);
    require(reread && reread->warnings().isEmpty() && reread->chunksNotKept().isEmpty());
    require(reread->sampleRate() == file->sampleRate() && reread->bitsPerSample() == file->bitsPerSample());
    require(soundOf(*reread) == soundOf(*file));
    require(markerPositions(*reread) == markerPositions(*file));
    require(reread->metadata().waveBWFChunks() == file->metadata().waveBWFChunks());
}

/// Saved over itself with another title, it keeps its other tags, too, and that twice gives the same bytes.
void checkThatEditingKeepsEverything(std::shared_ptr<const AudioFile> file)
{
    QByteArray bytes;
    for (int i = 0; i < 2; ++i) {
        WaveFile writer(file->sampleRate(), file->bitsPerSample(), file->numberOfChannels());
        const std::shared_ptr<FileHandle> handle = memoryFile();
        AudioMetadata metadata = file->metadata();
        metadata.setTitle(QStringLiteral("Fuzz"));
        writer.setOpenedFile(file);
        writer.setFileHandle(handle);
        writer.setMarkers(file->markers());
        writer.setMetadata(metadata);
        SilentProgress progress;
        require(writer.saveDocument(OpenedDocument(file), nullptr, progress, nullptr));
        const std::shared_ptr<AudioFile> reread = WaveFile::open(handle, nullptr);
        require(reread && reread->metadata().title() == QStringLiteral("Fuzz"));
        require(soundOf(*reread) == soundOf(*file));
        require(markerPositions(*reread) == markerPositions(*file));
        const QByteArray written = handle->readAt(0, handle->length());
        require(i == 0 || written == bytes);
        bytes = written;
        file = reread;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::shared_ptr<FileHandle> handle = memoryFile();
    require(!handle->writeAt(0, std::as_bytes(std::span(data, size))));
    MaybeError error;
    const std::shared_ptr<AudioFile> file = WaveFile::open(handle, &error);
    require(!file || !error);
    if (!file)
        return 0;
    require(file->closeLedger().empty());
    require(file->numberOfChannels() > 0 && file->sampleRate() > 0.0);
    require(file->requiresConversion() || file->frameSize() > 0);
    if (file->requiresConversion())
        return 0;
    require(soundOf(*file).size() <= static_cast<qsizetype>(size));
    if (file->numberOfChannels() > mostTracks)
        return 0;
    checkThatSavingKeepsEverything(file);
    checkThatEditingKeepsEverything(file);
    return 0;
}
