// The virtual device, as one client asks for it that many pages share.
#include "tools/web/device.h"

#include "tools/veskctl/device_control.h"
#include "tools/veskctl/state.h"

#include <nlohmann/json.hpp>

namespace vesk::web {

using ctl::Failure;
using nlohmann::ordered_json;

namespace {

constexpr uint32_t kTimeoutMs = 1000;
constexpr std::chrono::milliseconds kFresh(16); // shorter than a page's picture, which would else come late
constexpr std::chrono::milliseconds kSilentFor(500); // a service that does not answer is left alone
constexpr size_t kMostDisplays = 256;

} // namespace

Device::Device(const ctl::Settings& settings, ctl::Client& client) : settings_(settings), client_(client)
{
    settings_.json = true;
    settings_.Decoder(); // before several threads ask for it
    settings_.steer = [this](const ctl::Prepared& request) {
        ctl::Call call = Send(request);
        ctl::RequireOk(call);
        return call;
    };
}

ctl::Call Device::Send(const ctl::Prepared& request)
{
    ctl::Call call = ctl::Perform(client_, settings_.Decoder(), request, kTimeoutMs);
    ctl::RequireAnswer(call);
    return call;
}

Document Device::Scenes(uint64_t display)
{
    std::shared_ptr<Kept> kept;
    {
        const std::lock_guard guard(lock_);
        if (scenesOf_.size() >= kMostDisplays) // most of them do not exist
            scenesOf_.clear();
        kept = scenesOf_.try_emplace(display, std::make_shared<Kept>()).first->second;
    }
    return Scenes(*kept, display);
}

Document Device::Scenes(Kept& kept, uint64_t port)
{
    return Get(kept, "VESK_CONTROL_SCENE", {{"port", std::to_string(port)}});
}

Document Device::Faults()
{
    return Get(faults_, [&] {
        const ctl::Call call = Send(ctl::Prepare(Decoder(), "VESK_CONTROL_FAULT_LIST", {}));
        ctl::RequireOk(call);
        return Document{nullptr, std::make_shared<const std::string>(ctl::ControlAnswerJson(Decoder(), call)),
                        ""};
    });
}

Document Device::Get(Kept& kept, const char* request, const std::vector<decoder::Assignment>& arguments)
{
    return Get(kept, [&] {
        auto json = std::make_shared<const ordered_json>(ctl::GetDocument(settings_, request, arguments));
        auto text = std::make_shared<const std::string>(decoder::Dump(*json));
        return Document{std::move(json), std::move(text), ""};
    });
}

template <class Ask>
Document Device::Get(Kept& kept, const Ask& ask)
{
    const std::lock_guard guard(kept.lock);
    if (!kept.until || Clock::now() >= *kept.until) {
        kept.failure.reset();
        try {
            kept.document = ask();
            kept.document.tag = TagOf(*kept.document.text);
        } catch (const Failure& failure) {
            kept.failure = failure;
        } catch (const Error& error) {
            kept.failure = Failure(ctl::kFailed, error);
        }
        const bool isSilent = kept.failure && kept.failure->status == ctl::kTimedOut;
        kept.until = Clock::now() + (isSilent ? kSilentFor : kFresh);
    }
    if (kept.failure)
        throw Failure(*kept.failure);
    return kept.document;
}

} // namespace vesk::web
