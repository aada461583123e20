#pragma once

#include "platform/Alerts.h"

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

} // namespace velloria
