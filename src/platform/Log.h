#pragma once

#include <QString>
#include <QStringList>

namespace velloria
{

/// Writes one line to standard error (and so to the desktop's log). Any thread.
void logLine(const QString& line);

/// Whether logLine() writes at all; it does at first. A program whose standard error belongs to its user
/// switches it off. A LogCapture gets the lines all the same.
void setLogEnabled(bool enabled);

/// Writes one line to standard output. Any thread.
void printLine(const QString& line);

/// Whether printLine() writes; the same for a program whose standard output is its user's.
void setPrintEnabled(bool enabled);

/// Collects the lines of logLine() and printLine() instead of writing them, for as long as it lives.
/// Captures do not nest: the newest one gets the lines.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList logged() const;
    QStringList printed() const;
    bool hasLogged(const QString& line) const { return logged().contains(line); }
};

} // namespace velloria
