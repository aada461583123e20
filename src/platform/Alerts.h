#pragma once

#include <QString>
#include <QStringList>

namespace velloria
{

/// How the model tells or asks the person something. Implemented by windows in the editor, by standard error
/// on the command line, by recorders in tests. Main thread.
class Alerts
{
public:
    virtual ~Alerts() = default;

    /// Says that something failed.
    virtual void showError(const QString& message) = 0;

    /// Says something worth knowing that stops nothing.
    virtual void showWarning(const QString& message) = 0;

    /// Says what would be lost by going on, and asks. True to go on.
    virtual bool confirmLoss(const QString& question, const QStringList& losses) = 0;
};

} // namespace velloria
