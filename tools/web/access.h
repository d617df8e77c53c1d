// Who may ask: the one who has started the server and whom he has told its token, and no other page.
#pragma once

#include "tools/web/answer.h"

#include <cstdint>
#include <optional>

namespace vesk::web {

class Access {
public:
    /// With a new token. @throw Error if the system has no random numbers
    explicit Access(uint16_t port);

    /// "http://127.0.0.1:8080/?token=..."
    std::string Address() const;

    /// What is answered to those who may not ask this, and to the one who brings the token for the first
    /// time. Nothing: the request may be served.
    std::optional<Answer> Refuse(const Request& request) const;

private:
    bool IsOwnHost(std::string_view host) const;
    bool IsOwnOrigin(std::string_view origin) const;
    bool IsToken(std::string_view text) const;
    bool HasCookie(const Request& request) const;
    std::optional<Answer> RefusePost(const Request& request, bool isPage) const;
    Answer Welcome() const;

    uint16_t port_;
    std::string token_;
};

} // namespace vesk::web
