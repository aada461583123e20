#pragma once

#include "formats/file/AudioFile.h"
#include "formats/flac/FlacExtras.h"
#include "formats/tags/VorbisComments.h"

namespace velloria
{

class FlacConversion;
struct FlacDescription;

/// FLAC files, also FLAC in Ogg. Opening reads the metadata; the sound is decoded into scratch files. Written
/// are plain FLAC files, or Ogg files where dataFormat() says so ("Oflc", as a file that was opened from Ogg
/// has it), with the tags as Vorbis comments; the format class stores neither markers nor pictures.
class FLACFile : public AudioFile
{
public:
    /// For writing.
    FLACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    ~FLACFile() override;

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not FLAC; null with one for a FLAC file that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    /// Whether the stream stands, or will be written, in Ogg pages.
    bool isInOgg() const;
    void setInOgg(bool isInOgg);

    std::vector<std::shared_ptr<MutableAudioClip>> convertedAudioClips(Progress& progress,
                                                                       MaybeError* error) override;

    FileOptions fileOptions() const override;
    MetadataDictionary writtenTags() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override { return 8; }

protected:
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    MaybeError writeKeptSound(Progress& progress) override;

private:
    explicit FLACFile(std::shared_ptr<FileHandle> handle);
    void takeDescription(FlacDescription description);
    bool shouldBeInOgg() const;
    MaybeError writeKeptFrames(const QList<VorbisComments::Entry>& tags, Progress& progress);
    MaybeError writeKeptPages(const QList<VorbisComments::Entry>& tags, Progress& progress);
    void declareWhatDecodingFound(const FlacConversion& conversion);
    FlacExtras extrasOfOpened() const;

    /// Of a file that was opened.
    std::unique_ptr<const FlacDescription> mDescription;
    /// Of the file that was opened or written.
    FlacExtras mExtras;
};

} // namespace velloria
