#pragma once

#include "document/SoundDocument.h"

#include <QByteArray>
#include <QString>

namespace velloria
{

/// What `info` tells about an opened file.
namespace FileDescription
{
/// One object on one line.
QByteArray json(const SoundDocument& document);

/// Some lines for a person.
QString text(const SoundDocument& document);
} // namespace FileDescription

} // namespace velloria
