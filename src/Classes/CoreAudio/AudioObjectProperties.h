#pragma once

#include "platform/hardware/AudioHardware.h"

#include <QByteArray>
#include <variant>

namespace velloria::AudioObjectProperties
{

/// Status codes of a question that has no answer.
constexpr int32_t kBadObject = static_cast<int32_t>(fourCharCode("!obj"));
constexpr int32_t kUnknownProperty = static_cast<int32_t>(fourCharCode("who?"));

/// The bytes of a property, or a status code.
std::variant<QByteArray, int32_t> read(const HardwareState& state, uint32_t objectID, FourCharCode selector,
                                       FourCharCode scope, uint32_t element);

} // namespace velloria::AudioObjectProperties
