#include "platform/Error.h"

#include <cerrno>
#include <system_error>

namespace velloria
{

namespace
{

Error::Code codeOf(int errnoValue)
{
    switch (errnoValue) {
    case EACCES:
    case EPERM:
    case EROFS:
        return Error::Code::noPermission;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Error::Code::diskFull;
    default:
        return Error::Code::failed;
    }
}

} // namespace

Error Error::fromErrno(const QString& what, int errnoValue)
{
    const std::string text = std::generic_category().message(errnoValue);
    return {codeOf(errnoValue), what + QStringLiteral(": ") + QString::fromLocal8Bit(text.c_str())};
}

} // namespace velloria
