#pragma once

#include "formats/mpeg4/Mpeg4File.h"

namespace velloria
{

/// MPEG-4 files of Apple Lossless: read at 16, 20, 24 and 32 bits, written at 16 and 24.
class Mpeg4AppleLosslessFile : public Mpeg4File
{
public:
    /// For writing.
    Mpeg4AppleLosslessFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    /// For reading; made by Mpeg4File::open().
    explicit Mpeg4AppleLosslessFile(std::shared_ptr<FileHandle> handle);

    QString fileFormatUTI() const override;
    FileOptions fileOptions() const override;
    void validateAndCorrectParameters() override;

protected:
    bool isConfiguredLike(const Mpeg4File& opened) const override;
    bool takePieces(const AudioFile& source, const SoundPieces& pieces) override;
    std::unique_ptr<Mpeg4Seams> planSeams(int64_t numFrames) const override;
};

} // namespace velloria
