#pragma once

#include "formats/file/DecodedFile.h"
#include "formats/mpeg4/Mpeg4FileLedger.h"
#include "formats/mpeg4/Mpeg4Seams.h"
#include "formats/mpeg4/Mpeg4SoundTrack.h"
#include "formats/saving/PacketSaver.h"
#include "platform/codec/StreamDescription.h"

namespace velloria
{

class ContainerWriter;

/// MPEG-4 files (.m4a, .mp4) and QuickTime movies: the first sound track that can be decoded, tags in iTunes'
/// list, chapters as markers. Opening counts the frames; the sound is decoded as a whole. What an encoder put
/// before and after the sound is left out where the file tells it. The two kinds that are written differ in
/// their encoding only.
///
/// Sound that lasts as long as that of the opened file is put into a copy of it (Mpeg4Splice), so that a film
/// keeps its pictures and everything else; other sound makes a new file. Sound that is kept is part of that
/// copy like all else.
class Mpeg4File : public DecodedFile
{
public:
    static bool validateFileHeader(const FileHandle& handle);

    /// Of the class of the sound that it holds. Null without an error for a file of another type; null with
    /// one for a file of this type that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString encodingDescription() const override;
    uint32_t maximumNumberOfChannels() const override { return 8; }
    bool willWrite(const FileItem& item) const override;
    void takeOverLedger() override;
    void validateAndCorrectParameters() override;
    MetadataDictionary writtenTags() const override;

protected:
    /// For writing and for reading; `writtenFormat` is the encoding that is written.
    Mpeg4File(double sampleRate, uint32_t sampleSize, uint32_t numChannels, FourCharCode writtenFormat);
    Mpeg4File(std::shared_ptr<FileHandle> handle, FourCharCode writtenFormat);

    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    bool takeSound(const AudioFile& source) override;
    MaybeError writeKeptSound(Progress& progress) override;
    /// Whether sound of an opened file is encoded as this one is configured to.
    virtual bool isConfiguredLike(const Mpeg4File& opened) const = 0;
    /// How keptPieces() are put into a sound of that length; null where all is encoded.
    virtual std::unique_ptr<Mpeg4Seams> planSeams(int64_t /*numFrames*/) const { return nullptr; }
    StreamDescription fileDataFormat() const;
    /// Of an opened file.
    const Mpeg4OpenedSound& openedSound() const { return mSound; }

private:
    void readTables(const VLAudioFileDecompressor& decoder);
    void tellOfEncoding();
    void readAccount(const VLAudioFileDecompressor& decoder);
    const Mpeg4File* carriedFile() const;
    bool isAsLongAs(const Mpeg4File& opened) const;
    bool isExtractOf(const Mpeg4File& opened) const;
    MarkerList markersOfFile(double sampleRate) const;
    static MaybeError writeSound(const FrameSource& document, const SaveRange& range,
                                 const PacketSaver::Options& options, Mpeg4Seams* seams,
                                 ContainerWriter& container, PacketTable& table, Progress& progress);
    MaybeError writeNewFile(const FrameSource& document, const SaveRange& range, Progress& progress);
    MaybeError writeCopy(const Mpeg4File& opened, const Mpeg4Layout& layout, const FileHandle* sound,
                         const PacketTable& table, Progress& progress);
    MaybeError writeIntoCopy(const Mpeg4File& opened, const FrameSource& document, const SaveRange& range,
                             Progress& progress);

    const FourCharCode mWrittenFormat;
    /// Of sound that was put into a copy of a film; readers of it may guess another number where the film
    /// says nothing.
    std::optional<int64_t> mWrittenPriming;

    // Of an opened file.
    Mpeg4OpenedSound mSound;
    /// By how many frames the sound begins later than the film.
    double mStartFrames = 0.0;
    uint32_t mChapterTrackID = 0;
    /// Items of the ledger whose fate hangs on a value of the metadata, by where their bytes begin.
    std::map<int64_t, Mpeg4BoundItem> mBoundItems;
    bool mHasOtherTracks = false;
    /// New sound may last longer or shorter than the one that is there.
    bool mCanHaveLength = false;
    bool mIsQuickTime = false;
    /// Why no new sound can be put into it.
    QString mObstacle;
    bool mCanKeepSound = false;
};

} // namespace velloria
