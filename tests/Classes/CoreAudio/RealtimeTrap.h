#pragma once

#include "platform/hardware/SimulatedHardware.h"

namespace velloria::kit
{

/// Counts what a device's thread must not do: calls of malloc and its kin, locks of a mutex, and the first
/// system call, whoever makes it (reads, writes and maps of files, waits), between the entry into a render or
/// capture routine and its return, on that thread. With a sanitizer, which replaces those functions itself,
/// it counts nothing.
namespace RealtimeTrap
{
void enter();
void leave();
int numViolations();
/// Calls of enter() so far.
int numCalls();
bool canTrap();
/// Whether this kernel and processor let it see system calls.
bool seesSystemCalls();
} // namespace RealtimeTrap

/// Simulated hardware that springs the trap around each call of a client.
class TrappingHardware : public SimulatedHardware
{
public:
    std::unique_ptr<OutputStream> openOutput(const StreamRequest& request, OutputClient& client,
                                             MaybeError* error) override;
    std::unique_ptr<InputStream> openInput(const StreamRequest& request, InputClient& client,
                                           MaybeError* error) override;

private:
    std::vector<std::unique_ptr<OutputClient>> mOutputClients;
    std::vector<std::unique_ptr<InputClient>> mInputClients;
};

} // namespace velloria::kit
