// The last messages of all applications, while somebody looks.
#include "tools/web/messages.h"

#include "base/text.h"
#include "decoder/filter.h"
#include "decoder/json.h"
#include "tools/veskctl/shown_exchange.h"
#include "tools/veskctl/watch.h"

#include <algorithm>

namespace vesk::web {

using nlohmann::ordered_json;
using recording::Exchange;

namespace {

constexpr size_t kMostKept = 5000;
constexpr size_t kMostBytes = size_t{32} << 20U;
constexpr std::chrono::seconds kInterest(5);
constexpr std::chrono::seconds kPause(1); ///< Before a service that could not be watched is asked again.
constexpr std::chrono::milliseconds kLongestSilence(200);

size_t BytesOf(const Exchange& exchange)
{
    constexpr size_t kBesides = 1024; // names and the like
    return kBesides + exchange.begin.data.size() + (exchange.end ? exchange.end->data.size() : 0);
}

} // namespace

Messages::Messages(Device& device, ctl::Client& client)
    : device_(device), client_(client), thread_([this] { Work(); })
{
}

Messages::~Messages()
{
    {
        const std::lock_guard guard(lock_);
        isEnded_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

bool Messages::IsAsked() const
{
    return !isEnded_ && asked_ && std::chrono::steady_clock::now() < *asked_ + kInterest;
}

bool Messages::GoesOn()
{
    const std::lock_guard guard(lock_);
    return IsAsked();
}

void Messages::Work()
{
    std::unique_lock guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return isEnded_ || IsAsked(); });
        if (isEnded_)
            return;
        guard.unlock();
        try {
            WatchWhileAsked();
        } catch (const std::exception&) { // there is no service, or it does not answer
        }
        guard.lock();
        if (IsAsked()) // nobody has told to stop, so this has failed
            changed_.wait_for(guard, kPause, [this] { return isEnded_; });
    }
}

void Messages::WatchWhileAsked()
{
    recording::Joiner joiner;
    const auto add = [&](recording::Event&& event) {
        if (std::optional<Exchange> exchange = joiner.Add(std::move(event)))
            Add(std::move(*exchange));
    };
    const auto lose = [&](uint64_t lost) {
        const std::lock_guard guard(lock_);
        last_ += lost;
    };
    ctl::Watch watch(client_, device_.Settings());
    auto heard = std::chrono::steady_clock::now();
    while (GoesOn()) {
        const auto now = std::chrono::steady_clock::now();
        if (watch.Next(now + kLongestSilence, add, lose))
            heard = now;
        else if (now > heard + kPause && !watch.Renew())
            return;
    }
    {
        const std::lock_guard guard(lock_);
        if (isEnded_) // the service sees that this process ends
            return;
    }
    watch.Stop();
    while (watch.Next(std::chrono::steady_clock::now() + kLongestSilence, add, lose))
        continue;
}

void Messages::Add(Exchange&& exchange)
{
    const std::lock_guard guard(lock_);
    if (!firstNs_)
        firstNs_ = exchange.begin.monotonicNs;
    bytes_ += BytesOf(exchange);
    seen_.push_back(std::make_shared<const Seen>(Seen{++last_, std::move(exchange)}));
    while (seen_.size() > kMostKept || bytes_ > kMostBytes) {
        bytes_ -= BytesOf(seen_.front()->exchange);
        seen_.pop_front();
    }
}

Messages::Extract Messages::Copy(const std::optional<uint64_t>& after)
{
    const std::lock_guard guard(lock_);
    asked_ = std::chrono::steady_clock::now();
    changed_.notify_all();
    const auto begin =
        std::upper_bound(seen_.begin(), seen_.end(), after.value_or(0),
                         [](uint64_t number, const auto& one) { return number < one->number; });
    return {{begin, seen_.end()}, last_, firstNs_.value_or(0)};
}

std::string Messages::After(const Wanted& wanted)
{
    const decoder::Filter filter =
        ctl::Usage([&] { return decoder::Filter(device_.Decoder(), wanted.terms); });
    auto [seen, next, firstNs] = Copy(wanted.after);
    const uint64_t begin = wanted.after ? std::min(*wanted.after, next) : next;
    if (!wanted.after) // the newest come first
        std::reverse(seen.begin(), seen.end());
    ordered_json rows = ordered_json::array();
    size_t looked = 0;
    for (const auto& one : seen) {
        if (rows.size() >= wanted.most) {
            if (wanted.after)
                next = seen[looked - 1]->number;
            break;
        }
        ++looked;
        const ctl::ShownExchange shown(device_.Decoder(), one->exchange);
        if (shown.IsNote() ? !wanted.terms.empty() : !filter.Matches(shown.Message(), shown.Answer()))
            continue;
        rows.push_back(decoder::Object(
            {{"id", one->number}, {"line", Printable(shown.Line(firstNs))}, {"exchange", shown.ToJson()}}));
    }
    if (!wanted.after)
        std::reverse(rows.begin(), rows.end());
    const uint64_t lost = wanted.after ? next - begin - looked : 0;
    return decoder::Dump(decoder::Object({{"messages", std::move(rows)}, {"next", next}, {"lost", lost}}));
}

} // namespace vesk::web
