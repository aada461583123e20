#pragma once

#include "platform/Error.h"
#include "platform/Progress.h"

#include <QStringList>
#include <chrono>
#include <filesystem>

namespace velloria
{

/// What the program says to the person who started it, on standard error.
namespace Terminal
{
/// One line, "velloria-cli: " before it; what would break the line is replaced.
void say(const QString& message);

/// Says why something failed. A message that does not name the path gets it put in front; a cancelled job is
/// just that.
void sayError(const Error& error, const std::filesystem::path& path = {});

/// One line for each, after the path.
void sayAll(const QStringList& messages, const std::filesystem::path& path);

/// A text without characters that would move a terminal's cursor or break a line.
QString withoutControls(const QString& text);

/// From now on an interrupt (Ctrl-C, a kill) asks the running job to stop, and a second one ends the program.
/// A reader that goes away and a file size limit become errors of the write.
void catchSignals();
bool isInterrupted();
} // namespace Terminal

/// A progress bar on standard error when that is a terminal, else nothing; shown only once a job turns out to
/// take longer than a second. Cancelled by an interrupt.
class TerminalProgress : public Progress
{
public:
    explicit TerminalProgress(const QString& title);
    ~TerminalProgress() override;
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void setProgressValue(double value) override;
    bool isCancelled() const override { return Terminal::isInterrupted(); }

private:
    using Clock = std::chrono::steady_clock;

    void draw(double value);

    const bool mHasTerminal;
    const Clock::time_point mStart = Clock::now();
    Clock::time_point mLastUpdate = mStart;
    bool mIsShown = false;
};

} // namespace velloria
