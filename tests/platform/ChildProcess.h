#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velloria::test
{

/// Starts a copy of this process that runs `body` and ends with its answer as exit status.
inline pid_t startChild(const std::function<int()>& body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    return child;
}

/// The child's exit status; 1000 + the signal when one ended it.
inline int waitForChild(pid_t child)
{
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

inline int runInChild(const std::function<int()>& body)
{
    return waitForChild(startChild(body));
}

/// From now on no file of this process grows beyond `numBytes`: a stand-in for a full disk.
inline void limitFileSize(rlim_t numBytes)
{
    const rlimit limit = {numBytes, numBytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

/// Enters a folder, then makes the process one that may not do everything; one that started so stays what it
/// is. Relative paths work then even where the way to the folder is closed to others.
inline void dropPrivilegesIn(const std::filesystem::path& folder)
{
    constexpr unsigned nobody = 65534;
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    std::filesystem::current_path(folder);
    if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0))
        ::_exit(99);
}

/// From now on a system call fails with `errnoValue` when all bits of `mask` are set in its argument, as on a
/// system that does not have it.
inline void refuseSystemCall(unsigned number, unsigned argument, unsigned mask, unsigned errnoValue)
{
    constexpr auto word = [](size_t offset) { return static_cast<unsigned>(offset); };
    const unsigned argumentAt = word(offsetof(seccomp_data, args)) + 8 * argument;
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, word(offsetof(seccomp_data, nr))),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, argumentAt),
        BPF_STMT(BPF_ALU | BPF_AND | BPF_K, mask),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, mask, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | errnoValue),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program = {sizeof code / sizeof code[0], code};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        ::_exit(98);
}

} // namespace velloria::test
