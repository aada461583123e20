#pragma once

#include "formats/caf/CafChunkList.h"
#include "formats/caf/CafFormat.h"
#include "formats/file/AudioFile.h"

namespace velloria
{

/// CAF files. Every file is decoded when it is opened, plain PCM too. Written are integers and floats of
/// several widths, big-endian, and IMA 4:1; of any length. Sound that is kept stays in any encoding whose
/// packets are of one size. Markers live in the "mark" and "strg" chunks, tags in the "info" chunk; see
/// CafMarkers and CafInfo for their byte orders.
class VLAFCoreAudioFile : public AudioFile
{
public:
    /// For writing; dataFormat() is still to be chosen.
    VLAFCoreAudioFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not CAF; null with one for one that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    double writtenSampleRate() const override { return mSampleRate; }
    QString encodingDescription() const override;
    uint32_t formatFlags() const { return mFormat.formatFlags; }

    // Save options: the tags are the encodings' codes.
    FileOptions fileOptions() const override;
    MetadataDictionary writtenTags() const override;
    double estimatedFileSizeWithTag(int tag) const override;
    void configureWithPopUpTag(int tag) override;
    /// An encoding that cannot be written becomes 32-bit floats.
    void validateAndCorrectParameters() override;
    uint32_t maximumNumberOfChannels() const override;
    bool encodesWithLoss() const override { return isIma4(); }

    bool storesIntegers() const override;
    bool needsFramesInOrder() const override { return false; }
    MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) override;
    MaybeError writeFloatData(std::span<const float> interleaved, int64_t frameOffset) override;
    bool writeHeader(MaybeError* error) override;
    MaybeError writeFooter() override;

protected:
    std::optional<LinearPcmLayout> linearLayout() const override;
    void adjustDecoder(VLAudioFileDecompressor& decoder) const override;
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    ByteRange keptBytes() const override;

private:
    explicit VLAFCoreAudioFile(std::shared_ptr<FileHandle> handle);

    MaybeError readHeader();
    MaybeError readFormat();
    bool lacksPacketTable() const;
    void readSound(const CafChunk& data);
    void readMarkerChunk();
    void readMetadata();
    void declareChunks();
    QByteArray payloadOf(FourCharCode type);
    void take(const CafChunk& chunk);
    QString name() const;

    bool isIma4() const;
    CafFormat formatToWrite() const;
    bool hasPlainPackets() const;
    int64_t numPackets() const;
    int64_t soundDataLength() const;
    QByteArray packetTablePayload() const;
    QByteArray chunksBeforeSound() const;
    MaybeError writePackets(const FrameSource& document, const SaveRange& range, Progress& progress);

    CafFormat mFormat;
    CafChunkList mChunks;
    std::vector<int64_t> mOffsetsDeclared;
    int64_t mNumBytesOfSound = 0;
    /// Of the file whose packets this one has.
    std::optional<CafFormat> mKeptFormat;
};

} // namespace velloria
