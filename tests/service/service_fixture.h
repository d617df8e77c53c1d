// An application of a test, and the virtual service as its peer.
#pragma once

#include "support/processes.h"
#include "vesk_service/virtual_service.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

using namespace processes;

inline std::string g_name = "test-app";

struct Notified {
    uint32_t id;
    std::string data;
};
inline std::mutex g_lock;
inline auto& g_notified = *new std::vector<Notified>; // outlives the receive thread, which never ends

inline uint32_t OnNotification(uint32_t notifyId, void* data, uint32_t dataLen)
{
    const std::lock_guard guard(g_lock);
    g_notified.push_back({notifyId, std::string(static_cast<char*>(data), dataLen)});
    return 0;
}

inline size_t CountOf(uint32_t id)
{
    const std::lock_guard guard(g_lock);
    return static_cast<size_t>(
        std::count_if(g_notified.begin(), g_notified.end(), [id](const Notified& n) { return n.id == id; }));
}

inline bool Arrives(uint32_t id, size_t count = 1)
{
    return Eventually([=] { return CountOf(id) >= count; });
}

inline bool FirstFrameOn(uint32_t port)
{
    const std::lock_guard guard(g_lock);
    VeskVideoDisplayLink link;
    std::memcpy(&link, g_notified.back().data.data(), sizeof link);
    return link.portName == "HDMI-OUT-" + std::to_string(port + 1);
}

inline void Install()
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = OnNotification;
    ASSERT_EQ(VeskVideoSetCallback(&info), 0U);
}

inline Child StartService()
{
    Child service = Child::Start(VESK_SERVICE_PATH);
    EXPECT_TRUE(service.AwaitOutput("serving VIDEO/VCTL"));
    return service;
}

/// Sends a request with a payload of whatever length.
inline uint32_t SendRaw(uint16_t msgId, uint64_t param1, const std::string& payload)
{
    const VeskVideoMsgHead head{0, msgId, 0, param1, 0, 0};
    return VeskVideoSendSyncMsgWithoutResponse(&head, payload.empty() ? nullptr : payload.data(),
                                               static_cast<uint32_t>(payload.size()));
}

class ServiceTest : public testing::Test {
protected:
    RuntimeDir directory_;
};
