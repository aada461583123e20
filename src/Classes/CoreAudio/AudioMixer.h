#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "Classes/CoreAudio/MixerComponent.h"

#include <memory>

namespace velloria
{

/// Mixes the channels of a source to left and right, one component for each channel. A source with another
/// number of channels than there are components counts as exhausted. One thread at a time.
class AudioMixer : public DataSource
{
public:
    void addComponent(const MixerComponent& component) { mComponents.push_back(component); }
    const std::vector<MixerComponent>& components() const { return mComponents; }
    std::vector<MixerComponent>& components() { return mComponents; }
    void setSource(std::shared_ptr<DataSource> source) { mSource = std::move(source); }

    /// Two buffers, left and right.
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

private:
    std::vector<MixerComponent> mComponents;
    std::shared_ptr<DataSource> mSource;
    SampleBlock mInput;
};

} // namespace velloria
