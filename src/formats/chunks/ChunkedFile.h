#pragma once

#include "formats/chunks/RiffChunkList.h"
#include "formats/file/AudioFile.h"
#include "formats/tagediting/Id3Save.h"

namespace velloria
{

/// What WAVE and AIFF files share: they are lists of chunks. A reader takes those that it knows into the
/// model; all others, and every byte that belongs to no chunk, are told in the ledger. The ID3v2 tag of an
/// opened file is edited.
class ChunkedFile : public AudioFile
{
public:
    bool canSavePicture(const AttachedPicture& picture) const override;
    MetadataDictionary writtenTags() const override;
    void validateAndCorrectParameters() override;
    /// Comments that other programs may not show, as the ID3 tag holds them.
    QStringList soundLosses() const override;
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;

protected:
    /// Chunks beyond this size are no descriptions of a recording.
    static constexpr int64_t largestKeptChunk = int64_t{64} << 20;
    static constexpr int64_t largestFileOf32Bits = 0xFFFFFFFF;

    /// For writing.
    ChunkedFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    /// For reading.
    explicit ChunkedFile(std::shared_ptr<FileHandle> handle);

    const RiffChunkList& chunks() const { return mChunks; }
    void setChunks(RiffChunkList chunks) { mChunks = std::move(chunks); }
    /// For a chunk whose header was never completed: all the rest of the file is its payload.
    void openUpChunk(FourCharCode ident) { mChunks.openUp(ident, lengthOfFile()); }
    QByteArray payloadOf(const RiffChunk& chunk) const;

    /// Where a chunk's payload lies, as far as the file goes.
    ByteRange payloadRangeOf(const RiffChunk& chunk) const;
    /// The first chunk of that name, when it is whole and no larger than a description; it is in the model
    /// from now on. Else null.
    const RiffChunk* takeChunk(FourCharCode ident);
    /// The chunk's payload is accounted for; declareChunks() passes it by.
    void markDeclared(const RiffChunk& chunk) { mOffsetsDeclared.push_back(chunk.offset); }
    /// Of the chunk with the sound: `sound` is in the model, what stands behind it or between it and the
    /// first `headerLength` bytes is told.
    void declareSound(const RiffChunk& chunk, ByteRange sound, int64_t headerLength = 0);
    /// Everything else, in order: headers, pad bytes, the chunks that nobody took, what stands behind them.
    void declareChunks();
    /// A chunk that nobody took.
    virtual void declareOtherChunk(const RiffChunk& chunk) = 0;

    /// Takes in the ID3v2 tag of a chunk. `className` is for the log.
    void readId3Chunk(const RiffChunk& chunk, const char* className);
    /// The chunk of the tag to write; empty when there is none.
    QByteArray id3Chunk(ChunkByteOrder byteOrder) const;
    /// Whether the tag of an opened file is the one that this file has, edited.
    virtual bool sharesTagWith(const ChunkedFile& opened) const;

    /// A chunk with its header, without its pad byte: bytes, or a stretch of the opened file.
    struct ChunkToWrite {
        QByteArray bytes = {};
        ByteRange source = {};
        bool isPadded = true;
        /// With the pad byte.
        int64_t length() const;
    };
    /// The chunks on both sides of the sound, which come at even offsets.
    struct ChunkPlan {
        std::vector<ChunkToWrite> inFront;
        std::vector<ChunkToWrite> behind;
    };
    static int64_t lengthOf(const std::vector<ChunkToWrite>& chunks);
    /// One behind the other; `offset` moves behind them.
    MaybeError writeChunks(const std::vector<ChunkToWrite>& chunks, int64_t* offset);

    void tellOfDamagedMarkers(const RiffChunk& chunk, const char* className);
    QString name() const;

private:
    const ChunkedFile* openedWithTag() const;
    Id3Save id3Save() const;

    RiffChunkList mChunks;
    std::vector<int64_t> mOffsetsDeclared;
    /// Of an opened file, or of one that was saved, and the name of its chunk.
    QByteArray mId3Tag;
    FourCharCode mId3Ident = fourCharCode("ID3 ");
};

} // namespace velloria
