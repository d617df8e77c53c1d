// The buffer queues that clients have created and announced.
#pragma once

#include "service/request.h"

#include <set>

namespace vesk::service {

class Queues {
public:
    Result Announce(Argument<"queHandle">);
    Result Withdraw(Argument<"queHandle">);
    Result InitClient(std::string_view server);

private:
    std::set<uint32_t> announced_;
    std::set<std::string, std::less<>> servers_;
};

} // namespace vesk::service
