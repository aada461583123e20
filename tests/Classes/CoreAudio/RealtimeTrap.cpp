#include "Classes/CoreAudio/RealtimeTrap.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <ucontext.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELLORIA_CAN_TRAP 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELLORIA_CAN_TRAP 0
#endif
#endif
#ifndef VELLORIA_CAN_TRAP
#define VELLORIA_CAN_TRAP 1
#endif

namespace
{

thread_local int tDepth = 0;
std::atomic<int> gNumViolations{0};
std::atomic<int> gNumCalls{0};

[[maybe_unused]] void note()
{
    if (tDepth > 0)
        gNumViolations.fetch_add(1);
}

#if VELLORIA_CAN_TRAP && defined(__x86_64__) && defined(PR_SET_SYSCALL_USER_DISPATCH)
// The kernel looks at this byte at each system call of the thread, and sends a signal instead while it says
// so.
thread_local volatile char tSelector = SYSCALL_DISPATCH_FILTER_ALLOW;

/// Lets the call be made again, and what follows until the trap is set anew.
void noteSystemCall(int, siginfo_t* information, void* context)
{
    constexpr greg_t instructionBytes = 2; // of "syscall"
    tSelector = SYSCALL_DISPATCH_FILTER_ALLOW;
    gNumViolations.fetch_add(1);
    greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    registers[REG_RIP] -= instructionBytes;
    registers[REG_RAX] = information->si_syscall;
}

/// Once a thread.
bool makeThreadAskForSystemCalls()
{
    struct sigaction action = {};
    action.sa_sigaction = noteSystemCall;
    action.sa_flags = SA_SIGINFO;
    return ::sigaction(SIGSYS, &action, nullptr) == 0 &&
           ::prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, 0, 0, &tSelector) == 0;
}

bool watchSystemCalls(bool isOn)
{
    thread_local const bool canWatch = makeThreadAskForSystemCalls();
    tSelector = isOn && canWatch ? SYSCALL_DISPATCH_FILTER_BLOCK : SYSCALL_DISPATCH_FILTER_ALLOW;
    return canWatch;
}
#else
bool watchSystemCalls(bool)
{
    return false;
}
#endif

} // namespace

#if VELLORIA_CAN_TRAP
// The program's own definitions go before those of the libraries, also for calls from within the libraries.
extern "C" {
void* allocate(size_t size) __asm__("__libc_malloc");
void* allocateCleared(size_t count, size_t size) __asm__("__libc_calloc");
void* reallocate(void* memory, size_t size) __asm__("__libc_realloc");
void deallocate(void* memory) __asm__("__libc_free");

void* malloc(size_t size)
{
    note();
    return allocate(size);
}
void* calloc(size_t count, size_t size)
{
    note();
    return allocateCleared(count, size);
}
void* realloc(void* memory, size_t size)
{
    note();
    return reallocate(memory, size);
}
void free(void* memory)
{
    if (memory)
        note();
    deallocate(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    using Lock = int (*)(pthread_mutex_t*);
    static const auto lock = reinterpret_cast<Lock>(::dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    note();
    return lock(mutex);
}
}
#endif

namespace velloria::kit
{

namespace
{

class TrappedOutput : public OutputClient
{
public:
    explicit TrappedOutput(OutputClient& client)
        : mClient(client)
    {
    }
    int32_t render(float* left, float* right, uint32_t numFrames) noexcept override
    {
        RealtimeTrap::enter();
        const int32_t status = mClient.render(left, right, numFrames);
        RealtimeTrap::leave();
        return status;
    }
    void didRender(double heardFrom, double heardUntil) noexcept override
    {
        RealtimeTrap::enter();
        mClient.didRender(heardFrom, heardUntil);
        RealtimeTrap::leave();
    }

private:
    OutputClient& mClient;
};

class TrappedInput : public InputClient
{
public:
    explicit TrappedInput(InputClient& client)
        : mClient(client)
    {
    }
    void capture(const float* frames, uint32_t numFrames) noexcept override
    {
        RealtimeTrap::enter();
        mClient.capture(frames, numFrames);
        RealtimeTrap::leave();
    }

private:
    InputClient& mClient;
};

} // namespace

void RealtimeTrap::enter()
{
    gNumCalls.fetch_add(1);
    ++tDepth;
    watchSystemCalls(true);
}

void RealtimeTrap::leave()
{
    --tDepth;
    watchSystemCalls(tDepth > 0);
}

int RealtimeTrap::numViolations()
{
    return gNumViolations.load();
}

int RealtimeTrap::numCalls()
{
    return gNumCalls.load();
}

bool RealtimeTrap::canTrap()
{
    return VELLORIA_CAN_TRAP;
}

bool RealtimeTrap::seesSystemCalls()
{
    return watchSystemCalls(false);
}

std::unique_ptr<OutputStream> TrappingHardware::openOutput(const StreamRequest& request, OutputClient& client,
                                                           MaybeError* error)
{
    mOutputClients.push_back(std::make_unique<TrappedOutput>(client));
    return SimulatedHardware::openOutput(request, *mOutputClients.back(), error);
}

std::unique_ptr<InputStream> TrappingHardware::openInput(const StreamRequest& request, InputClient& client,
                                                         MaybeError* error)
{
    mInputClients.push_back(std::make_unique<TrappedInput>(client));
    return SimulatedHardware::openInput(request, *mInputClients.back(), error);
}

} // namespace velloria::kit
