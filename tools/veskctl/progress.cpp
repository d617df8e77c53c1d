// How far something is that takes long.
#include "tools/veskctl/progress.h"

#include "tools/veskctl/output.h"

namespace vesk::ctl {

using std::chrono::milliseconds;

Progress::Progress(std::string what, std::string unit, bool isWanted, milliseconds after)
    : what_(std::move(what)), unit_(std::move(unit)),
      next_(isWanted && IsScreen(stderr) ? Clock::now() + after : Clock::time_point::max())
{
}

void Progress::operator()(uint64_t done, uint64_t all, uint64_t count)
{
    const Clock::time_point now = Clock::now();
    if (now < next_)
        return;
    next_ = now + milliseconds(250);
    Erase();
    const std::string percent = all == 0 ? "" : std::to_string(done * 100 / all) + " %  ";
    std::fprintf(stderr, "%s: %s%llu %s", what_.c_str(), percent.c_str(),
                 static_cast<unsigned long long>(count), unit_.c_str());
    isShown_ = true;
}

void Progress::Erase() noexcept
{
    if (isShown_)
        std::fputs("\r\x1b[K", stderr);
    isShown_ = false;
}

} // namespace vesk::ctl
