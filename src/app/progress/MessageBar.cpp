#include "app/progress/MessageBar.h"

#include "app/look/ItemNames.h"
#include "app/look/Theme.h"
#include "app/look/ThemedIcon.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <QUndoStack>

namespace velloria
{

MessageBar::MessageBar(QWidget* parent)
    : QWidget(parent)
    , mText(new QLabel(this))
    //: Takes back what the message beside the button tells of
    //% "Undo"
    , mUndo(new QPushButton(qtTrId("message-undo"), this))
{
    mText->setWordWrap(true);
    mText->setTextInteractionFlags(Qt::TextSelectableByMouse);
    mText->setTextFormat(Qt::PlainText);
    auto* const close = new QToolButton(this);
    close->setAutoRaise(true);
    close->setIcon(ThemedIcon::named(QStringLiteral("close")));
    close->setFocusPolicy(Qt::TabFocus);
    close->installEventFilter(this);
    //% "Close this message"
    close->setToolTip(qtTrId("message-close"));
    close->setAccessibleName(close->toolTip());
    connect(close, &QToolButton::clicked, this, &QWidget::hide);
    mUndo->setFocusPolicy(Qt::TabFocus);
    mUndo->setAutoDefault(true); // Return presses it
    mUndo->installEventFilter(this);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(14, 6, 8, 6);
    layout->addWidget(mText, 1);
    layout->addWidget(mUndo);
    layout->addWidget(close);
    hide();
}

void MessageBar::showMessage(const QString& message)
{
    mOffer.reset();
    mUndo->hide();
    mText->setText(ItemNames::wrappable(message));
    mText->setAccessibleName(message);
    show();
    QAccessibleEvent event(mText, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void MessageBar::offerUndo(const QString& message, QUndoStack& history, bool isStepOpen)
{
    showMessage(message);
    mUndo->show();
    mOffer = std::make_unique<QObject>();
    const int indexAfterStep = history.index() + (isStepOpen ? 1 : 0);
    connect(mUndo, &QPushButton::clicked, mOffer.get(), [this, &history, indexAfterStep] {
        // A step that is still open may yet turn out to change nothing.
        if (history.index() == indexAfterStep)
            history.undo();
        else
            hide();
    });
    hideAtStep(history, indexAfterStep, indexAfterStep);
}

void MessageBar::showUntilStep(const QString& message, QUndoStack& history, bool isStepOpen)
{
    showMessage(message);
    mOffer = std::make_unique<QObject>();
    hideAtStep(history, history.index(), history.index() + (isStepOpen ? 1 : 0));
}

/// When the history leaves these indices, or ends.
void MessageBar::hideAtStep(QUndoStack& history, int from, int to)
{
    connect(&history, &QUndoStack::indexChanged, mOffer.get(), [this, from, to](int index) {
        if (index < from || index > to)
            hide();
    });
    connect(&history, &QObject::destroyed, mOffer.get(), [this] { hide(); });
}

bool MessageBar::offersUndo() const
{
    return !isHidden() && !mUndo->isHidden();
}

/// The keys that press a button are commands of the window elsewhere.
bool MessageBar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ShortcutOverride) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter)
            event->accept();
    }
    return QWidget::eventFilter(watched, event);
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
