#include "app/look/PlainTexts.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>

namespace velloria
{

PlainTexts::PlainTexts(QObject* parent)
    : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool PlainTexts::eventFilter(QObject* watched, QEvent* event)
{
    // Sent once to each widget, before it is shown; tool tips and the texts of messages are labels, too.
    if (event->type() != QEvent::Polish)
        return false;
    auto* const label = qobject_cast<QLabel*>(watched);
    if (label && label->textFormat() == Qt::AutoText)
        label->setTextFormat(Qt::PlainText);
    return false;
}

} // namespace velloria
