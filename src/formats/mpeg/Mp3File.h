#pragma once

#include "formats/file/DecodedFile.h"
#include "formats/mpeg/PacketStreamTags.h"
#include "formats/mpegframes/Mp3SeamPlan.h"
#include "formats/tagediting/Id3Save.h"
#include "platform/codec/ElementaryStreams.h"
#include "platform/codec/Mp3Encoder.h"

#include <mutex>

namespace velloria
{

/// MP3 files, and the older layers of MPEG audio. There is no header to go by: whatever no other type claims
/// is looked through for a row of MPEG packets. Opening counts the frames, of which silence that the encoder
/// put before and after the sound is no part where the file tells it; the sound is then decoded as a whole.
/// Tags and pictures are those of the ID3v2 tag at the start of the file. Files are written by LAME with a
/// constant bit rate: the tag, a packet that tells the encoder's delay, the sound. What has more than two
/// tracks is mixed to stereo as it plays. Packets that are kept are copied with all that stands among them;
/// of sound that was cut, those that lie whole within what is left.
/// All tags of an opened file are edited, whether its packets are kept or not. Chapters in its ID3v2 tag are
/// markers; a file that had none gets none.
class Mp3File : public DecodedFile
{
public:
    /// For writing.
    Mp3File(double sampleRate, uint32_t sampleSize, uint32_t numChannels);

    static bool validateFileHeader(const FileHandle& handle);

    /// Null without an error for a file of another type; null with one for MPEG audio that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    /// True when MP3 files can be written.
    static bool isLameInstalled();
    /// The bit rates that MP3 files can have, in bits per second, the lowest first.
    static const std::vector<int64_t>& validBitRates();
    /// The valid bit rate nearest to another one; the lower of two that are equally near.
    static int64_t closestValidBitRate(int64_t bitRate);

    QString fileFormatUTI() const override;
    /// Another one is among the soundLosses().
    double writtenSampleRate() const override { return mSampleRate; }
    QString encodingDescription() const override;

    FileOptions fileOptions() const override;
    void validateAndCorrectParameters() override;
    bool storesIntegers() const override { return false; }
    bool canSavePicture(const AttachedPicture& picture) const override;
    QStringList soundLosses() const override;
    MetadataDictionary writtenTags() const override;
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
    bool encodesWithLoss() const override { return true; }
    SeamReport seams() const override { return mSeamPlan ? mSeamPlan->report() : SeamReport(); }

protected:
    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    bool takePieces(const AudioFile& source, const SoundPieces& pieces) override;
    MaybeError writeKeptSound(Progress& progress) override;

private:
    explicit Mp3File(std::shared_ptr<FileHandle> handle);

    MaybeError openDecoder();
    std::shared_ptr<const Mp3FrameIndex> frameIndex() const;
    MaybeError encode(const FrameSource& document, const SaveRange& range, Progress& progress);
    MaybeError writeWithSeams(const FrameSource& document, const SaveRange& range, Progress& progress);
    int64_t effectiveBitRate() const;
    QStringList lossesOfEncoding() const;
    QString lossOfMarkers() const;
    QString lossOfPacketTraits() const;
    std::optional<Mp3Encoder::Output> output() const;
    void readTag();
    const Mp3File* openedMp3() const;
    Id3Save id3Save() const;
    Id3Chapters::Target chaptersNow(const Mp3File& opened, bool isEncodedAnew) const;
    PacketStreamTags tagsToWrite() const;

    /// Of an opened file, or of one whose packets were copied to this one.
    int64_t mPacketBitRate = 0;
    ElementaryStreams::MpegPacketTraits mPacketTraits;
    /// Of an opened file, or of one that was saved.
    PacketStreamTags mTags;
    /// Of an opened file: what its decoder leaves out at the start.
    std::optional<int64_t> mPrimingFrames;
    mutable std::once_flag mIndexOnce;
    mutable std::shared_ptr<const Mp3FrameIndex> mIndex;
    /// For writing, where pieces are kept.
    std::optional<Mp3SeamPlan> mSeamPlan;
};

} // namespace velloria
