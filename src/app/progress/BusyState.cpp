#include "app/progress/BusyState.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWidget>
#include <QWindow>
#include <algorithm>

namespace velloria
{

namespace
{

bool isFromPerson(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::NonClientAreaMouseButtonPress:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::NativeGesture:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::Close:
    case QEvent::Quit:
        return true;
    default:
        return false;
    }
}

} // namespace

BusyState& BusyState::shared()
{
    static BusyState state;
    return state;
}

BusyState::Operation::Operation(std::function<void()> cancel)
    : mCancel(std::move(cancel))
{
    BusyState::shared().begin(this);
}

BusyState::Operation::~Operation()
{
    BusyState::shared().end(this);
}

void BusyState::Operation::cancel() const
{
    mCancel();
}

void BusyState::begin(Operation* operation)
{
    if (mOperations.empty())
        QCoreApplication::instance()->installEventFilter(this);
    mOperations.push_back(operation);
}

void BusyState::end(Operation* operation)
{
    std::erase(mOperations, operation);
    if (!mOperations.empty())
        return;
    QCoreApplication::instance()->removeEventFilter(this);
    // What waited may begin a long operation itself, so it must not run in the middle of this one's end.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (!isBusy())
                Q_EMIT becameIdle();
        },
        Qt::QueuedConnection);
}

void BusyState::cancel() const
{
    for (Operation* const operation : mOperations)
        operation->cancel();
}

bool BusyState::belongsToPanel(QObject* object) const
{
    const QWidget* const panel = mOperations.back()->panel();
    if (!panel || !panel->isVisible())
        return false;
    if (const auto* const widget = qobject_cast<QWidget*>(object))
        return widget->window() == panel;
    return object == panel->windowHandle();
}

bool BusyState::eventFilter(QObject* object, QEvent* event)
{
    if (mOperations.empty() || !isFromPerson(event->type()) || belongsToPanel(object))
        return false;
    // Shortcuts of the panel's buttons come to objects that are no widgets.
    if (event->type() == QEvent::Shortcut && object->parent() && belongsToPanel(object->parent()))
        return false;
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
        mOperations.back()->cancel();
    event->ignore();
    return true;
}

} // namespace velloria
