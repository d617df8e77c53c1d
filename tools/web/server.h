// Speaks HTTP with whom the operating system lets reach 127.0.0.1.
#pragma once

#include "base/descriptor.h"
#include "tools/web/access.h"
#include "tools/web/workers.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

struct MHD_Connection;
struct MHD_Daemon;

namespace vesk::web {

/// Where an answer comes from.
struct Route {
    using Handler = std::function<Answer(const Request& request)>;

    Handler handle;             ///< Null: there is nothing of this path. Called by many threads.
    Workers* workers = nullptr; ///< Who asks the handler; null: it answers at once.
    bool isOpen = false;        ///< Whoever asks needs no token.
};

/// A socket that listens on 127.0.0.1.
struct Listener {
    Descriptor socket;
    uint16_t port;

    /// @param wanted  0: any port that is free. @throw Error
    static Listener At(uint16_t wanted);
};

class Server {
public:
    /// The request has no body yet.
    using Find = std::function<Route(const Request& request)>;

    /// @param access  Outlives the server. @throw Error
    Server(const Listener& listener, const Access& access, const Find& find);
    /// After the end of all workers, since nobody else can answer those that wait for them.
    ~Server();
    Server(const Server&) = delete;

    /// Closes connections whose clients take too long. To be called now and then.
    void CloseSlow();

private:
    struct Handling;
    using Clock = std::chrono::steady_clock;

    struct Connected {
        int socket = -1;
        std::optional<Clock::time_point> waitsSince; ///< When its client's turn began; nothing: it is ours.
    };

    /// From now on, it is the client's turn.
    void WaitFor(MHD_Connection* client);
    /// It waits for an answer now.
    void HaveWait(MHD_Connection* client);

    Find find_;
    const Access& access_;
    std::mutex lock_;
    std::map<MHD_Connection*, Connected> connected_;
    MHD_Daemon* daemon_ = nullptr;
};

} // namespace vesk::web
