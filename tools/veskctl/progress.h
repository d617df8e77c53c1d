// How far something is that takes long.
#pragma once

#include "tools/veskctl/client.h"

namespace vesk::ctl {

/// A line of standard error that is there from the third second on, if that is a terminal, until the end of
/// this object: "decode: 42 %  123456 messages".
class Progress {
public:
    /// @param unit      What is counted: "messages", "of 300 requests".
    /// @param isWanted  False: it is never shown.
    /// @param after     When it is shown first.
    Progress(std::string what, std::string unit, bool isWanted = true,
             std::chrono::milliseconds after = std::chrono::seconds(2));
    ~Progress() { Erase(); }
    Progress(const Progress&) = delete;

    /// To be called often; shows it a few times a second. @param all  0: not known.
    void operator()(uint64_t done, uint64_t all, uint64_t count);

    /// To be called before something else is printed at the terminal.
    void Erase() noexcept;

private:
    std::string what_;
    std::string unit_;
    Clock::time_point next_; ///< When it is shown again.
    bool isShown_ = false;
};

} // namespace vesk::ctl
