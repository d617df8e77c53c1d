// Puts together what belongs together: a request and its answer, a notification and its handler's end.
#include "tools/recording/exchange.h"

#include <algorithm>

namespace vesk::recording {

std::optional<Exchange> Joiner::Add(Event&& event)
{
    constexpr size_t kMaxOpen = 1024;
    if (event.kind == Kind::kRequest || event.kind == Kind::kNotification) {
        open_.push_back(std::move(event));
        return open_.size() > kMaxOpen ? TakeOpen() : std::nullopt;
    }
    const auto begin = std::find_if(open_.begin(), open_.end(), [&](const Event& open) {
        return event.exchange != 0 && open.process == event.process && open.exchange == event.exchange;
    });
    if (event.kind == Kind::kNote || begin == open_.end())
        return Exchange{std::move(event), std::nullopt};
    Exchange exchange{std::move(*begin), std::move(event)};
    open_.erase(begin);
    return exchange;
}

std::optional<Exchange> Joiner::TakeOpen()
{
    if (open_.empty())
        return std::nullopt;
    Exchange exchange{std::move(open_.front()), std::nullopt};
    open_.pop_front();
    return exchange;
}

} // namespace vesk::recording
