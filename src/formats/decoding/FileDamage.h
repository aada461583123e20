#pragma once

#include "platform/Error.h"

#include <QString>

namespace velloria
{

/// What a person is told of a damaged file called `name`; the same sentences for every file type.
namespace FileDamage
{

/// “name” cannot be read: <why>.
Error unreadable(const QString& name, const QString& why);

/// For a type whose files must hold some sound.
Error noSoundToSave(const QString& typeName);

QString soundCutShort(const QString& name);
/// Some of it is silence now.
QString soundDamaged(const QString& name);
/// It goes on with another rate, sample size or number of channels.
QString soundChangesFormat(const QString& name);
/// It goes on with streams of their own.
QString furtherSoundNotOpened(const QString& name);
/// It decodes without an error, but not to what was encoded.
QString checksumWrong(const QString& name);
QString headerNeverCompleted(const QString& name);
QString markersUnreadable(const QString& name);
/// Its cue points are not the markers that this program wrote into it.
QString markersDisagree(const QString& name);
QString tagsUnreadable(const QString& name);

} // namespace FileDamage

} // namespace velloria
