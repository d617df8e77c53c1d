// The virtual device, as one client asks for it that many pages share.
#pragma once

#include "tools/veskctl/exchange.h"
#include "tools/web/answer.h"
#include "vesk_service/control.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <map>
#include <mutex>

namespace vesk::web {

/// What the device or this server has answered at some time.
struct Document {
    std::shared_ptr<const nlohmann::ordered_json> json;
    Body text;
    std::string tag;
};

/// Any thread may call.
class Device {
public:
    /// @param client  Outlives the device. @throw Failure if a file of records cannot be used
    Device(const ctl::Settings& settings, ctl::Client& client);

    /// What "device state --json" prints. What is asked for again within a moment is the same. Of those who
    /// ask at the same time, one asks the service. @throw Failure, Error
    Document State() { return Get(state_, "VESK_CONTROL_STATE", {}); }
    Document Scenes() { return Scenes(scenes_, VESK_CONTROL_EVERY_PORT); }
    Document Scenes(uint64_t display);
    Document Faults();

    /// Sends a request. @throw Failure as RequireAnswer; a refusal is an answer
    ctl::Call Send(const ctl::Prepared& request);

    const decoder::Decoder& Decoder() { return settings_.Decoder(); }
    ctl::Settings& Settings() { return settings_; }

private:
    using Clock = std::chrono::steady_clock;

    /// A document that was asked for, or why there is none.
    struct Kept {
        std::mutex lock;
        std::optional<Clock::time_point> until;
        Document document;
        std::optional<ctl::Failure> failure;
    };

    Document Scenes(Kept& kept, uint64_t port);
    Document Get(Kept& kept, const char* request, const std::vector<decoder::Assignment>& arguments);
    template <class Ask>
    Document Get(Kept& kept, const Ask& ask);

    ctl::Settings settings_;
    ctl::Client& client_;
    Kept state_;
    Kept scenes_;
    Kept faults_;
    std::mutex lock_;
    std::map<uint64_t, std::shared_ptr<Kept>> scenesOf_; ///< By display.
};

} // namespace vesk::web
