#pragma once

#include "measurement/SoundStatistics.h"

#include <QByteArray>
#include <QString>
#include <filesystem>

namespace velloria
{

/// What `measure` tells about a sound.
namespace MeasurementText
{
/// One object on one line.
QByteArray json(const SoundStatistics& statistics, const std::filesystem::path& path);

/// Some lines for a person.
QString table(const SoundStatistics& statistics, const std::filesystem::path& path);
} // namespace MeasurementText

} // namespace velloria
