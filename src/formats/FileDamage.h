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

QString soundCutShort(const QString& name);
QString headerNeverCompleted(const QString& name);
QString markersUnreadable(const QString& name);
QString tagsUnreadable(const QString& name);

} // namespace FileDamage

} // namespace velloria
