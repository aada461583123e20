#pragma once

#include "formats/comments/VorbisCommentPacket.h"
#include "formats/file/AudioFile.h"
#include "formats/file/SurroundLosses.h"

namespace velloria
{

class VorbisStream;
struct VorbisSettings;

/// Ogg files with Vorbis sound. Opening reads the headers; the sound is decoded into scratch files. The
/// format class stores tags as Vorbis comments; a new file stores neither markers nor pictures. Where such a
/// file was opened, its comments are edited instead: pictures and chapters that it has can change, and every
/// entry that nobody changed stays as it is.
class OggVorbisFile : public AudioFile
{
public:
    /// For writing.
    OggVorbisFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    ~OggVorbisFile() override;

    /// Whether the libraries are there.
    static bool isOggVorbisInstalled() { return true; }
    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not Ogg, or FLAC in Ogg; null with one for any other Ogg file
    /// that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    QString encodingDescription() const override;

    std::vector<std::shared_ptr<MutableAudioClip>> convertedAudioClips(Progress& progress,
                                                                       MaybeError* error) override;

    /// 0 when a bit rate is used, else 1 more than the quality of Vorbis.
    float encodingQuality() const { return mEncodingQuality; }
    /// In bits per second: those that leave something to encode of the channels and the rate.
    std::vector<int> applicableBitRates() const;
    FileOptions fileOptions() const override;
    MetadataDictionary writtenTags() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void configureWithPopUpTag(int tag) override;
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override { return 255; }
    bool encodesWithLoss() const override { return true; }
    int64_t maximumNumberOfMarkers() const override;
    bool willWrite(const FileItem& item) const override;
    /// What it needs of it was read when that was opened.
    bool readsOpenedFile() const override { return false; }
    bool canSavePicture(const AttachedPicture& picture) const override;
    QStringList soundLosses() const override;

protected:
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    MaybeError writeKeptSound(Progress& progress) override;

private:
    explicit OggVorbisFile(std::shared_ptr<FileHandle> handle);
    void readStream();
    void tellWhatDecodingFound(const VorbisStream& stream, bool isDamaged);
    VorbisSettings settings() const;
    VorbisSettings settingsOfQuality(int tag) const;
    int tagOfEncoding() const;
    int tagNearestTo(int64_t nominalBitRate) const;
    const OggVorbisFile* openedVorbisFile() const;
    const OggVorbisFile* editedFile() const;
    VorbisCommentPacket commentsToWrite() const;

    float mEncodingQuality = 0.0F;
    /// Of a file that was opened.
    int64_t mNominalBitRate = 0;
    bool mHasManagedBitRate = false;
    /// Nothing stands beside or behind the sound.
    bool mHoldsOneStream = false;
    /// Of the file that was opened or written.
    VorbisCommentPacket mComments;
    /// Of a file that was opened, until it is decoded.
    std::unique_ptr<VorbisStream> mStream;
};

} // namespace velloria
