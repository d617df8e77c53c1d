// An application of a test, and the virtual service as its peer.
#pragma once

#include "support/processes.h"
#include "vesk_host/message.h"
#include "vesk_service/virtual_service.h"
#include "vesk_video/vesk_video.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

using namespace processes;

inline std::string g_name = "test-app";

/// The bytes of a record.
template <class Record>
std::string BytesOf(const Record& record)
{
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// Bytes as the words that records are made of, which is how a test shows them.
inline std::vector<uint32_t> Words(const std::string& bytes)
{
    std::vector<uint32_t> words((bytes.size() + 3) / 4);
    std::memcpy(words.data(), bytes.data(), bytes.size());
    return words;
}

using Notified = std::pair<uint32_t, std::string>;
inline std::mutex g_lock;
inline auto& g_notified = *new std::vector<Notified>; // outlives the receive thread, which never ends

inline uint32_t OnNotification(uint32_t notifyId, void* data, uint32_t dataLen)
{
    // These two point to their parameter, whatever the length.
    if (notifyId == VESK_VIDEO_ON_IFREAME_REQUEST || notifyId == VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY)
        dataLen = sizeof(uint32_t);
    const std::lock_guard guard(g_lock);
    g_notified.emplace_back(notifyId, std::string(static_cast<char*>(data), dataLen));
    return 0;
}

/// The data of the notifications @p id, once there are @p count.
inline std::vector<std::string> Arrived(uint32_t id, size_t count)
{
    std::vector<std::string> arrived;
    Eventually([&] {
        arrived.clear();
        const std::lock_guard guard(g_lock);
        for (const auto& [notifyId, data] : g_notified) {
            if (notifyId == id)
                arrived.push_back(data);
        }
        return arrived.size() >= count;
    });
    return arrived;
}

/// The numbers of all notifications up to now.
inline std::string Seen()
{
    const std::lock_guard guard(g_lock);
    std::string numbers;
    for (const auto& [id, data] : g_notified)
        numbers += std::to_string(id) + ' ';
    return numbers;
}

inline bool Arrives(uint32_t id, size_t count = 1)
{
    return Arrived(id, count).size() == count;
}

inline void Install()
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = OnNotification;
    EXPECT_EQ(VeskVideoSetCallback(&info), 0U);
}

inline Child StartService()
{
    Child service = Child::Start(VESK_SERVICE_PATH);
    EXPECT_TRUE(service.AwaitOutput("serving VIDEO/VCTL"));
    return service;
}

/// Sends a request with a payload of whatever length.
inline uint32_t SendRaw(uint16_t msgId, uint64_t param1, const std::string& payload, uint16_t sub = 0,
                        uint32_t param2 = 0)
{
    const VeskVideoMsgHead head{0, msgId, sub, param1, param2, 0};
    return VeskVideoSendSyncMsgWithoutResponse(&head, payload.empty() ? nullptr : payload.data(),
                                               static_cast<uint32_t>(payload.size()));
}

/// The number that a request answers with.
template <class Function, class... Arguments>
uint32_t Number(Function function, Arguments... arguments)
{
    uint32_t number = 0;
    EXPECT_EQ(function(arguments..., &number), 0U);
    return number;
}

/// An application; the services that it talks to are the test's.
struct Application {
    RuntimeDir directory;

    ~Application()
    {
        EXPECT_NE(SendRaw(VESK_VIDEO_MSG_GET_VO_COUNT, 0, ""), 0U); // gives its connections up
        HostMsgEndTask("VAPI");
    }
};

/// An application that is known to a service.
struct VideoService : Application {
    Child service = StartService();

    VideoService()
    {
        EXPECT_EQ(VeskVideoInit(), 0U);
        std::list<NorthMsgResendInfo> held; // all announcements, until there is a callback
        EXPECT_TRUE(Eventually([&] { return VeskVideoGetMsgResendQ(&held) == 0 && held.size() == 9; }));
        Install();
    }
    ~VideoService()
    {
        service.Signal(SIGTERM);
        EXPECT_TRUE(service.AwaitOutput("ended"));
        EXPECT_EQ(service.Wait(), 0); // with the leak sanitizer: nothing has leaked
    }
};
