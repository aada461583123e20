#pragma once

#include "cli/terminal/Terminal.h"
#include "controllers/SoundControllerHost.h"

namespace velloria
{

/// Lends a controller the terminal: messages on standard error, questions answered with yes.
class CliHost : public SoundControllerHost, private Alerts
{
public:
    Alerts& alerts() override { return *this; }
    std::unique_ptr<Progress> beginProgress(const QString& title) override
    {
        return std::make_unique<TerminalProgress>(title);
    }

private:
    void showError(const QString& message) override { Terminal::say(message); }
    void showWarning(const QString& message) override { Terminal::say(message); }
    bool confirmLoss(const QString&, const QStringList& losses) override
    {
        for (const QString& loss : losses)
            Terminal::say(loss);
        return true;
    }
};

} // namespace velloria
