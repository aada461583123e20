#include "platform/FileAttributes.h"

#include "platform/FileHandle.h"
#include "platform/SystemCall.h"

#include <algorithm>
#include <cerrno>
#include <linux/limits.h>
#include <string>
#include <string_view>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velloria
{

namespace
{

constexpr const char* kAccessList = "system.posix_acl_access";

/// Security modules keep their labels; their checksums and capabilities hold for the old contents only.
bool belongsToContents(std::string_view attribute)
{
    return attribute.starts_with("security.") && attribute != "security.selinux" &&
           attribute != "security.SMACK64";
}

/// With the reason in the system's words.
QString refused(const QString& what, int errnoValue)
{
    const std::string reason = std::generic_category().message(errnoValue);
    return QStringLiteral("%1 (%2)").arg(what, QString::fromLocal8Bit(reason.c_str()));
}

/// Those that a person or a program of theirs has set. The other name spaces are the system's, which sets
/// them as it sees fit.
QString nameForPerson(std::string_view attribute)
{
    if (attribute == kAccessList)
        return QStringLiteral("the access control list");
    return attribute.starts_with("user.")
               ? QStringLiteral("the attribute %1")
                     .arg(QString::fromUtf8(attribute.data(), static_cast<qsizetype>(attribute.size())))
               : QString();
}

QStringList copyExtendedAttributes(const std::filesystem::path& path, int newFile)
{
    QStringList losses;
    // A new file may have got one from its folder that the old file has not.
    ::fremovexattr(newFile, kAccessList);
    std::vector<char> names(XATTR_LIST_MAX);
    std::vector<char> value(XATTR_SIZE_MAX);
    const ssize_t namesSize = ::listxattr(path.c_str(), names.data(), names.size());
    if (namesSize < 0 && errno != ENOTSUP && errno != ENOSYS)
        losses += refused(QStringLiteral("the extended attributes"), errno);
    const char* const end = names.data() + std::max<ssize_t>(namesSize, 0);
    for (const char* name = names.data(); name < end; name += std::string_view(name).size() + 1) {
        if (belongsToContents(name))
            continue;
        const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
        const bool isCopied =
            size >= 0 && uninterrupted([&] {
                             return ::fsetxattr(newFile, name, value.data(), static_cast<size_t>(size), 0);
                         }) == 0;
        const int reason = errno;
        // One that is gone by now is nobody's loss.
        if (const QString shown = nameForPerson(name); !isCopied && !shown.isEmpty() && reason != ENODATA)
            losses += refused(shown, reason);
    }
    return losses;
}

bool isMemberOf(gid_t group)
{
    std::vector<gid_t> groups(static_cast<size_t>(std::max(0, ::getgroups(0, nullptr))));
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<size_t>(std::max(0, count)));
    return group == ::getegid() || std::find(groups.begin(), groups.end(), group) != groups.end();
}

} // namespace

QStringList copyFileAttributes(const std::filesystem::path& path, const struct stat& existing, int newFile)
{
    QStringList losses;
    struct stat status = {};
    if (::fstat(newFile, &status) != 0)
        return {refused(QStringLiteral("the owner and the mode"), errno)};
    if (status.st_uid != existing.st_uid || status.st_gid != existing.st_gid) {
        const auto changeOwner = [&](uid_t owner) {
            return uninterrupted([&] { return ::fchown(newFile, owner, existing.st_gid); }) == 0;
        };
        const bool isTold = !ownershipLosses(existing, displayName(path)).isEmpty();
        if (!changeOwner(existing.st_uid)) {
            const int reason = errno;
            const bool isGroupKept = changeOwner(static_cast<uid_t>(-1));
            if (!isTold && !(isGroupKept && status.st_uid == existing.st_uid))
                losses += refused(QStringLiteral("the owner or the group"), reason);
        }
        ::fstat(newFile, &status);
    }
    losses += copyExtendedAttributes(path, newFile);
    const bool hasOwner = status.st_uid == existing.st_uid;
    const bool hasGroup = status.st_gid == existing.st_gid;
    mode_t mode = existing.st_mode & (hasOwner && hasGroup ? 07777 : 0777);
    if (!hasGroup)
        mode &= ~static_cast<mode_t>(S_IRWXG) | (mode & S_IRWXO) << 3;
    if (uninterrupted([&] { return ::fchmod(newFile, mode); }) != 0)
        losses += refused(QStringLiteral("the mode"), errno);
    return losses;
}

size_t extendedAttributesDigest(int descriptor)
{
    const ssize_t numNameBytes = ::flistxattr(descriptor, nullptr, 0);
    if (numNameBytes <= 0)
        return 0;
    std::string all(static_cast<size_t>(numNameBytes), '\0');
    all.resize(static_cast<size_t>(std::max<ssize_t>(0, ::flistxattr(descriptor, all.data(), all.size()))));
    std::vector<char> value(XATTR_SIZE_MAX);
    const size_t namesEnd = all.size();
    for (size_t at = 0; at < namesEnd; at = all.find('\0', at) + 1) {
        const ssize_t size = ::fgetxattr(descriptor, all.c_str() + at, value.data(), value.size());
        all.append(value.data(), static_cast<size_t>(std::max<ssize_t>(0, size)));
    }
    return std::hash<std::string>()(all);
}

QStringList ownershipLosses(const struct stat& existing, const QString& name)
{
    QStringList losses;
    const uid_t user = ::geteuid();
    if (user == 0)
        return losses;
    if (existing.st_uid != user)
        losses += QStringLiteral("%1 belongs to another user; it will belong to you.").arg(name);
    if (!isMemberOf(existing.st_gid))
        losses += QStringLiteral("%1 belongs to a group that you are not in; it will belong to your group.")
                      .arg(name);
    return losses;
}

} // namespace velloria
