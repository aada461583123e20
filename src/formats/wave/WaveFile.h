#pragma once

#include "formats/chunks/ChunkedFile.h"
#include "formats/wave/WaveContainer.h"
#include "formats/wave/WaveEncoding.h"
#include "formats/wave/WaveFormat.h"

namespace velloria
{

/// WAVE files in each of their containers: RIFF, RIFX (big-endian), RF64 and BW64 (more than 4 GB). Written
/// is RIFF, RF64 where that would not hold the sound, and what the opened file was of those with long sizes.
/// Integer PCM is read in place; every other encoding only says that it needs decoding. Markers live in a
/// private "MARK" chunk, tags as an ID3v2 tag in an "ID3 " chunk, and the chunks of Broadcast Wave are
/// carried through as they are. Damage that leaves sound to read is told in warnings(); a header that makes
/// no sense is an error.
class WaveFile : public ChunkedFile
{
public:
    /// For writing.
    WaveFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not RIFF WAVE; null with one for a WAVE file that cannot be
    /// read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    bool hasOffsetEncoding() const override { return mOffsetEncoding; }
    QString encodingDescription() const override;

    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override;
    MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) override;

    uint32_t maximumNumberOfChannels() const override;
    int64_t maximumNumberOfMarkers() const override;
    int64_t largestMarkerName() const override;
    QStringList soundLosses() const override;

    /// The longest file that is written as RIFF; less than what its sizes can hold only in tests.
    void setLargestRiffFile(int64_t numBytes) { mLargestRiffFile = numBytes; }

    bool willWrite(const FileItem& item) const override;
    bool writeHeader(MaybeError* error) override;
    MaybeError writeFooter() override;

    /// Logs every chunk's name and size, for looking into a file.
    void logAllChunks() const;

protected:
    void declareOtherChunk(const RiffChunk& chunk) override;
    std::optional<LinearPcmLayout> linearLayout() const override;
    bool takeSound(const AudioFile& source) override;
    ByteRange keptBytes() const override;

private:
    explicit WaveFile(std::shared_ptr<FileHandle> handle);

    MaybeError readHeader();
    MaybeError readFormat();
    void readSoundDataChunk();
    bool wasNeverCompleted(const RiffChunk& data) const;
    void readMarkerChunk();
    void readMetadata();
    void readTagInFront(bool hasTagChunk);
    void readBroadcastWaveFileChunks();
    void declareFormat();

    const WaveFile* openedWave() const;
    WaveFormat formatToWrite() const;
    bool keepsFormat() const;
    /// Everything between the container's header and that of the sound.
    QByteArray formatChunks() const;
    int64_t soundLength() const;
    int64_t soundOffset(bool isLong) const;
    std::vector<QByteArray> footerChunks() const;
    /// With the header of one kind or the other.
    int64_t lengthToWrite(bool isLong) const;
    bool isTooLongForRiff() const;
    MaybeError writeContainerChunk(int64_t fileLength);
    MaybeError writeChunk(const QByteArray& chunk, int64_t* offset);
    void convertTwosComplementData(std::span<std::byte> data) const;

    bool mOffsetEncoding = false;
    int64_t mLargestRiffFile = largestFileOf32Bits;
    WaveContainer mContainer;
    WaveFormat mFormat;
    /// Of the file whose sound this one has, where that is no plain PCM.
    std::optional<WaveEncoding> mKeptEncoding;
};

} // namespace velloria
