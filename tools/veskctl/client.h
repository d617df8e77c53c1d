// A client of the video service, as an application is one.
#pragma once

#include "base/bytes.h"
#include "tools/veskctl/failure.h"
#include "vesk_video/vesk_video.h"

#include <chrono>
#include <optional>
#include <string>

namespace vesk::ctl {

using Clock = std::chrono::steady_clock;

/// Names of this process and its receiving task, as the service knows them: "veskctl-PID" and "VAPI".
std::string OwnProcessName();
inline constexpr char kOwnTaskName[] = "VAPI";

/// Where a service is found.
struct ServiceName {
    std::string process;
    std::string task;
};

/// Reads "VIDEO/VCTL". @throw Failure if it is not that
ServiceName ParseService(const std::string& text);

/// A notification as it arrived.
struct Arrived {
    uint32_t number;
    Bytes data;
    std::chrono::system_clock::time_point time;
};

/// What came of a request.
struct Outcome {
    uint32_t platformResult; ///< 0, or why there is no answer.
    std::string reason;      ///< The platform's own words about that; may be empty.
    Bytes answer;            ///< Empty if the request is asynchronous.
    std::chrono::duration<double, std::milli> duration;
};

/// Status and text for a request that got no answer.
Failure NoAnswer(const std::string& name, const Outcome& outcome);

/// The one client of this process. What it opens or creates at the service is freed when it ends.
class Client {
public:
    /// What SIGINT and SIGTERM do: end the program, or end the wait for a notification.
    enum class Interrupt { kEndsProgram, kEndsWait };

    /// @param service  Process and task of the service: "VIDEO/VCTL". @throw Failure if it is not that
    /// @param name     As the service is to know this process; at most 15 characters.
    Client(const std::string& service, Interrupt interrupt, std::string name = OwnProcessName());

    /// Announces this process to the service, as VeskVideoInit and VeskVideoSetCallback do, so that it
    /// receives notifications. @throw Failure
    void Announce(uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT);

    /// Tells the service that this process ends, as VeskVideoExit does.
    ~Client();
    Client(const Client&) = delete;

    /// Sends a request and waits for its answer; if @p isAnswered is false, only sends it. @p data is header
    /// and payload.
    Outcome Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs);

    /// Takes the next notification, waiting for it until @p deadline if one is given, else for ever. Nothing
    /// if there is none in time or the user interrupts.
    std::optional<Arrived> Next(std::optional<Clock::time_point> deadline);

    /// True once SIGINT or SIGTERM has arrived.
    bool IsInterrupted() const;
    /// Has waits wait again; the next signal ends the program.
    void GoOn();

private:
    ServiceName service_;
    std::string name_;
    bool isAnnounced_ = false;
};

} // namespace vesk::ctl
