#include "formats/decoding/FileDamage.h"

namespace velloria::FileDamage
{

Error unreadable(const QString& name, const QString& why)
{
    return {Error::Code::corruptFile, QStringLiteral("“%1” cannot be read: %2.").arg(name, why)};
}

Error noSoundToSave(const QString& typeName)
{
    return {Error::Code::unsupported,
            QStringLiteral("%1 files cannot be empty, and there is no sound to save.").arg(typeName)};
}

QString soundCutShort(const QString& name)
{
    return QStringLiteral("“%1” ends before its sound does; what it holds was opened.").arg(name);
}

QString soundDamaged(const QString& name)
{
    return QStringLiteral("Some of the sound of “%1” is damaged; there is silence in its place, or it is "
                          "missing.")
        .arg(name);
}

QString furtherSoundNotOpened(const QString& name)
{
    return QStringLiteral("“%1” holds several recordings one behind the other; the first one was opened.")
        .arg(name);
}

QString soundChangesFormat(const QString& name)
{
    return QStringLiteral("“%1” goes on with another sample rate, sample size or number of channels; what "
                          "comes before that was opened.")
        .arg(name);
}

QString checksumWrong(const QString& name)
{
    return QStringLiteral(
               "The sound of “%1” does not agree with the checksum in the file; it may be damaged.")
        .arg(name);
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

QString markersDisagree(const QString& name)
{
    return QStringLiteral(
               "The cue points of “%1” are not the markers that stand beside them; the cue points were "
               "opened.")
        .arg(name);
}

QString tagsUnreadable(const QString& name)
{
    return QStringLiteral("The tags of “%1” could not be read.").arg(name);
}

} // namespace velloria::FileDamage
