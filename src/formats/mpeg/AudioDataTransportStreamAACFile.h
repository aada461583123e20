#pragma once

#include "formats/file/DecodedFile.h"
#include "formats/mpeg/PacketStreamTags.h"

namespace velloria
{

/// AAC packets one after the other, each with a head of its own (ADTS, .aac). Such a file tells nothing of
/// the encoder's delay, so 2112 frames at the start are left out on reading, and as many are put there on
/// writing. It has no place for markers, tags or pictures; tags that other programs put around the packets of
/// an opened file stay as they are.
class AudioDataTransportStreamAACFile : public DecodedFile
{
public:
    /// For writing.
    AudioDataTransportStreamAACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file of another type; null with one for a file that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    QString encodingDescription() const override;

    FileOptions fileOptions() const override;
    void validateAndCorrectParameters() override;
    bool storesIntegers() const override { return false; }
    bool encodesWithLoss() const override { return true; }
    QStringList soundLosses() const override;
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
    uint32_t maximumNumberOfChannels() const override { return 8; }

protected:
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    MaybeError writeKeptSound(Progress& progress) override;

private:
    explicit AudioDataTransportStreamAACFile(std::shared_ptr<FileHandle> handle);

    PacketStreamTags tagsToWrite() const;

    /// Of an opened file, or of one that was saved.
    PacketStreamTags mTags;
};

} // namespace velloria
