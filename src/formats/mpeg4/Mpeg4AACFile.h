#pragma once

#include "formats/file/SurroundLosses.h"
#include "formats/mpeg4/Mpeg4File.h"

namespace velloria
{

/// MPEG-4 files of AAC. Also stands for opened files of any other sound but Apple Lossless.
class Mpeg4AACFile : public Mpeg4File
{
public:
    /// For writing.
    Mpeg4AACFile(double sampleRate, uint32_t sampleSize, uint32_t numChannels);
    /// For reading; made by Mpeg4File::open().
    explicit Mpeg4AACFile(std::shared_ptr<FileHandle> handle);

    QString fileFormatUTI() const override;
    FileOptions fileOptions() const override;
    void validateAndCorrectParameters() override;
    bool storesIntegers() const override { return false; }
    bool encodesWithLoss() const override { return true; }
    QStringList soundLosses() const override
    {
        return keptSound() || piecesSource() ? QStringList() : surroundLosses(mNumberOfChannels, true);
    }

protected:
    bool isConfiguredLike(const Mpeg4File& opened) const override;
    /// A single run of the sound is kept; where runs meet, or other sound, everything is encoded.
    bool takePieces(const AudioFile& source, const SoundPieces& pieces) override;
    std::unique_ptr<Mpeg4Seams> planSeams(int64_t numFrames) const override;
};

} // namespace velloria
