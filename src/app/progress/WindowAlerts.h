#pragma once

#include "platform/Alerts.h"
#include "platform/Error.h"

class QWidget;

namespace velloria
{

/// Messages as boxes on a window. Main thread; each call waits for the answer.
class WindowAlerts : public Alerts
{
public:
    explicit WindowAlerts(QWidget* window)
        : mWindow(window)
    {
    }

    void showError(const QString& message) override;
    void showWarning(const QString& message) override;
    bool confirmLoss(const QString& question, const QStringList& losses) override;

private:
    QWidget* mWindow;
};

/// Shows an error, unless there is none or the person cancelled.
void reportError(Alerts& alerts, const MaybeError& error);

} // namespace velloria
