#pragma once

#include "scripting/CommandDictionary.h"

namespace velloria
{

/// The parts that the dictionary is put together from.
namespace CommandGroups
{
/// select, copy, cut, paste, delete, clear, crop, undo, redo.
void appendEditCommands(std::vector<CommandDescription>& commands);
/// insert silence, mix paste, mixdown, resample, set format, add track, remove tracks.
void appendConversionCommands(std::vector<CommandDescription>& commands);
void appendMarkerCommands(std::vector<CommandDescription>& commands);
/// set tracks, set metadata, save.
void appendDocumentCommands(std::vector<CommandDescription>& commands);
/// One for every effect of the registry, and fade.
void appendEffectCommands(std::vector<CommandDescription>& commands);
/// One for every generator of the registry.
void appendGeneratorCommands(std::vector<CommandDescription>& commands);
} // namespace CommandGroups

/// Shorthand for the tables.
CommandParameter makeParameter(const QString& key, CommandParameter::Type type, const QString& unit,
                               const QVariant& minimum, const QVariant& maximum, const QVariant& defaultValue,
                               const QString& summary);

} // namespace velloria
