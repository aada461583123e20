#pragma once

#include "cli/terminal/Terminal.h"
#include "controllers/SoundControllerHost.h"

#include <utility>

namespace velloria
{

/// Lends a controller the terminal: messages on standard error, questions answered with yes. What a save
/// loses is no question here, and nothing is lost by one that fails, which has a line of its own: so it is
/// said once the command went well.
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
    /// After every command, with how it went.
    void commandDidEnd(bool isDone)
    {
        if (isDone)
            sayLosses();
        mLosses.clear();
    }

private:
    void showError(const QString& message) override { Terminal::say(message); }
    void showWarning(const QString& message) override
    {
        // Of a save that went well, otherwise.
        sayLosses();
        Terminal::say(message);
    }
    bool confirmLoss(const QString&, const QStringList& losses) override
    {
        mLosses += losses;
        return true;
    }
    void sayLosses()
    {
        for (const QString& loss : std::exchange(mLosses, {}))
            Terminal::say(loss);
    }

    QStringList mLosses;
};

} // namespace velloria
