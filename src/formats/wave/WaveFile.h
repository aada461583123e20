#pragma once

#include "formats/chunks/ChunkedFile.h"
#include "formats/wave/InfoList.h"
#include "formats/wave/WaveContainer.h"
#include "formats/wave/WaveCues.h"
#include "formats/wave/WaveEncoding.h"
#include "formats/wave/WaveFormat.h"

namespace velloria
{

/// WAVE files in each of their containers: RIFF, RIFX (big-endian), RF64 and BW64 (more than 4 GB). Written
/// is RIFF, RF64 where that would not hold the sound, and what the opened file was of those with long sizes.
/// Integer PCM is read in place; every other encoding only says that it needs decoding. Markers live in a
/// private "MARK" chunk and, for other programs, as cue points, regions and loops (WaveCues), tags as an
/// ID3v2 tag in an "ID3 " chunk, and the chunks of Broadcast Wave are carried through as they are. Damage
/// that leaves sound to read is told in warnings(); a header that makes no sense is an error. Of a file that
/// was opened all other chunks stay where they are, as long as they do not count frames of sound that has
/// another length now, and the texts of its "LIST INFO" are edited.
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

    MetadataDictionary writtenTags() const override;
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
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
    void readMarkers();
    std::vector<AudioMarkerPtr> readOwnMarkers();
    void readCues(int32_t lastIdent);
    void declareOwnMarkers(bool isInModel);
    void readMetadata();
    void readTagInFront(bool hasTagChunk);
    void readBroadcastWaveFileChunks();
    void declareFormat();

    void readInfoList();

    const WaveFile* openedWave() const;
    const WaveFile* editedFile() const;
    bool holdsSoundAsLongAs(const WaveFile& other) const;
    FourCharCode kindOf(const RiffChunk& chunk) const;
    bool canCarryOver(const RiffChunk& chunk) const;
    bool carriesOver(const WaveFile& edited, const RiffChunk& chunk) const;
    std::vector<QByteArray> modelChunks() const;
    bool writesCuePoints() const;
    bool writesOwnMarkers() const;
    QByteArray ownMarkerChunk() const;
    const WaveCues::Edit& cueEdit() const;
    std::optional<bool> keepsItemOfMarkers(const WaveFile& edited, const FileItem& item) const;
    void takeOverMarkers(const WaveFile& written);
    InfoList infoToWrite() const;
    bool infoHoldsAllTags() const;
    QByteArray factChunk(const QByteArray& payload) const;
    std::optional<ChunkToWrite> otherChunk(const WaveFile& edited, const RiffChunk& chunk,
                                           bool isFirst) const;
    ChunkPlan chunkPlan() const;
    void addNewChunks(const std::vector<QByteArray>& made, ChunkPlan& plan) const;
    WaveFormat formatToWrite() const;
    bool keepsFormat() const;
    int64_t soundLength() const;
    int64_t soundOffset(bool isLong) const;
    /// With the header of one kind or the other.
    int64_t lengthToWrite(bool isLong) const;
    bool isTooLongForRiff() const;
    MaybeError writeContainerChunk(int64_t fileLength);
    void convertTwosComplementData(std::span<std::byte> data) const;

    bool mOffsetEncoding = false;
    int64_t mLargestRiffFile = largestFileOf32Bits;
    WaveContainer mContainer;
    WaveFormat mFormat;
    /// Of the file that was opened or written.
    InfoList mInfo;
    bool mHasTagChunk = false;
    /// Of the chunks that the model was read from.
    std::vector<int64_t> mModelOffsets;
    WaveCues mCues;
    bool mHasOwnMarkers = false;
    /// The payload of "MARK", where it is whole, and what would be written for the markers that were read.
    QByteArray mOwnMarkers;
    QByteArray mOwnMarkersAsRead;
    /// Of warnings(), which are about the sound otherwise.
    qsizetype mNumMarkerWarnings = 0;
    /// For the markers as they were when the first question came.
    struct CueEdit {
        MarkerList markers;
        const WaveFile* edited = nullptr;
        WaveCues::Edit edit;
    };
    mutable std::optional<CueEdit> mCueEdit;
    /// Of the file whose sound this one has, where that is no plain PCM.
    std::optional<WaveEncoding> mKeptEncoding;
};

} // namespace velloria
