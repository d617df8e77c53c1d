// Who may ask: whoever knows the token that the server has printed, and no page of elsewhere.
#include "tools/web/access.h"

#include "base/bytes.h"
#include "base/error.h"
#include "base/text.h"

#include <sys/random.h>

#include <algorithm>
#include <array>

namespace vesk::web {

namespace {

std::string NewToken()
{
    std::array<std::byte, 16> random{};
    if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
        throw Error("the system has no random numbers for a token");
    return Hex(random);
}

Answer Forbid(const std::string& text)
{
    return TextAnswer(403, text);
}

} // namespace

Access::Access(uint16_t port) : port_(port), token_(NewToken()) {}

std::string Access::Address() const
{
    return "http://127.0.0.1:" + std::to_string(port_) + "/?token=" + token_;
}

bool Access::IsOwnHost(std::string_view host) const
{
    const std::string port = ':' + std::to_string(port_);
    if (host.ends_with(port))
        host.remove_suffix(port.size());
    else if (port_ != 80) // which browsers leave out
        return false;
    return SameText(host, "127.0.0.1") || SameText(host, "localhost") || SameText(host, "[::1]");
}

bool Access::IsOwnOrigin(std::string_view origin) const
{
    constexpr std::string_view kScheme = "http://";
    return origin.starts_with(kScheme) && IsOwnHost(origin.substr(kScheme.size()));
}

/// Takes the same time for every text of the token's length.
bool Access::IsToken(std::string_view text) const
{
    if (text.size() != token_.size())
        return false;
    unsigned different = 0;
    for (size_t i = 0; i < text.size(); ++i)
        different |= static_cast<unsigned>(text[i] ^ token_[i]);
    return different == 0;
}

/// In a header that pages of elsewhere cannot set. A cookie would be sent to all ports of this machine, and
/// so to servers of others.
bool Access::HasToken(const Request& request) const
{
    constexpr std::string_view kBearer = "Bearer ";
    const std::string_view authorization = request.Header("Authorization");
    return authorization.size() > kBearer.size() &&
           SameText(authorization.substr(0, kBearer.size()), kBearer) &&
           IsToken(authorization.substr(kBearer.size()));
}

std::optional<Answer> Access::Refuse(const Request& request, bool isOpen) const
{
    // A page of elsewhere, whose name leads here, would ask under that name.
    const auto isHost = [](const auto& header) { return SameText(header.first, "Host"); };
    if (std::count_if(request.headers.begin(), request.headers.end(), isHost) != 1 ||
        !IsOwnHost(request.Header("Host")))
        return Forbid("This server is asked as 127.0.0.1:" + std::to_string(port_) + " only.");
    if (const std::string_view origin = request.Header("Origin"); !origin.empty() && !IsOwnOrigin(origin))
        return Forbid("Other pages may not ask this server.");
    if (!isOpen && !HasToken(request))
        return Forbid("Open the address that veskctl web has printed.");
    const std::string_view type = request.Header("Content-Type");
    if (request.IsPost() && !SameText(type.substr(0, type.find_first_of("; ")), "application/json"))
        return TextAnswer(415, "A request needs Content-Type: application/json.");
    return std::nullopt;
}

} // namespace vesk::web
