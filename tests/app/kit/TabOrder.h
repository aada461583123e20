#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <gtest/gtest.h>

namespace velloria::test
{

/// The Tab key goes through a dialog as one reads it, and to its buttons last.
inline void expectReadingOrder(QDialog& dialog)
{
    QRect before;
    bool isAtButtons = false;
    for (QWidget* widget = dialog.nextInFocusChain(); widget != &dialog;
         widget = widget->nextInFocusChain()) {
        const bool isStop = dialog.isAncestorOf(widget) && widget->isVisible() && widget->isEnabled() &&
                            (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy();
        if (!isStop)
            continue;
        if (qobject_cast<QDialogButtonBox*>(widget->parentWidget())) {
            isAtButtons = true;
            continue;
        }
        EXPECT_FALSE(isAtButtons) << widget->metaObject()->className() << " comes after the buttons";
        const QRect place(widget->mapTo(&dialog, QPoint()), widget->size());
        const bool isInRow = place.center().y() >= before.top() && place.center().y() <= before.bottom();
        EXPECT_TRUE(isInRow ? place.left() >= before.left() : place.top() > before.top())
            << widget->metaObject()->className() << " " << widget->accessibleName().toStdString();
        before = place;
    }
}

} // namespace velloria::test
