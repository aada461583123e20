#pragma once

#include "formats/file/DecodedFile.h"
#include "platform/codec/StreamDescription.h"

namespace velloria
{

/// MPEG-4 files (.m4a, .mp4) and QuickTime movies: the first sound track that can be decoded, tags in iTunes'
/// list, chapters as markers. Opening counts the frames; the sound is decoded as a whole. What an encoder put
/// before and after the sound is left out where the file tells it. The two kinds that are written differ in
/// their encoding only.
class Mpeg4File : public DecodedFile
{
public:
    static bool validateFileHeader(const FileHandle& handle);

    /// Of the class of the sound that it holds. Null without an error for a file of another type; null with
    /// one for a file of this type that cannot be read.
    static std::shared_ptr<AudioFile> open(std::shared_ptr<FileHandle> handle, MaybeError* error);

    QString encodingDescription() const override;
    uint32_t maximumNumberOfChannels() const override { return 8; }

protected:
    Mpeg4File(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    explicit Mpeg4File(std::shared_ptr<FileHandle> handle);

    MaybeError writeRange(const FrameSource& document, const SaveRange& range, Progress& progress) override;
    /// The encoding that is written.
    virtual FourCharCode writtenFormat() const = 0;

private:
    void readTables();
    StreamDescription fileDataFormat() const;
};

} // namespace velloria
