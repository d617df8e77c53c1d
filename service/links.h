// The sources that displays show, and the notifications of those that come and go.
#pragma once

#include "service/request.h"

#include <string>
#include <vector>

namespace vesk::service {

class Service;

class Links {
public:
    Links(Service& service, Notifications& notifications) : service_(service), notifications_(notifications)
    {
    }

    /// Notifies the sources that have come to a display, or gone from one, since the last call: the owner of
    /// the engine that drives it. Without memory to find them, the next call does.
    void Notify();

    /// Forgets what the displays have shown: nothing of it is notified as gone.
    void Reset() { links_.clear(); }

private:
    /// A source that a display shows, and the client that is told.
    struct Link {
        Sender owner;
        VeskServiceDisplayLink shown{};

        bool operator==(const Link&) const;
    };
    std::vector<Link> Now() const;
    bool IsKnown(const Sender& owner) const;

    Service& service_;
    Notifications& notifications_;
    std::vector<Link> links_;
};

} // namespace vesk::service
