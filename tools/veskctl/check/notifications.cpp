// The group "notifications": what the service tells its clients, and when.
#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

std::span<const Test> NotificationTests()
{
    return {};
}

} // namespace vesk::ctl::check
