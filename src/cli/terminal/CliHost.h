#pragma once

#include "cli/terminal/Terminal.h"
#include "controllers/SoundControllerHost.h"
#include "effects/frame/EffectRemark.h"

#include <utility>

namespace velloria
{

/// Lends a controller the terminal: messages on standard error, questions answered with yes. What a save
/// loses is no question here, and nothing is lost by one that fails, which has a line of its own: so it is
/// said at the last moment before the old file is gone.
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
    void effectDidRemark(const QString& name, const EffectRemark& remark) override
    {
        Terminal::say(QStringLiteral("%1: %2").arg(name, remark.inEnglish()));
    }
    void willReplaceFile() override
    {
        for (const QString& loss : std::exchange(mLosses, {}))
            Terminal::say(loss);
    }
    /// After every command. Where it failed before it lost anything, nothing of that is said.
    void commandDidEnd() { mLosses.clear(); }

private:
    void showError(const QString& message) override { Terminal::say(message); }
    void showWarning(const QString& message) override { Terminal::say(message); }
    bool confirmLoss(const QString&, const QStringList& losses) override
    {
        mLosses += losses;
        return true;
    }

    QStringList mLosses;
};

} // namespace velloria
