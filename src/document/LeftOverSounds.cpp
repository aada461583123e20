#include "document/LeftOverSounds.h"

#include "document/DocumentRecording.h"
#include "document/UndoGroup.h"
#include "formats/AudioFileRegistry.h"
#include "formats/streams/EndianSwap.h"
#include "platform/FourCharCode.h"
#include "platform/ScratchFolder.h"

#include <algorithm>
#include <cstdlib>

namespace velloria
{

namespace
{

// A take's tracks are written one after the other, each block after block; what came between the last two
// fits the recorder's ring.
constexpr int64_t kMostFramesApart = 65536;
constexpr std::chrono::seconds kMostTimeApart(2);

/// A CAF file of 32-bit floats, read where it lies: opening hours of sound neither takes time nor room on a
/// disk that may have been the reason for the end.
class FloatsInPlace : public SampleSource
{
public:
    explicit FloatsInPlace(std::shared_ptr<const AudioFile> file)
        : mFile(std::move(file))
    {
    }
    int64_t soundDataOffset() const override { return mFile->soundDataOffset(); }
    bool isFloat() const override { return true; }
    int64_t channelCount() const override { return mFile->channelCount(); }
    int64_t sampleBits() const override { return mFile->sampleBits(); }
    double sampleRate() const override { return mFile->sampleRate(); }
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        const int64_t numBytes = mFile->readAudioDataAtOffset(offset, out);
        if (!mFile->isLittleEndian())
            endianSwapData(out.first(static_cast<size_t>(numBytes)), sampleBits());
        return numBytes;
    }

private:
    const std::shared_ptr<const AudioFile> mFile;
};

struct Part {
    std::filesystem::path file;
    double sampleRate = 0.0;
    int64_t numFrames = 0;
    uint32_t numChannels = 0;
    std::filesystem::file_time_type lastWritten;
};

/// Whatever else lies there was not written by this program.
bool isReadInPlace(const AudioFile& file)
{
    return file.isFloat() && file.bitsPerSample() == 32;
}

std::optional<Part> partOf(const std::filesystem::path& path)
{
    const auto file = AudioFileRegistry::audioFileWithPath(path, nullptr);
    std::error_code error;
    const auto lastWritten = std::filesystem::last_write_time(path, error);
    if (!file || error || !isReadInPlace(*file) || file->numberOfFrames() < 1)
        return std::nullopt;
    return Part{path, file->sampleRate(), file->numberOfFrames(),
                static_cast<uint32_t>(file->numberOfChannels()), lastWritten};
}

bool isNextTrack(const Part& part, const Part& next)
{
    const auto apart = part.lastWritten - next.lastWritten;
    return part.numChannels == 1 && next.numChannels == 1 && part.sampleRate == next.sampleRate &&
           std::abs(part.numFrames - next.numFrames) <= kMostFramesApart &&
           std::max(apart, -apart) <= kMostTimeApart;
}

} // namespace

std::vector<LeftOverSound> LeftOverSounds::find(const std::vector<std::filesystem::path>& files)
{
    std::vector<LeftOverSound> sounds;
    std::optional<Part> previous;
    for (const std::filesystem::path& file : files) {
        const std::optional<Part> part = partOf(file);
        if (!part)
            continue;
        if (!previous || !isNextTrack(*previous, *part))
            sounds.push_back({{}, part->lastWritten});
        sounds.back().files.push_back(file);
        previous = part;
    }
    std::stable_sort(sounds.begin(), sounds.end(), [](const LeftOverSound& a, const LeftOverSound& b) {
        return a.lastWritten > b.lastWritten;
    });
    return sounds;
}

std::shared_ptr<SoundDocument> LeftOverSounds::open(const LeftOverSound& sound, MaybeError* error)
{
    auto document = std::make_shared<SoundDocument>();
    const UndoGroup group(*document, QStringLiteral("Recovery"));
    std::vector<AudioTrackPtr> tracks;
    for (const std::filesystem::path& path : sound.files) {
        const auto file = AudioFileRegistry::audioFileWithPath(path, error);
        if (!file || !isReadInPlace(*file))
            return nullptr;
        const auto source = std::make_shared<FloatsInPlace>(file);
        for (int64_t channel = 0; channel < file->channelCount(); ++channel)
            tracks.push_back(std::make_shared<AudioTrack>(
                ClipList(std::make_shared<AudioClip>(source, 0, file->numberOfFrames(), channel))));
        document->undoableSetSampleRate(file->sampleRate());
        document->undoableSetAudioMetadata(file->metadata());
        if (file->markers())
            document->undoableSetAudioMarkers(file->markers());
    }
    document->undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    document->updateTrackPanning();
    return document;
}

MaybeError LeftOverSounds::keep(SoundDocument& document)
{
    MaybeError error;
    if (const auto handle = ScratchFolder::createFile(&error)) {
        SaveRequest request;
        request.path = handle->path();
        request.uti = QStringLiteral("com.apple.coreaudio-format");
        request.operation = SaveOperation::saveTo;
        request.optionTag = static_cast<int>(fourCharCode("fl32"));
        SilentProgress progress;
        error = document.writeToPath(request, progress);
        if (error)
            ScratchFolder::removeFile(request.path);
    }
    if (error)
        document.recording().leaveBehind();
    return error;
}

} // namespace velloria
