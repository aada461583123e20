#include "Classes/CoreAudio/RealtimeTrap.h"

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

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
ssize_t read(int descriptor, void* data, size_t size)
{
    using Read = ssize_t (*)(int, void*, size_t);
    static const auto next = reinterpret_cast<Read>(::dlsym(RTLD_NEXT, "read"));
    note();
    return next(descriptor, data, size);
}
ssize_t pread64(int descriptor, void* data, size_t size, off64_t offset)
{
    using Read = ssize_t (*)(int, void*, size_t, off64_t);
    static const auto next = reinterpret_cast<Read>(::dlsym(RTLD_NEXT, "pread64"));
    note();
    return next(descriptor, data, size, offset);
}
ssize_t write(int descriptor, const void* data, size_t size)
{
    using Write = ssize_t (*)(int, const void*, size_t);
    static const auto next = reinterpret_cast<Write>(::dlsym(RTLD_NEXT, "write"));
    note();
    return next(descriptor, data, size);
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
}

void RealtimeTrap::leave()
{
    --tDepth;
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
