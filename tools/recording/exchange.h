// Puts together what belongs together: a request and its answer, a notification and its handler's end.
#pragma once

#include "tools/recording/event.h"

#include <list>
#include <optional>

namespace vesk::recording {

/// A message and what became of it, or a note.
struct Exchange {
    Event begin;              ///< Request, notification, note; an answer whose request was not recorded.
    std::optional<Event> end; ///< Answer or done; nothing if it did not come.
};

/// Joins events in the order of a recording. It remembers no more than the last 1024 that have no end yet.
class Joiner {
public:
    /// Takes an event. Returns the exchange that it completes, or one that is given up in favour of it.
    std::optional<Exchange> Add(Event&& event);

    /// An exchange that has no end, oldest first, once no more events come. Nothing if there is none left.
    std::optional<Exchange> TakeOpen();

    /// How many have no end yet.
    size_t Open() const { return open_.size(); }

private:
    std::list<Event> open_;
};

} // namespace vesk::recording
