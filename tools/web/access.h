// Who may ask: whoever knows the token that the server has printed, and no page of elsewhere.
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

    /// What is answered to those who may not ask this. Nothing: the request may be served.
    /// @param isOpen  It needs no token.
    std::optional<Answer> Refuse(const Request& request, bool isOpen) const;

private:
    bool IsOwnHost(std::string_view host) const;
    bool IsOwnOrigin(std::string_view origin) const;
    bool IsToken(std::string_view text) const;
    bool HasToken(const Request& request) const;

    uint16_t port_;
    std::string token_;
};

} // namespace vesk::web
