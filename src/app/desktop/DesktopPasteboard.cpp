#include "app/desktop/DesktopPasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace velloria
{

void DesktopPasteboard::setText(const QString& text)
{
    QGuiApplication::clipboard()->setText(text);
}

QString DesktopPasteboard::text() const
{
    return QGuiApplication::clipboard()->text();
}

} // namespace velloria
