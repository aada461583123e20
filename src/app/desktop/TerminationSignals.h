#pragma once

#include <QObject>

namespace velloria
{

/// Turns a polite kill, Ctrl-C in the terminal or the end of that terminal into a signal of the event loop.
/// One at a time.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    /// They kill again.
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();
};

} // namespace velloria
