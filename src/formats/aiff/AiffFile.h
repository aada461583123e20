#pragma once

#include "formats/aiff/AiffFormat.h"
#include "formats/aiff/AiffMarkers.h"
#include "formats/chunks/ChunkedFile.h"

namespace velloria
{

/// Uncompressed AIFF files, read in place and written sample by sample, and the base of AIFF-C. Markers live
/// in the "MARK" chunk and, with every property and their full names, in a private "uMrk" chunk; tags in the
/// text chunks and as an ID3v2 tag in an "ID3 " chunk. The chunks INST, MIDI, AESD and COMT are carried
/// through as they are. Damage that leaves sound to read is told in warnings(); a header that makes no sense
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

    bool writeHeader(MaybeError* error) override;
    MaybeError writeFooter() override;

    /// Bytes of sound, as they are being written; beyond 4 GB any number above that.
    virtual int64_t soundDataLength() const;

    /// True when `writer` writes an AIFF file in which loops or comments that name markers by number, and
    /// stay as they are, would name others than in the file that is open now, or none: a save numbers markers
    /// from 0 on.
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

private:
    MaybeError readHeader();
    MaybeError readFormat();
    bool readMarkerArchive();
    void readMarkerChunk();
    void readMetadata();
    QString textOfChunk(FourCharCode ident) const;
    bool isTextInMetadata(const RiffChunk& chunk) const;
    void declareFormat();

    QByteArray chunksBeforeSound() const;
    QByteArray metadataChunk() const;
    int64_t lengthWithFooter() const;

    AiffFormat mFormat;
    /// Of a file that was read.
    AiffMarkers::Numbering mNumbering;
};

} // namespace velloria
