#pragma once

#include <QString>
#include <optional>

namespace velloria
{

/// What went wrong, in words for the person at the program. A function that can fail answers
/// std::optional<Error> (nothing means success) or fills an `std::optional<Error>*` argument.
struct Error {
    enum class Code {
        failed,
        userCancelled,
        noPermission,
        corruptFile,
        unsupported,
        fileTooLarge,
        diskFull,
        readFailed,
        writeFailed,
        sourceChanged, ///< A file that sound is read from was changed or cut meanwhile.
        targetChanged, ///< Another program changed the file that was to be replaced.
    };

    Code code = Code::failed;
    QString message;

    bool isUserCancelled() const { return code == Code::userCancelled; }

    static Error cancelled() { return {Code::userCancelled, QStringLiteral("Cancelled.")}; }

    /// The error of a failed system call, as "<what>: <the system's text>".
    static Error fromErrno(const QString& what, int errnoValue);
};

using MaybeError = std::optional<Error>;

} // namespace velloria
