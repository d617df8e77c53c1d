// The group "values": what is set, numbers that are handed out, and bounds.
#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

std::span<const Test> ValueTests()
{
    return {};
}

} // namespace vesk::ctl::check
