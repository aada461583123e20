#include "formats/mpeg/Mp3File.h"
#include "platform/Log.h"

#include <cstdlib>
#include <sys/mman.h>

using namespace velloria;

// Opens the bytes as an MP3 file, which looks for its packets, counts its frames and reads its tags, and
// makes a tag of what it found.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const LogCapture quiet;
    const std::shared_ptr<FileHandle> handle =
        FileHandle::adopt(::memfd_create("mp3", MFD_CLOEXEC), "in.mp3");
    handle->writeAt(0, std::as_bytes(std::span(data, size)));
    MaybeError error;
    const std::shared_ptr<AudioFile> file = Mp3File::open(handle, &error);
    if (file && error)
        std::abort();
    if (!file)
        return 0;
    // The smallest packets are of 24 bytes and 1152 frames.
    const auto mostFrames = static_cast<int64_t>(size / 24 + 1) * 1152;
    // Tags in front and behind, stretches of packets and everything between them.
    if (!file->closeLedger().empty())
        std::abort();
    if (file->numberOfChannels() < 1 || file->numberOfChannels() > 2 || !(file->sampleRate() >= 8000.0) ||
        file->numberOfFrames() < 0 || file->numberOfFrames() > mostFrames || !file->requiresConversion())
        std::abort();
    // What is cut out of its midst is planned; nothing is encoded.
    const int64_t half = file->numberOfFrames() / 2;
    Mp3File writer(file->sampleRate(), 16, file->numberOfChannels());
    writer.setBitRate(file->bitRate());
    writer.setNumberOfFrames(file->numberOfFrames() - half / 2);
    writer.validateAndCorrectParameters();
    writer.offerPieces(file,
                       {{0, 0, half}, {half, half + half / 2, file->numberOfFrames() - half - half / 2}},
                       SeamMode::exact);
    const SeamReport seams = writer.seams();
    if (seams.numFramesEncoded < 0 || seams.numFramesEncoded > writer.numberOfFrames() || seams.numSeams > 3)
        std::abort();
    AudioMetadata again;
    again.setValuesWithID3Data(file->metadata().id3Data());
    return 0;
}
