#pragma once

#include "formats/aiff/AiffFile.h"

namespace velloria
{

/// AIFF-C files. Read is every encoding that there is a decoder for, uncompressed ones too, by decoding the
/// whole file. Written are IMA 4:1, A-law and mu-law, with the markers, tags and other chunks of an AIFF
/// file.
class AifcFile : public AiffFile
{
public:
    /// For writing; dataFormat() is still to be chosen.
    AifcFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not AIFF-C; null with one for one that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;

    // Save options: the tags are the encodings' codes.
    FileOptions fileOptions() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void configureWithPopUpTag(int tag) override;
    /// An encoding that cannot be written becomes IMA 4:1.
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override;
    bool encodesWithLoss() const override { return true; }

    /// Bytes of compressed sound.
    int64_t soundDataLength() const override { return mSoundDataLength; }
    /// Packets of compressed sound; for encodings without packets, frames.
    int64_t numPackets() const { return mNumPackets; }
    /// The encoding's name, as it stands in the file.
    QString compressionName() const;

protected:
    bool isCompressed() const override { return true; }
    void readSound(const AiffFormat& format, const RiffChunk& chunk) override;
    AiffFormat formatToWrite() const override;
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;

private:
    explicit AifcFile(std::shared_ptr<FileHandle> handle);

    void predictPackets(const SaveRange& range);
    MaybeError writePackets(const FrameSource& document, const SaveRange& range, Progress& progress);

    int64_t mNumPackets = 0;
    int64_t mSoundDataLength = 0;
};

} // namespace velloria
