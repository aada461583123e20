#include "app/progress/MessageBar.h"

#include "app/look/Theme.h"
#include "app/look/ThemedIcon.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

namespace velloria
{

MessageBar::MessageBar(QWidget* parent)
    : QWidget(parent)
    , mText(new QLabel(this))
{
    mText->setWordWrap(true);
    mText->setTextInteractionFlags(Qt::TextSelectableByMouse);
    mText->setTextFormat(Qt::PlainText);
    auto* const close = new QToolButton(this);
    close->setAutoRaise(true);
    close->setIcon(ThemedIcon::named(QStringLiteral("close")));
    close->setFocusPolicy(Qt::NoFocus);
    //% "Close this message"
    close->setToolTip(qtTrId("message-close"));
    close->setAccessibleName(close->toolTip());
    connect(close, &QToolButton::clicked, this, &QWidget::hide);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 6, 8, 6);
    layout->addWidget(mText, 1);
    layout->addWidget(close);
    hide();
}

void MessageBar::showMessage(const QString& message)
{
    mText->setText(message);
    mText->setAccessibleName(message);
    show();
    QAccessibleEvent event(mText, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

QString MessageBar::message() const
{
    return isHidden() ? QString() : mText->text();
}

void MessageBar::paintEvent(QPaintEvent*)
{
    const Theme theme = Theme::fromPalette(palette());
    QPainter painter(this);
    QColor tint = theme.marker;
    tint.setAlpha(theme.isDark ? 48 : 40);
    painter.fillRect(rect(), tint);
    painter.fillRect(QRect(0, height() - 1, width(), 1), theme.separator);
}

} // namespace velloria
