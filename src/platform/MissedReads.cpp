#include "platform/MissedReads.h"

#include "platform/FileHandle.h"

namespace velloria
{

Error missedReadsError(const FileHandle& handle)
{
    return {Error::Code::readFailed,
            QStringLiteral("Some of “%1” could not be read; its disk may be failing or out of reach.")
                .arg(displayName(handle.path()))};
}

} // namespace velloria
