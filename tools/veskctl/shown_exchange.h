// A recorded message and what became of it, as a line for people and as JSON.
#pragma once

#include "decoder/decoder.h"
#include "tools/recording/exchange.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace vesk::ctl {

/// Refers to the exchange and to the decoder.
class ShownExchange {
public:
    ShownExchange(const decoder::Decoder& decoder, const recording::Exchange& exchange);

    /// True for what is no message; then there is none to be asked for.
    bool IsNote() const { return !message_; }
    const decoder::Decoded& Message() const { return *message_; }
    /// Null if there is none.
    const decoder::Decoded* Answer() const { return answer_ ? &*answer_ : nullptr; }

    /// "12.004512 my-app[812:814] VO_START outEngNo=1 -> OK 0.31 ms". @param firstNs  When time begins.
    std::string Line(uint64_t firstNs) const;

    nlohmann::ordered_json ToJson() const;

private:
    const decoder::Decoder& decoder_;
    const recording::Exchange& exchange_;
    std::optional<decoder::Decoded> message_;
    std::optional<decoder::Decoded> answer_;
};

/// Of nanoseconds.
inline double Milliseconds(uint64_t ns)
{
    return static_cast<double>(ns) / 1e6;
}

} // namespace vesk::ctl
