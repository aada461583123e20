#include "cli/terminal/OutputSink.h"

#include "cli/terminal/Terminal.h"

#include <cerrno>
#include <unistd.h>

namespace velloria
{

OutputSink::OutputSink(std::unique_ptr<FileReplacer> replacer)
    : mReplacer(std::move(replacer))
{
}

std::unique_ptr<OutputSink> OutputSink::forFile(const std::filesystem::path& path, MaybeError* error)
{
    std::unique_ptr<FileReplacer> replacer = FileReplacer::create(path, error);
    return replacer ? std::unique_ptr<OutputSink>(new OutputSink(std::move(replacer))) : nullptr;
}

std::unique_ptr<OutputSink> OutputSink::forStandardOutput()
{
    return std::unique_ptr<OutputSink>(new OutputSink(nullptr));
}

MaybeError OutputSink::write(std::span<const std::byte> bytes)
{
    if (mReplacer) {
        MaybeError error = mReplacer->handle()->writeAt(mOffset, bytes);
        mOffset += static_cast<int64_t>(bytes.size());
        return error;
    }
    while (!bytes.empty()) {
        const ssize_t numWritten = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (numWritten < 0 && errno == EINTR) {
            if (Terminal::isInterrupted())
                return Error::cancelled();
            continue;
        }
        if (numWritten < 0)
            return Error::fromErrno(QStringLiteral("Standard output cannot be written"), errno);
        bytes = bytes.subspan(static_cast<size_t>(numWritten));
    }
    return std::nullopt;
}

MaybeError OutputSink::write(const QByteArray& bytes)
{
    return write(std::as_bytes(std::span(bytes.constData(), static_cast<size_t>(bytes.size()))));
}

MaybeError OutputSink::finish()
{
    return mReplacer ? mReplacer->commit() : std::nullopt;
}

} // namespace velloria
