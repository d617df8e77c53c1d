// The group "life": what is opened, started, stopped and closed, by whom, and when.
#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

std::span<const Test> LifeTests()
{
    return {};
}

} // namespace vesk::ctl::check
