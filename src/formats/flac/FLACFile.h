#pragma once

#include "formats/file/AudioFile.h"
#include "formats/flac/FlacMetadataEdit.h"

namespace velloria
{

class FlacConversion;
class PacketPlan;
struct FlacDescription;
struct FlacFormat;

/// FLAC files, also FLAC in Ogg. Opening reads the metadata; the sound is decoded into scratch files. Written
/// are plain FLAC files, or Ogg files where dataFormat() says so ("Oflc", as a file that was opened from Ogg
/// has it), with the tags as Vorbis comments; a new file stores neither markers nor pictures. Where a FLAC
/// file was opened, its metadata are edited instead: pictures and chapters that it has can change, and
/// everything that nobody changed stays as it is.
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
    bool canSavePicture(const AttachedPicture& picture) const override;
    QStringList soundLosses() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override { return 8; }
    int64_t maximumNumberOfMarkers() const override;
    bool willWrite(const FileItem& item) const override;
    /// What it needs of it was read when that was opened.
    bool readsOpenedFile() const override { return false; }

protected:
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    bool takePieces(const AudioFile& source, const SoundPieces& pieces) override;
    MaybeError writeKeptSound(Progress& progress) override;

private:
    explicit FLACFile(std::shared_ptr<FileHandle> handle);
    void takeDescription(FlacDescription description);
    bool shouldBeInOgg() const;
    const FLACFile* editedFile() const;
    VorbisCommentPacket commentsBefore() const;
    bool holdsSoundAsLongAs(const FLACFile& other) const;
    FlacMetadataEdit::Blocks blocksToWrite() const;
    FlacMetadataEdit::Blocks blocksToEncode(bool keepsPackets) const;
    std::optional<PacketPlan> planSeams(int64_t numFrames) const;
    MaybeError writeSeams(const PacketPlan& plan, const FrameSource& document, const SaveRange& range,
                          const FlacFormat& format, Progress& progress);
    MaybeError writeKeptFrames(Progress& progress);
    MaybeError writeKeptPages(Progress& progress);
    void declareWhatDecodingFound(const FlacConversion& conversion);

    /// Of a file that was opened.
    std::unique_ptr<const FlacDescription> mDescription;
    /// Of the file that was opened or written, behind the description; nothing where they are not known.
    std::optional<FlacMetadataEdit::Blocks> mBlocks;
    /// All of its packets were decoded, the first one being number 0.
    bool mIsSoundComplete = false;
};

} // namespace velloria
