#pragma once

#include "formats/caf/CafChunkList.h"
#include "formats/caf/CafFormat.h"
#include "formats/caf/CafMarkList.h"
#include "formats/file/AudioFile.h"

namespace velloria
{

/// CAF files. Every file is decoded when it is opened, plain PCM too. Written are integers and floats of
/// several widths, big-endian, and IMA 4:1; of any length. Sound that is kept stays in any encoding whose
/// packets are of one size. Of a file that was opened all chunks stay where they are, unchanged but for what
/// was edited and what no longer fits the sound. Markers live in the "mark" and "strg" chunks, tags in the
/// "info" chunk; see CafMarkers and CafInfo for their byte orders.
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
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
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
    void declareMarkers(const CafMarkers::Result& result);
    QByteArray payloadOf(FourCharCode type);
    void take(const CafChunk& chunk);
    QString name() const;

    bool isIma4() const;
    CafFormat formatToWrite() const;
    bool hasPlainPackets() const;
    int64_t numPackets() const;
    int64_t soundDataLength() const;
    QByteArray packetTablePayload() const;

    struct ModelChunk {
        FourCharCode type = 0;
        QByteArray payload;
    };
    /// With its header: bytes, or a stretch of the opened file.
    struct ChunkToWrite {
        QByteArray bytes;
        ByteRange source;
    };
    struct ChunkPlan {
        std::vector<ChunkToWrite> inFront;
        std::vector<ChunkToWrite> behind;
    };
    const VLAFCoreAudioFile* editedFile() const;
    const std::vector<AudioMarkerPtr>& markersNow() const;
    static bool canCarryOver(const CafChunk& chunk);
    bool carriesOver(const VLAFCoreAudioFile& edited, const CafChunk& chunk) const;
    bool isModelChunk(const CafChunk& chunk) const;
    QByteArray infoToWrite() const;
    CafMarkList::Payloads markersToWrite() const;
    uint32_t editCount() const;
    std::vector<ModelChunk> modelChunks() const;
    ChunkPlan chunkPlan() const;
    static int64_t lengthOf(const std::vector<ChunkToWrite>& chunks);
    MaybeError writeChunks(const std::vector<ChunkToWrite>& chunks, int64_t* offset);
    MaybeError writePeaks();
    MaybeError writePackets(const FrameSource& document, const SaveRange& range, Progress& progress);

    CafFormat mFormat;
    CafChunkList mChunks;
    std::vector<int64_t> mOffsetsDeclared;
    // Of a file that was opened, or saved.
    /// Of the chunks that the model was read from.
    std::vector<int64_t> mModelOffsets;
    QByteArray mInfo;
    bool mHasMarkers = false;
    CafMarkList mMarkList;
    /// While writing: of the payload with the peaks; 0 for none.
    int64_t mPeakOffset = 0;
    int64_t mNumBytesOfSound = 0;
    /// Of the file whose packets this one has.
    std::optional<CafFormat> mKeptFormat;
};

} // namespace velloria
