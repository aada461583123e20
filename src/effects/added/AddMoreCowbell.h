#pragma once

#include "effects/frame/Filter.h"

#include <filesystem>

namespace velloria
{

/// Adds a cowbell, struck again and again without a pause, to every track in the same place. Its sound is a
/// file beside the program; without it the effect leaves the sound as it is, and says so.
class AddMoreCowbell : public Filter
{
public:
    /// Of the file so many frames at most are used.
    static constexpr int64_t kMostFrames = 20672;

    explicit AddMoreCowbell(const QString& name);
    AddMoreCowbell(const QString& name, const std::filesystem::path& sound);

    /// Where the sound is, or should be.
    static std::filesystem::path soundFile();

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

    std::optional<EffectRemark> remark() const override;

protected:
    void parameterDidChange(size_t index) override;

private:
    void loadSound(const std::filesystem::path& file);

    float mAmpFactor = 1.0F;
    FloatBuffer mCowbellData;
    size_t mCowbellIndex = 0;
    QString mWhyMissing; ///< without a sound
};

} // namespace velloria
