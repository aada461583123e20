#pragma once

#include "document/clips/AudioMarker.h"
#include "document/clips/FrameSource.h"
#include "document/clips/MutableAudioClip.h"
#include "document/clips/SoundSelection.h"
#include "formats/ledger/FileLedger.h"
#include "formats/saving/SampleFile.h"
#include "formats/seams/SeamReport.h"
#include "formats/seams/SoundPieces.h"
#include "formats/tags/AudioMetadata.h"
#include "platform/FileHandle.h"
#include "platform/FourCharCode.h"
#include "platform/Progress.h"
#include "platform/codec/LinearPcm.h"

#include <QStringList>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace velloria
{

class DecodingWatcher;
class VLAudioFileDecompressor;
struct SaveRange;

/// One entry of a format's option list in the save panel: a sample size in bits or a bit rate in bits/s.
struct FileOption {
    int tag = 0;
    QString title;
    /// False for an entry that only says that there is nothing to choose.
    bool isEnabled = true;
};

/// The options a format offers when saving: a label, the entries and which one is chosen at first.
struct FileOptions {
    QString label;
    std::vector<FileOption> items;
    int selectedTag = 0;
};

/// One sound file that is open for reading or is being written; one subclass per format. A file opened for
/// reading lives as long as the document or any clip refers to it and may be read on any thread. Opening
/// never changes the file.
class AudioFile : public SampleFile
{
public:
    ~AudioFile() override;
    AudioFile(const AudioFile&) = delete;
    AudioFile& operator=(const AudioFile&) = delete;

    double sampleRate() const override { return mSampleRate; }
    void setSampleRate(double rate) { mSampleRate = rate; }
    /// Bits per second of compressed formats; 0 = not set.
    int64_t bitRate() const { return mBitRate; }
    void setBitRate(int64_t bitRate) { mBitRate = bitRate; }
    uint32_t bitsPerSample() const { return mBitsPerSample; }
    void setBitsPerSample(uint32_t bits) { mBitsPerSample = bits; }
    uint32_t numberOfChannels() const { return mNumberOfChannels; }
    void setNumberOfChannels(uint32_t count) { mNumberOfChannels = count; }
    int64_t numberOfFrames() const override { return mNumberOfFrames; }
    void setNumberOfFrames(int64_t count) { mNumberOfFrames = count; }
    int64_t soundDataOffset() const override { return mSoundDataOffset; }
    FourCharCode dataFormat() const { return mDataFormat; }
    void setDataFormat(FourCharCode format) { mDataFormat = format; }
    bool isFloat() const override { return mIsFloat; }
    int64_t channelCount() const override { return mNumberOfChannels; }
    int64_t sampleBits() const override { return mBitsPerSample; }
    bool requiresConversion() const { return mRequiresConversion; }
    bool isLittleEndian() const { return mIsLittleEndian; }
    const MarkerList& markers() const { return mMarkers; }
    void setMarkers(MarkerList markers) { mMarkers = std::move(markers); }
    const AudioMetadata& metadata() const { return mMetadata; }
    void setMetadata(const AudioMetadata& metadata) { mMetadata = metadata; }
    const std::filesystem::path& filePath() const { return mFilePath; }
    void setFilePath(const std::filesystem::path& path) { mFilePath = path; }
    const std::shared_ptr<FileHandle>& fileHandle() const override { return mFileHandle; }
    void setFileHandle(std::shared_ptr<FileHandle> handle) { mFileHandle = std::move(handle); }
    bool canSaveMarkers() const { return mCanSaveMarkers; }
    bool canSaveMetadata() const { return mCanSaveMetadata; }
    bool canSaveArtwork() const { return mCanSaveArtwork; }

    /// True when 8-bit samples are stored unsigned, 0x80 being silence.
    virtual bool hasOffsetEncoding() const { return false; }
    /// The encoding of the samples for a person: "16-bit integer", "IMA ADPCM", ...
    virtual QString encodingDescription() const;

    // What a person should know about the file that was opened.
    /// Sentences about damage that was worked around ("The file ends before its sound data does; ...").
    const QStringList& warnings() const { return mWarnings; }
    /// The account of everything in the file; of what was decoded later, too, once it was.
    const FileLedger& ledger() const { return mLedger; }
    /// Makes the account whole when the file is open: what its reader did not declare counts as not kept.
    /// Gives the stretches that it forgot, which is a mistake of the reader.
    std::vector<ByteRange> closeLedger();
    /// The names of the ledger's parts and tags that no save carries over, as a person would read them.
    QStringList chunksNotKept() const { return mLedger.namesNotKept(ItemKind::part); }
    QStringList tagsNotKept() const { return mLedger.namesNotKept(ItemKind::tag); }

    // Type descriptors.
    virtual QString fileFormatUTI() const = 0;
    QString displayTypeName() const;
    QStringList validFileExtensionsForSave() const;
    QString defaultFileExtension() const;

    // Raw and sample access.
    int64_t lengthOfFile() const;
    QByteArray readRawDataAtOffset(int64_t offset, int64_t numBytes) const;
    MaybeError writeRawData(std::span<const std::byte> data, int64_t offset) override;
    MaybeError writeRawData(const QByteArray& data, int64_t offset);
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override;
    MaybeError writeAudioData(std::span<std::byte> data, int64_t offset) override;
    MaybeError writeFloatData(std::span<const float> interleaved, int64_t frameOffset) override;

    // Save options.
    virtual FileOptions fileOptions() const;
    /// Bytes; -1 when unknown.
    virtual double estimatedFileSizeWithTag(int tag) const;
    virtual void configureWithPopUpTag(int tag);
    virtual void validateAndCorrectParameters();
    /// Channels that the format can hold.
    virtual uint32_t maximumNumberOfChannels() const { return 65535; }
    /// True when what is written, as it is configured, loses some of the sound by its nature.
    virtual bool encodesWithLoss() const { return false; }
    /// The frames per second that will stand in the file, which decide how fast it plays: whole numbers in
    /// most types.
    virtual double writtenSampleRate() const;
    /// What a save does to the sound beside encoding it, one sentence each: tracks mixed, rate converted, ...
    virtual QStringList soundLosses() const { return {}; }
    /// The tags as they will come back from the written file; a save tells what differs from metadata().
    /// Without the pictures.
    virtual MetadataDictionary writtenTags() const;
    /// False for a picture that is too large for the format and would be left out.
    virtual bool canSavePicture(const AttachedPicture&) const { return canSaveArtwork(); }
    /// Markers that the format can hold; the first ones are written.
    virtual int64_t maximumNumberOfMarkers() const { return std::numeric_limits<int64_t>::max(); }
    /// Bytes of a marker's name in UTF-8 that the format can hold; the first ones are written.
    virtual int64_t largestMarkerName() const { return std::numeric_limits<int64_t>::max(); }

    /// For writing: the file that the document was opened from or saved as last, whose items that are no part
    /// of the model this one may carry over. Null for a new document and for the save of a selection.
    void setOpenedFile(std::shared_ptr<const AudioFile> file) { mOpenedFile = std::move(file); }
    const std::shared_ptr<const AudioFile>& openedFile() const { return mOpenedFile; }
    /// Whether this file, as it is configured, will hold an item of openedFile(). True here for structure and
    /// what is in the model; a writer that carries bytes over says which.
    virtual bool willWrite(const FileItem& item) const;
    /// True when a save with this writer reads bytes of openedFile() beside the document's clips.
    virtual bool readsOpenedFile() const;
    /// Why this file, as it is configured, must not take the place of the opened one: another stream of it (a
    /// film's pictures) would be gone for good. Nothing when it may.
    virtual MaybeError refusalToReplace(const AudioFile& opened) const;
    /// After a save: what this file holds of the ledgers of openedFile() and keptSound(), so that the next
    /// save tells it again; both are forgotten.
    virtual void takeOverLedger();

    // Sound that is kept.
    /// For writing, when all else is configured: a file whose sound, whole and untouched, is what will be
    /// saved. A type of packets keeps it where they can stand in this file as they are, and then has the
    /// encoding of that file: nothing is decoded or encoded, every packet is copied.
    void offerSound(const std::shared_ptr<const AudioFile>& source);
    /// The file whose packets a save copies; null where it encodes.
    const std::shared_ptr<const AudioFile>& keptSound() const { return mKeptSound; }
    /// The same where only runs of what will be saved are untouched sound of that file: a type of packets
    /// keeps those that lie whole within them, and encodes what is around the seams. To be called behind
    /// offerSound(), and does nothing where that was accepted. What the save writes is the same to the frame
    /// (SeamMode::exact), or moved by less than a packet at cuts (SeamMode::packets).
    void offerPieces(const std::shared_ptr<const AudioFile>& source, SoundPieces pieces, SeamMode mode);
    /// The file whose packets a save copies in part, and the runs within which it may; null and none where it
    /// copies all or none.
    const std::shared_ptr<const AudioFile>& piecesSource() const { return mPiecesSource; }
    const SoundPieces& keptPieces() const { return mKeptPieces; }
    SeamMode seamMode() const { return mSeamMode; }
    /// What is encoded where pieces are kept, as it is planned: a save tells it before it begins.
    virtual SeamReport seams() const { return {}; }

    // Writing hooks called by the save loop.
    /// False when the file would exceed the format's size limit.
    virtual bool writeHeader(MaybeError* error);
    virtual MaybeError writeFooter();
    virtual MaybeError finalizeWriting();

    /// Writes a document, or a selection of it (clamped to it, without markers), to fileHandle() in blocks of
    /// 32768 frames. Runs of PCM that clips read in place at the very sample size being written are carried
    /// over unchanged; all others become floats and are dithered. False with `error` filled on failure or
    /// cancellation; the footer is written all the same, unless the header was refused.
    virtual bool saveDocument(const FrameSource& document, const SoundSelection* selection,
                              Progress& progress, MaybeError* error);
    bool storesIntegers() const override { return true; }
    bool needsFramesInOrder() const override { return !storesIntegers(); }

    // Clips.
    /// One clip per channel that reads this file in place. `file` must be this object.
    static std::vector<AudioClipPtr> pcmAudioClips(const std::shared_ptr<const AudioFile>& file);
    /// Decodes a file that requiresConversion() into scratch files: one complete clip per channel. What turns
    /// out on the way (exact length, rate, tags, damage) is this object's afterwards. Empty with `error`
    /// filled when it fails or is cancelled; damaged sound is opened as far as it goes, with a warning.
    virtual std::vector<std::shared_ptr<MutableAudioClip>> convertedAudioClips(Progress& progress,
                                                                               MaybeError* error);

    /// Who hears of the clips of convertedAudioClips() while they grow; null for nobody. Not owned.
    void setDecodingWatcher(DecodingWatcher* watcher) { mDecodingWatcher = watcher; }

    bool storesSamplesLike(const SampleFile& source) const override;

protected:
    AudioFile();
    /// For writing.
    AudioFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    /// For reading: keeps the handle, with 44100 Hz, 16 bits and 2 channels until a header is parsed.
    explicit AudioFile(std::shared_ptr<FileHandle> handle);

    /// Writes the samples of a range that was checked, with all that stands before and after them: the
    /// header, the save loop and the footer, unless a format does it another way.
    virtual MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress);
    /// Whether the packets of an opened file can be copied to this one as it is configured, which then takes
    /// over what its type knows of them (bit rate and dataFormat() will be those of that file). Changes
    /// nothing where they cannot.
    virtual bool takeSound(const AudioFile&) { return false; }
    /// The same for runs of that file's sound, of which there is at least one. seamMode() tells how they may
    /// be kept; writeRange() finds them in keptPieces() then. Called whenever a person looks at the options
    /// of a save, so it must not take long.
    virtual bool takePieces(const AudioFile&, const SoundPieces&) { return false; }
    /// Writes the whole file with the packets of keptSound(): the header, keptBytes() and the footer, unless
    /// a format does it another way.
    virtual MaybeError writeKeptSound(Progress& progress);
    /// For it: where the packets lie in keptSound().
    virtual ByteRange keptBytes() const { return {}; }
    /// Copies a run of bytes of keptSound().
    MaybeError copyKeptBytes(ByteRange bytes, int64_t offset, Progress& progress);
    static Error tooLargeForType();
    /// For every implementation of convertedAudioClips(): to be called once the rate, the sample size and
    /// the frames that the file declares (0: none) are known, before the first sample is appended.
    void tellDecodingDidBegin(const std::vector<std::shared_ptr<MutableAudioClip>>& clips,
                              int64_t expectedFrames) const;

    /// The tags of openedFile() where that is of the same type, so that it holds them as this one will; else
    /// none.
    MetadataDictionary tagsBefore() const;

    /// Takes over channels, rate, length, bit rate and sample width of what a decoder gives.
    void takeShapeOf(const VLAudioFileDecompressor& decoder);
    /// Damage that only decoding shows: a warning, and what a save will not hold.
    void tellOfDamage(const VLAudioFileDecompressor& decoder);
    void tellOfDamagedSound();
    /// How the samples from soundDataOffset() on are stored, for a file whose numberOfFrames() of them are
    /// read as they are; nothing for one that a decoder has to open.
    virtual std::optional<LinearPcmLayout> linearLayout() const { return std::nullopt; }
    /// Tells a decoder that was just opened what only the header knows.
    virtual void adjustDecoder(VLAudioFileDecompressor&) const {}
    /// What convertedAudioClips() does, with a decoder that is open and has given nothing yet.
    std::vector<std::shared_ptr<MutableAudioClip>> decodedClips(VLAudioFileDecompressor& decoder,
                                                                Progress& progress, MaybeError* error);

    double mSampleRate = 44100.0;
    int64_t mBitRate = 0;
    uint32_t mBitsPerSample = 16;
    uint32_t mNumberOfChannels = 2;
    int64_t mNumberOfFrames = 0;
    int64_t mSoundDataOffset = 0;
    FourCharCode mDataFormat = 0;
    bool mIsFloat = false;
    bool mRequiresConversion = false;
    /// For a file that requires conversion: the header shows that there is nothing to decode.
    bool mHoldsNoSound = false;
    bool mIsLittleEndian = false;
    /// A person, or a script, chose one for this file.
    bool mIsOptionChosen = false;
    bool mCanSaveMarkers = false;
    bool mCanSaveMetadata = false;
    bool mCanSaveArtwork = false;
    MarkerList mMarkers;
    AudioMetadata mMetadata;
    std::filesystem::path mFilePath;
    std::shared_ptr<FileHandle> mFileHandle;
    QStringList mWarnings;
    FileLedger mLedger;

private:
    std::vector<std::shared_ptr<MutableAudioClip>> linearClips(const LinearPcmLayout& layout,
                                                               Progress& progress, MaybeError* error);
    MaybeError checkRoomFor(const SaveRange& range) const;
    MaybeError checkSaveRange(const FrameSource& document, const SaveRange& range) const;

    std::shared_ptr<const AudioFile> mOpenedFile;
    std::shared_ptr<const AudioFile> mKeptSound;
    std::shared_ptr<const AudioFile> mPiecesSource;
    SoundPieces mKeptPieces;
    SeamMode mSeamMode = SeamMode::exact;
    DecodingWatcher* mDecodingWatcher = nullptr;
};

} // namespace velloria
