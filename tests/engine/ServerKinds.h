#pragma once

#include "engine/PipeWireServer.h"
#include "engine/PulseServer.h"

namespace velloria::kit
{

/// The servers that a desktop may run.
enum class ServerKind { pulseAudio, pipeWire };

inline std::unique_ptr<SoundServer> startServer(ServerKind kind, std::vector<SoundServer::Sink> sinks)
{
    if (kind == ServerKind::pipeWire)
        return std::make_unique<PipeWireServer>(std::move(sinks));
    return std::make_unique<PulseServer>(std::move(sinks));
}

/// What a suite that runs against each of them is instantiated with.
inline auto eachServer()
{
    return testing::Values(ServerKind::pulseAudio, ServerKind::pipeWire);
}

inline std::string nameOfServer(const testing::TestParamInfo<ServerKind>& info)
{
    return info.param == ServerKind::pipeWire ? "PipeWire" : "PulseAudio";
}

/// A test with a server of the kind it is run for; skipped where there is none.
template <typename Base> class WithServer : public Base, public testing::WithParamInterface<ServerKind>
{
protected:
    /// False when the test is to be skipped.
    bool startServer(std::vector<SoundServer::Sink> sinks = SoundServer::usualSinks())
    {
        server = kit::startServer(GetParam(), std::move(sinks));
        return server->isUsable();
    }

    std::unique_ptr<SoundServer> server;
};

} // namespace velloria::kit

/// Starts the server of a WithServer test with these sinks, or skips the test.
#define START_SERVER_OR_SKIP(...)                                                                            \
    if (!this->startServer(__VA_ARGS__))                                                                     \
        GTEST_SKIP() << this->server->problem();                                                             \
    static_assert(true)
