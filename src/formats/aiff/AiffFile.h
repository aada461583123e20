#pragma once

#include "formats/aiff/AiffFormat.h"
#include "formats/aiff/AiffMarkList.h"
#include "formats/aiff/AiffMarkers.h"
#include "formats/chunks/ChunkedFile.h"

namespace velloria
{

struct AiffTextField;

/// Uncompressed AIFF files, read in place and written sample by sample, and the base of AIFF-C. Markers live
/// in the "MARK" chunk and, with every property and their full names, in a private "uMrk" chunk; tags in the
/// text chunks and as an ID3v2 tag in an "ID3 " chunk. The chunks INST, MIDI, AESD and COMT are carried
/// through as they are. Of a file that was opened all chunks stay where they are, unchanged but for what was
/// edited. Damage that leaves sound to read is told in warnings(); a header that makes no sense
/// is an error.
class AiffFile : public ChunkedFile
{
public:
    /// For writing.
    AiffFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file that is not AIFF; null with one for an AIFF file that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString fileFormatUTI() const override;
    double writtenSampleRate() const override { return mSampleRate; }
    QString encodingDescription() const override;

    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override;
    MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) override;

    MetadataDictionary writtenTags() const override;
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
    bool writeHeader(MaybeError* error) override;
    MaybeError writeFooter() override;

    /// Bytes of sound, as they are being written; beyond 4 GB any number above that.
    virtual int64_t soundDataLength() const;

    /// True when `writer` writes an AIFF file in which loops or comments that name markers by number, and
    /// stay as they are, would name others than in the file that is open now, or none. Markers of an opened
    /// AIFF file keep their numbers; in a new one they are numbered from 0 on.
    static bool movesReferences(const AudioFile& opened, const AudioFile& writer);

    /// Logs every chunk's name and size, for looking into a file.
    void debugAllChunks() const;

protected:
    explicit AiffFile(std::shared_ptr<FileHandle> handle);

    static std::shared_ptr<AudioFile> openedFile(const std::shared_ptr<AiffFile>& file, bool isOfItsType,
                                                 MaybeError* error);
    static bool hasForm(const FileHandle& handle, FourCharCode formType);

    virtual bool isCompressed() const { return false; }
    /// Takes over what the format and the chunk with the sound say, and declares that chunk.
    virtual void readSound(const AiffFormat& format, const RiffChunk& chunk);
    virtual AiffFormat formatToWrite() const;

    /// Of the first sample; what lies before it in the chunk is for aligning blocks.
    int64_t offsetOfSoundIn(const RiffChunk& chunk) const;
    bool wasNeverCompleted(const RiffChunk& chunk) const;
    /// How many frames of that size there are: as the header tells, unless it makes no sense or is not true,
    /// which is told in warnings().
    int64_t countFrames(const AiffFormat& format, const RiffChunk& chunk, int64_t bytesPerFrame);
    /// The samples from soundDataOffset() on are in the model; the sound's own header is structure.
    void declareSamples(const RiffChunk& chunk, int64_t numBytes);
    void declareOtherChunk(const RiffChunk& chunk) override;
    bool sharesTagWith(const ChunkedFile& opened) const override;
    /// The file that was written, read anew; null where that fails.
    virtual std::shared_ptr<AudioFile> reopened() const;

private:
    MaybeError readHeader();
    MaybeError readFormat();
    bool readMarkerArchive();
    void readMarkerChunk();
    void readMetadata();
    void compareMarkers(const RiffChunk& chunk, const QByteArray& payload);
    void takeMarkers(const RiffChunk& chunk, const QByteArray& payload);
    const RiffChunk* textChunk(FourCharCode ident) const;
    const RiffChunk* takeModelChunk(FourCharCode ident);
    bool isTextInMetadata(const RiffChunk& chunk) const;
    void declareFormat();

    const AiffFile* editedFile() const;
    const std::vector<AudioMarkerPtr>& markersNow() const;
    bool isModelChunk(const RiffChunk& chunk) const;
    bool canCarryOver(const RiffChunk& chunk) const;
    bool carriesOver(const AiffFile& edited, const RiffChunk& chunk) const;
    bool hasSameMarkersAs(const AiffFile& edited) const;
    /// What the model has for a chunk of that name, in a file that is edited, or a new one.
    QByteArray formatPayload() const;
    QByteArray versionPayload() const;
    QByteArray markerPayload() const;
    QByteArray archivePayload() const;
    QByteArray textPayload(const AiffTextField& field) const;
    QByteArray payloadIn(const AiffFile& edited, FourCharCode ident) const;
    bool textsHoldAllTags() const;
    struct ModelChunk {
        FourCharCode ident = 0;
        QByteArray bytes;
    };
    std::vector<ModelChunk> modelChunks() const;
    ModelChunk tagChunk() const;
    static void putEmptyInFrontOfAnother(const AiffFile& edited, const RiffChunk& chunk,
                                         std::vector<ChunkToWrite>& place);
    ChunkPlan newPlan() const;
    ChunkPlan chunkPlan() const;
    int64_t lengthWithFooter(const ChunkPlan& plan) const;

    AiffFormat mFormat;
    /// Of a file that was read.
    AiffMarkers::Numbering mNumbering;
    // Of a file that was opened, or saved.
    AiffMarkList mMarkList;
    /// Our private chunk is there.
    bool mHasArchive = false;
    /// The markers as they were then.
    QByteArray mMarkersAsRead;
    /// Of the chunks that the model was read from.
    std::vector<int64_t> mModelOffsets;
};

} // namespace velloria
