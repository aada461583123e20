#pragma once

#include "platform/Error.h"
#include "platform/FileReplacer.h"

#include <QByteArray>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>

namespace velloria
{

/// Where a subcommand writes its result: a file, which is put in place as a whole by finish() (see
/// FileReplacer), or standard output.
class OutputSink
{
public:
    /// Null with `error` filled when the file cannot be made.
    static std::unique_ptr<OutputSink> forFile(const std::filesystem::path& path, MaybeError* error);
    static std::unique_ptr<OutputSink> forStandardOutput();

    MaybeError write(std::span<const std::byte> bytes);
    MaybeError write(const QByteArray& bytes);
    /// Nothing may be written afterwards.
    MaybeError finish();

private:
    explicit OutputSink(std::unique_ptr<FileReplacer> replacer);

    /// Null for standard output.
    std::unique_ptr<FileReplacer> mReplacer;
    int64_t mOffset = 0;
};

} // namespace velloria
