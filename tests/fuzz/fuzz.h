// What the fuzz targets share: a runtime directory, messages as they travel, and checks that end the run.
#pragma once

#include "vesk_host/message.h"
#include "vesk_video/vesk_video.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace fuzz {

inline void Check(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
#define CHECK(condition) fuzz::Check(condition, #condition)

/// Runtime directory of this process, made at the first call and removed when the process ends; its name is
/// needed until then.
inline const std::string& RuntimeDir()
{
    static const std::string& path = *new std::string([] {
        std::string name = "/tmp/vesk-fuzz-XXXXXX";
        CHECK(mkdtemp(name.data()) != nullptr);
        setenv("VESK_RUNTIME_DIR", name.c_str(), 1);
        setenv("VESK_LOG_TARGET", "none", 1);
        std::atexit([] { std::filesystem::remove_all(RuntimeDir()); });
        return name;
    }());
    return path;
}

inline OsMsgEnvelope To(const char* process, const char* task, std::string& data)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = 5;
    std::strncpy(envelope.recvProcName, process, sizeof envelope.recvProcName - 1);
    std::strncpy(envelope.recvTaskName, task, sizeof envelope.recvTaskName - 1);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = data.empty() ? nullptr : data.data();
    return envelope;
}

/// A socket at the endpoint "peer"/"task": connected to it, or listening there.
inline int PeerSocket(decltype(&connect) attach)
{
    sockaddr_un address{AF_UNIX, ""};
    (RuntimeDir() + "/peer.task").copy(address.sun_path, sizeof address.sun_path - 1);
    const int peer = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    const timeval limit{10, 0};
    setsockopt(peer, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    CHECK(attach(peer, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
    return peer;
}

/// Something like @p frame, a message without data as it travels: other data, a wrong byte, cut off.
inline std::string Altered(FuzzedDataProvider& input, std::string frame)
{
    std::string data = input.ConsumeRandomLengthString(16384);
    if (input.ConsumeBool()) // longer than any input of the fuzzer
        data.append(input.ConsumeIntegralInRange<size_t>(0, 100000), 'x');
    const auto announced = input.ConsumeBool() ? static_cast<uint32_t>(data.size())
                                               : input.ConsumeIntegralInRange<uint32_t>(0, 5U << 20U);
    std::memcpy(frame.data() + frame.size() - sizeof announced, &announced, sizeof announced);
    if (input.ConsumeBool())
        frame[input.ConsumeIntegralInRange<size_t>(0, frame.size() - 1)] = input.ConsumeIntegral<char>();
    frame += data;
    if (input.ConsumeBool())
        frame.resize(input.ConsumeIntegralInRange<size_t>(0, frame.size()));
    return frame;
}

/// Sends some bytes in one packet or two, rarely with an empty one, which passes for the end, after the
/// first. False when the peer has gone or does not read.
inline bool SendSplit(FuzzedDataProvider& input, int socket, const std::string& bytes)
{
    const auto sends = [socket](std::string_view packet) {
        return send(socket, packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
    };
    const std::string_view all = bytes;
    const auto first =
        input.ConsumeBool() ? input.ConsumeIntegralInRange<size_t>(1, all.size() + 1) : all.size();
    const bool isWhole = first >= all.size();
    return (all.empty() || sends(all.substr(0, first))) &&
           (input.ConsumeIntegralInRange(0, 63) != 1 || sends("")) && (isWhole || sends(all.substr(first)));
}

} // namespace fuzz
