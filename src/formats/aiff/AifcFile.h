#pragma once

#include "formats/aiff/AiffFile.h"

namespace velloria
{

/// AIFF-C files. Read is every encoding that there is a decoder for, and every linear one, into scratch
/// files. Written are IMA 4:1, A-law and mu-law, with the markers, tags and other chunks of an AIFF file.
class AifcFile : public AiffFile
{
public:
    /// For writing; dataFormat() is still to be chosen.
    AifcFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not AIFF-C; null with one for one that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;

    /// The type as which a document is saved that was opened from such a file: AIFF-C for what it can write,
    /// and AIFF for all else. To save the samples of a linear encoding, or those of an encoding that nobody
    /// writes, as IMA 4:1 would lose three bits of four.
    static QString typeForSaving(FourCharCode dataFormat);

    // Save options: the tags are the encodings' codes.
    FileOptions fileOptions() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void configureWithPopUpTag(int tag) override;
    /// An encoding that cannot be written becomes IMA 4:1.
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override;
    QStringList soundLosses() const override;
    bool encodesWithLoss() const override { return true; }
    SeamReport seams() const override;

    /// Bytes of compressed sound.
    int64_t soundDataLength() const override { return mSoundDataLength; }
    /// Packets of compressed sound; for encodings without packets, frames.
    int64_t numPackets() const { return mNumPackets; }
    /// The encoding's name, as it stands in the file.
    QString compressionName() const;

protected:
    std::shared_ptr<AudioFile> reopened() const override;
    bool isCompressed() const override { return true; }
    void readSound(const AiffFormat& format, const RiffChunk& chunk) override;
    std::optional<LinearPcmLayout> linearLayout() const override { return mLayout; }
    void adjustDecoder(VLAudioFileDecompressor& decoder) const override;
    AiffFormat formatToWrite() const override;
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    bool takePieces(const AudioFile& source, const SoundPieces& pieces) override;
    ByteRange keptBytes() const override;

private:
    explicit AifcFile(std::shared_ptr<FileHandle> handle);

    void readLinearSound(const AiffFormat& format, const RiffChunk& chunk);
    void readCompressedSound(const AiffFormat& format, const RiffChunk& chunk);
    int64_t numFramesOfPackets(int64_t numFramesThere) const;

    void predictPackets(const SaveRange& range);
    MaybeError writePackets(const FrameSource& document, const SaveRange& range, Progress& progress);
    MaybeError writeKeptPieces();

    int64_t mNumPackets = 0;
    int64_t mSoundDataLength = 0;
    /// Of an opened file, where its samples are read as they are.
    std::optional<LinearPcmLayout> mLayout;
};

} // namespace velloria
