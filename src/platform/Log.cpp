#include "platform/Log.h"

#include <cstdio>
#include <mutex>

namespace velloria
{

namespace
{

std::mutex gLogMutex;
int gNumCaptures = 0;
bool gIsLogEnabled = true;
bool gIsPrintEnabled = true;
QStringList gLogged;
QStringList gPrinted;

void write(const QString& line, QStringList& captured, std::FILE* stream, const bool& isEnabled)
{
    const std::lock_guard lock(gLogMutex);
    if (gNumCaptures > 0) {
        captured.append(line);
        return;
    }
    if (!isEnabled)
        return;
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void logLine(const QString& line)
{
    write(line, gLogged, stderr, gIsLogEnabled);
}

void setLogEnabled(bool enabled)
{
    const std::lock_guard lock(gLogMutex);
    gIsLogEnabled = enabled;
}

void printLine(const QString& line)
{
    write(line, gPrinted, stdout, gIsPrintEnabled);
}

void setPrintEnabled(bool enabled)
{
    const std::lock_guard lock(gLogMutex);
    gIsPrintEnabled = enabled;
}

LogCapture::LogCapture()
{
    const std::lock_guard lock(gLogMutex);
    ++gNumCaptures;
    gLogged.clear();
    gPrinted.clear();
}

LogCapture::~LogCapture()
{
    const std::lock_guard lock(gLogMutex);
    --gNumCaptures;
}

QStringList LogCapture::logged() const
{
    const std::lock_guard lock(gLogMutex);
    return gLogged;
}

QStringList LogCapture::printed() const
{
    const std::lock_guard lock(gLogMutex);
    return gPrinted;
}

} // namespace velloria
