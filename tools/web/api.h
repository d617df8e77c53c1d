// What the page and other programs ask and tell the device by.
#pragma once

#include "tools/web/messages.h"
#include "tools/web/server.h"

namespace vesk::web {

/// Paths below "/api", each with what answers it.
class Api {
public:
    Api(Device& device, Messages& messages) : device_(device), messages_(messages) {}

    /// Null if there is nothing of that path and method.
    Route::Handler Find(const Request& request);

private:
    Answer Scenes(const Request& request);
    Answer Steer(const Request& request);
    Answer MessagesAfter(const Request& request);

    Device& device_;
    Messages& messages_;
};

/// What @p answer gives, or the problem with which it fails.
Answer Guarded(const std::function<Answer()>& answer);

/// A number in a path or an argument. @throw Failure, which names @p what it is
uint64_t NumberFrom(const std::string& text, const std::string& what, uint64_t most);

} // namespace vesk::web
