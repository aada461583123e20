#pragma once

#include "document/SoundDocument.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace velloria
{

/// What `info` tells about an opened file.
namespace FileDescription
{
/// The name of a file as "path", and its bytes in base64 as "pathBytes" where they are no text.
void insertPath(QJsonObject& object, const std::filesystem::path& path);

/// One object on one line.
QByteArray json(const SoundDocument& document);

/// Some lines for a person.
QString text(const SoundDocument& document);
} // namespace FileDescription

} // namespace velloria
