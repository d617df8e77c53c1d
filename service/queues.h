// The buffer queues that clients have created and announced.
#pragma once

#include "service/numbered.h"

#include <set>

namespace vesk::service {

class Queues {
public:
    void Release(pid_t process) { announced.Release(process); }

    Numbered<Owned> announced{VESK_SERVICE_MAX_QUEUES};

    Result Announce(const Sender&, Argument<"queHandle">);
    Result InitClient(std::string_view server);

private:
    friend class State;

    std::set<std::string, std::less<>> servers_;
};

} // namespace vesk::service
