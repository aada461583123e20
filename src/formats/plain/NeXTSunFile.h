#pragma once

#include "formats/file/AudioFile.h"

namespace velloria
{

/// NeXT/Sun (.snd, .au) files. Big-endian integers and floats are read in place; every other encoding only
/// says that it needs decoding. Written are integers, without markers, tags or pictures, which the format
/// does not have.
class NeXTSunFile : public AudioFile
{
public:
    /// For writing.
    NeXTSunFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file of another type; null with one for a NeXT/Sun file that cannot be
    /// read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    QString encodingDescription() const override;

    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override;
    MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) override;

    void validateAndCorrectParameters() override;
    QStringList soundLosses() const override;
    MetadataDictionary writtenTags() const override;
    bool willWrite(const FileItem& item) const override;

    /// Rounds the sample size up to 8, 16, 24 or 32 bits.
    bool writeHeader(MaybeError* error) override;

protected:
    bool takeSound(const AudioFile& source) override;
    ByteRange keptBytes() const override;

private:
    explicit NeXTSunFile(std::shared_ptr<FileHandle> handle);

    MaybeError readHeader();
    MaybeError checkHeader() const;
    void readSampleFormat();
    void readSoundDataSize(int64_t numBytes);
    void readAnnotation();
    void declareSound();
    QString name() const;
    const NeXTSunFile* editedFile() const;
    bool keepsAnnotation() const;
    QByteArray annotationToWrite() const;

    /// As the header tells; 0 in a file that is written with integers.
    uint32_t mEncoding = 0;
    /// Bytes of sound in the opened file, or of that which is kept.
    int64_t mNumBytesOfSound = 0;
    bool mKeepsEncoding = false;
    /// Between header and sound.
    QByteArray mAnnotation;
};

} // namespace velloria
