#include "app/recovery/LeftOverTitle.h"

#include "app/look/ItemNames.h"

#include <QCoreApplication>

namespace velloria
{

namespace
{

QString takeTitle(const QString& time, const QString& document)
{
    if (document.isEmpty())
        //: A recording; %1 is the time of day when it began
        //% "Take of %1"
        return qtTrId("left-over-take").arg(time);
    //: A recording; %1 is the time of day when it began, %2 the name of a document
    //% "Take of %1, %2"
    return qtTrId("left-over-take-in").arg(time, document);
}

QString computedTitle(const QString& command, const QString& document)
{
    if (command.isEmpty())
        //: Sound that belongs to a document; %1 is its name
        //% "Part of %1"
        return qtTrId("left-over-part").arg(document);
    //: Sound that was computed; %1 is the name of a command or an effect, %2 that of a document
    //% "%1 in %2"
    return qtTrId("left-over-computed").arg(command, document);
}

} // namespace

QString leftOverTitle(const LeftOverSound& sound)
{
    if (!sound.label)
        //: Sound of which only the time of day (%1) is known
        //% "Sound of %1"
        return qtTrId("left-over-sound").arg(sound.madeText());
    const QString name = ItemNames::shown(sound.label->documentName);
    switch (sound.label->use) {
    case ScratchLabel::Use::recording:
        return takeTitle(sound.madeText(), sound.label->file.isEmpty() ? QString() : name);
    case ScratchLabel::Use::document:
        //: %1 is the name of a document
        //% "%1, not saved"
        return qtTrId("left-over-document").arg(name);
    case ScratchLabel::Use::decoding:
        //: %1 is the name of a document whose file was decoded
        //% "Decoded %1"
        return qtTrId("left-over-decoded").arg(name);
    case ScratchLabel::Use::computation:
        break;
    }
    return computedTitle(sound.label->command, name);
}

} // namespace velloria
