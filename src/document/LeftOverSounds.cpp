#include "document/LeftOverSounds.h"

#include "document/DocumentRecording.h"
#include "formats/AudioFileRegistry.h"
#include "formats/streams/EndianSwap.h"
#include "platform/FourCharCode.h"
#include "platform/ScratchFolder.h"

#include <QLocale>
#include <algorithm>
#include <chrono>
#include <cstring>
#include <numeric>

namespace velloria
{

namespace
{

/// CAF files of 32-bit floats, read where they lie as one source with the channels of all of them: opening
/// hours of sound neither takes time nor room on a disk that may have been the reason for the end.
class FloatsInPlace : public SampleSource
{
public:
    using Files = std::vector<std::shared_ptr<const AudioFile>>;

    /// `leftOvers` are kept from others as long as a clip reads them.
    FloatsInPlace(Files files, std::vector<std::shared_ptr<LeftOverFile>> leftOvers)
        : mFiles(std::move(files))
        , mLeftOvers(std::move(leftOvers))
    {
    }
    int64_t soundDataOffset() const override { return 0; }
    bool isFloat() const override { return true; }
    int64_t channelCount() const override
    {
        return std::accumulate(mFiles.begin(), mFiles.end(), int64_t{0},
                               [](int64_t sum, const auto& file) { return sum + file->channelCount(); });
    }
    int64_t sampleBits() const override { return 32; }
    double sampleRate() const override { return mFiles.front()->sampleRate(); }
    int64_t numberOfFrames() const override
    {
        const auto isShorter = [](const auto& a, const auto& b) {
            return a->numberOfFrames() < b->numberOfFrames();
        };
        return (*std::max_element(mFiles.begin(), mFiles.end(), isShorter))->numberOfFrames();
    }
    std::vector<const FileHandle*> sourceHandles() const override
    {
        std::vector<const FileHandle*> handles;
        for (const auto& file : mFiles)
            handles.push_back(file->fileHandle().get());
        return handles;
    }
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        const int64_t bytesPerFrame = frameSize();
        if (bytesPerFrame <= 0)
            return 0;
        const int64_t frame = offset / bytesPerFrame;
        const int64_t numFrames =
            std::clamp<int64_t>(numberOfFrames() - frame, 0, std::ssize(out) / bytesPerFrame);
        int64_t channel = 0;
        for (const auto& file : mFiles) {
            const FloatBuffer samples = samplesOf(*file, frame, numFrames);
            for (int64_t i = 0; i < numFrames; ++i)
                std::memcpy(out.data() + i * frameSize() + channel * kSampleBytes,
                            samples.data() + i * file->channelCount(),
                            static_cast<size_t>(file->channelCount() * kSampleBytes));
            channel += file->channelCount();
        }
        return numFrames * frameSize();
    }

private:
    static constexpr int64_t kSampleBytes = sizeof(float);

    /// Silence where the file ends: the tracks of a take that was killed differ by a block.
    static FloatBuffer samplesOf(const AudioFile& file, int64_t frame, int64_t numFrames)
    {
        FloatBuffer samples(static_cast<size_t>(numFrames * file.channelCount()));
        const auto bytes = std::as_writable_bytes(std::span(samples));
        const int64_t available = (file.numberOfFrames() - frame) * file.frameSize();
        if (available <= 0)
            return samples;
        const auto wanted = bytes.first(std::min(bytes.size(), static_cast<size_t>(available)));
        const int64_t numBytes =
            file.readAudioDataAtOffset(file.soundDataOffset() + frame * file.frameSize(), wanted);
        if (!file.isLittleEndian())
            endianSwapData(bytes.first(static_cast<size_t>(numBytes)), file.sampleBits());
        return samples;
    }

    const Files mFiles;
    const std::vector<std::shared_ptr<LeftOverFile>> mLeftOvers;
};

/// Whatever else lies there was not written by this program.
bool isReadInPlace(const AudioFile& file)
{
    return file.isFloat() && file.bitsPerSample() == 32;
}

struct Part {
    LeftOverSound sound;
    int32_t track = 0;
};

std::optional<Part> partOf(const std::filesystem::path& path)
{
    const auto file = AudioFileRegistry::audioFileWithPath(path, nullptr);
    std::error_code error;
    const auto lastWritten = std::filesystem::last_write_time(path, error);
    if (!file || error || !isReadInPlace(*file) || file->numberOfFrames() < 1 || !(file->sampleRate() > 0.0))
        return std::nullopt;
    Part part;
    part.sound = {{path},
                  file->sampleRate(),
                  file->numberOfFrames(),
                  static_cast<int32_t>(file->numberOfChannels()),
                  lastWritten,
                  {}};
    if (auto label = ScratchTrackLabel::ofNote(ScratchFolder::note(path))) {
        part.sound.label = std::move(label->label);
        part.track = label->track;
    }
    return part;
}

/// Notes can be copied with their files, so what they say must also be possible.
bool belongsTo(const Part& part, const Part& former)
{
    return part.sound.label && part.sound.label == former.sound.label && part.track > former.track &&
           part.sound.sampleRate == former.sound.sampleRate && part.sound.numTracks == 1 &&
           former.sound.numTracks == 1;
}

void add(const LeftOverSound& track, LeftOverSound& sound)
{
    sound.files.push_back(track.files.front());
    sound.numFrames = std::max(sound.numFrames, track.numFrames);
    sound.numTracks += track.numTracks;
    sound.lastWritten = std::max(sound.lastWritten, track.lastWritten);
}

/// Those of one sound beside each other, in the order of its tracks.
void sortBySound(std::vector<Part>& parts)
{
    const auto keyOf = [](const Part& part) {
        return part.sound.label ? part.sound.label->soundID : QString();
    };
    std::stable_sort(parts.begin(), parts.end(), [&keyOf](const Part& a, const Part& b) {
        const QString keyOfA = keyOf(a);
        const QString keyOfB = keyOf(b);
        return keyOfA != keyOfB ? keyOfA < keyOfB : a.track < b.track;
    });
}

std::vector<std::shared_ptr<LeftOverFile>> takeOver(const LeftOverSound& sound, MaybeError* error)
{
    std::vector<std::shared_ptr<LeftOverFile>> files;
    for (const std::filesystem::path& path : sound.files) {
        files.push_back(ScratchFolder::takeOver(path, error));
        if (!files.back())
            return {};
    }
    return files;
}

FloatsInPlace::Files filesOf(const LeftOverSound& sound, MaybeError* error)
{
    FloatsInPlace::Files files;
    for (const std::filesystem::path& path : sound.files) {
        const auto file = AudioFileRegistry::audioFileWithPath(path, error);
        if (!file)
            return {};
        if (!isReadInPlace(*file)) {
            *error = Error{Error::Code::corruptFile,
                           QStringLiteral("%1 was not left by Velloria.").arg(displayPath(path))};
            return {};
        }
        files.push_back(file);
    }
    return files;
}

std::shared_ptr<SoundDocument> documentOf(const LeftOverSound& sound,
                                          std::vector<std::shared_ptr<LeftOverFile>> leftOvers,
                                          MaybeError* error)
{
    const FloatsInPlace::Files files = filesOf(sound, error);
    if (files.empty())
        return nullptr;
    auto document = std::make_shared<SoundDocument>();
    const auto source = std::make_shared<FloatsInPlace>(files, std::move(leftOvers));
    std::vector<AudioTrackPtr> tracks;
    for (const auto& file : files)
        for (int64_t channel = 0; channel < file->channelCount(); ++channel)
            tracks.push_back(std::make_shared<AudioTrack>(ClipList(std::make_shared<AudioClip>(
                source, 0, file->numberOfFrames(), static_cast<int64_t>(tracks.size())))));
    document->undoableSetSampleRate(files.front()->sampleRate());
    // The scratch files hold floats, whatever the sound was made of.
    if (sound.label && sound.label->sampleBits > 0)
        document->undoableSetSampleSize(sound.label->sampleBits);
    document->undoableSetAudioMetadata(files.front()->metadata());
    if (files.front()->markers())
        document->undoableSetAudioMarkers(files.front()->markers());
    document->undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    document->updateTrackPanning();
    // Taking the sound out again is nothing that a person would want.
    document->undoManager().clear();
    document->setTitle(sound.title());
    return document;
}

} // namespace

QDateTime LeftOverSound::made() const
{
    if (label && label->made.isValid())
        return label->made;
    const auto sinceEpoch = std::chrono::file_clock::to_sys(lastWritten).time_since_epoch();
    return QDateTime::fromMSecsSinceEpoch(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

QString LeftOverSound::madeText() const
{
    const QLocale locale;
    const QDateTime local = made().toLocalTime();
    const QString clock = locale.toString(local.time(), QLocale::ShortFormat);
    return local.date() == QDate::currentDate()
               ? clock
               : locale.toString(local.date(), QStringLiteral("d MMM yyyy ")) + clock;
}

QString LeftOverSound::title() const
{
    const QString time = madeText();
    if (!label)
        return QStringLiteral("Sound of %1").arg(time);
    const QString& name = label->documentName;
    switch (label->use) {
    case ScratchLabel::Use::recording:
        return label->file.isEmpty() ? QStringLiteral("Take of %1").arg(time)
                                     : QStringLiteral("Take of %1, %2").arg(time, name);
    case ScratchLabel::Use::document:
        return QStringLiteral("%1, not saved").arg(name);
    case ScratchLabel::Use::decoding:
        return QStringLiteral("Decoded %1").arg(name);
    case ScratchLabel::Use::computation:
        break;
    }
    return label->command.isEmpty() ? QStringLiteral("Part of %1").arg(name)
                                    : QStringLiteral("%1 in %2").arg(label->command, name);
}

bool LeftOverSound::isPersons() const
{
    return !label || label->use == ScratchLabel::Use::recording || label->use == ScratchLabel::Use::document;
}

std::vector<LeftOverSound> LeftOverSounds::find(const std::vector<std::filesystem::path>& files,
                                                const std::function<bool()>& isStopped)
{
    std::vector<Part> parts;
    for (const std::filesystem::path& file : files) {
        if (isStopped())
            return {};
        if (std::optional<Part> part = partOf(file))
            parts.push_back(std::move(*part));
    }
    sortBySound(parts);
    std::vector<LeftOverSound> sounds;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0 && belongsTo(parts[i], parts[i - 1]))
            add(parts[i].sound, sounds.back());
        else
            sounds.push_back(parts[i].sound);
    }
    std::stable_sort(sounds.begin(), sounds.end(), [](const LeftOverSound& a, const LeftOverSound& b) {
        return a.totalTime() > b.totalTime();
    });
    return sounds;
}

std::shared_ptr<SoundDocument> LeftOverSounds::read(const LeftOverSound& sound, MaybeError* error)
{
    return documentOf(sound, {}, error);
}

std::shared_ptr<SoundDocument> LeftOverSounds::open(const LeftOverSound& sound, MaybeError* error)
{
    std::vector<std::shared_ptr<LeftOverFile>> files = takeOver(sound, error);
    if (files.empty())
        return nullptr;
    auto document = documentOf(sound, files, error);
    if (document)
        document->setLeftOvers(std::move(files));
    return document;
}

LeftOverSounds::Outline LeftOverSounds::outline(const LeftOverSound& sound, int numColumns)
{
    // Of each column its beginning: a picture that is quick, whatever the length.
    constexpr int64_t numFramesLookedAt = 512;
    MaybeError error;
    FloatsInPlace::Files files = filesOf(sound, &error);
    if (files.empty())
        return {};
    const FloatsInPlace source(std::move(files), {});
    const auto numChannels = static_cast<size_t>(source.channelCount());
    FloatBuffer samples(static_cast<size_t>(numFramesLookedAt) * numChannels);
    Outline outline;
    for (int column = 0; column < numColumns; ++column) {
        const int64_t frame = source.numberOfFrames() * column / numColumns;
        const int64_t numBytes = source.readAudioDataAtOffset(frame * source.frameSize(),
                                                              std::as_writable_bytes(std::span(samples)));
        const auto end = samples.begin() + numBytes / static_cast<int64_t>(sizeof(float));
        const auto [least, most] = std::minmax_element(samples.begin(), end);
        outline.emplace_back(least == end ? 0.0F : *least, most == end ? 0.0F : *most);
    }
    return outline;
}

MaybeError LeftOverSounds::discard(const LeftOverSound& sound)
{
    for (const std::filesystem::path& file : sound.files)
        if (MaybeError error = ScratchFolder::removeLeftOver(file))
            return error;
    return std::nullopt;
}

MaybeError LeftOverSounds::keep(SoundDocument& document)
{
    if (document.isAsRecovered())
        return std::nullopt;
    MaybeError error;
    if (const auto handle = ScratchFolder::createFile(&error)) {
        const ScratchLabel label = document.scratchLabel(ScratchLabel::Use::document).forNewSound(1);
        ScratchFolder::setNote(handle->path(), ScratchTrackLabel{label, 0}.toNote());
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
