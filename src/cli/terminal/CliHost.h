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
    /// What was cancelled ends the program, which says so; the others get a line.
    void resultIsPartial(PartialResult result) override
    {
        if (result == PartialResult::fewerTracksPasted)
            Terminal::say(
                QStringLiteral("Fewer tracks were copied than are selected; they went to the first ones."));
        else if (result == PartialResult::tracksNotPasted)
            Terminal::say(QStringLiteral("More tracks were copied than there are from the selection on; the "
                                         "last ones were left out."));
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
