// Who may ask: the one who has started the server and whom he has told its token, and no other page.
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
    for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (SameText(host, std::string(name) + ':' + std::to_string(port_)))
            return true;
    }
    return false;
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

bool Access::HasCookie(const Request& request) const
{
    const std::string name = "vesk-" + std::to_string(port_);
    return std::any_of(request.cookies.begin(), request.cookies.end(),
                       [&](const auto& cookie) { return cookie.first == name && IsToken(cookie.second); });
}

std::optional<Answer> Access::Refuse(const Request& request) const
{
    // A page of elsewhere, whose name leads here, would ask under that name.
    const auto isHost = [](const auto& header) { return SameText(header.first, "Host"); };
    if (std::count_if(request.headers.begin(), request.headers.end(), isHost) != 1 ||
        !IsOwnHost(request.Header("Host")))
        return Forbid("This server is asked as 127.0.0.1:" + std::to_string(port_) + " only.");
    if (const std::string_view origin = request.Header("Origin"); !origin.empty() && !IsOwnOrigin(origin))
        return Forbid("Other pages may not ask this server.");
    if (const std::string* token = request.Argument("token");
        token != nullptr && request.path == "/" && !request.IsPost() && IsToken(*token))
        return Welcome();
    constexpr std::string_view kBearer = "Bearer ";
    const std::string_view authorization = request.Header("Authorization");
    const bool isMachine = authorization.size() > kBearer.size() &&
                           SameText(authorization.substr(0, kBearer.size()), kBearer) &&
                           IsToken(authorization.substr(kBearer.size()));
    if (!isMachine && !HasCookie(request))
        return Forbid("Open the address that veskctl web has printed.");
    return request.IsPost() ? RefusePost(request, !isMachine) : std::nullopt;
}

std::optional<Answer> Access::RefusePost(const Request& request, bool isPage) const
{
    const std::string_view type = request.Header("Content-Type");
    if (!SameText(type.substr(0, type.find_first_of("; ")), "application/json"))
        return TextAnswer(415, "A request needs Content-Type: application/json.");
    if (isPage && request.Header("Origin").empty() && request.Header("Sec-Fetch-Site") != "same-origin")
        return Forbid("Only this server's page may ask this.");
    return std::nullopt;
}

/// Keeps the token out of the address, and so out of the browser's history.
Answer Access::Welcome() const
{
    Answer answer{303, "", nullptr, ""};
    answer.headers = {{"Location", "/"},
                      {"Set-Cookie", "vesk-" + std::to_string(port_) + '=' + token_ +
                                         "; HttpOnly; SameSite=Strict; Path=/"}};
    return answer;
}

} // namespace vesk::web
