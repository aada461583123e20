#pragma once

#include "effects/dynamics/DynamicsEffect.h"

namespace velloria
{

/// Lowers what is louder than a threshold, and raises the whole to make up for it.
class Compressor : public DynamicsEffect
{
public:
    enum Parameter : size_t { threshold, ratio, attack, release, automatic, postGain, rms };

    explicit Compressor(const QString& name);

    const PresetFormat* presetFormat() const override;
    void setParameters(const QVariantMap& arguments) override;

protected:
    DynamicsEngine::Settings settings() const override;
    void parameterWasEdited(size_t index) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
    void adjustPostGain();
};

} // namespace velloria
