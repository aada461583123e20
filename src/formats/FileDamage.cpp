#include "formats/FileDamage.h"

namespace velloria::FileDamage
{

Error unreadable(const QString& name, const QString& why)
{
    return {Error::Code::corruptFile, QStringLiteral("“%1” cannot be read: %2.").arg(name, why)};
}

QString soundCutShort(const QString& name)
{
    return QStringLiteral("“%1” ends before its sound does; what it holds was opened.").arg(name);
}

QString headerNeverCompleted(const QString& name)
{
    return QStringLiteral("The header of “%1” was never completed; everything up to the end of the file was "
                          "taken as sound.")
        .arg(name);
}

QString markersUnreadable(const QString& name)
{
    return QStringLiteral("Some markers of “%1” could not be read.").arg(name);
}

QString tagsUnreadable(const QString& name)
{
    return QStringLiteral("The tags of “%1” could not be read.").arg(name);
}

} // namespace velloria::FileDamage
