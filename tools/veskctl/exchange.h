// Requests and notifications as the subcommands send, receive and show them.
#pragma once

#include "decoder/text.h"
#include "tools/veskctl/client.h"
#include "tools/veskctl/settings.h"

namespace vesk::ctl {

/// For how many milliseconds an answer can be waited for.
inline constexpr std::pair<uint64_t, uint64_t> kTimeouts{1, UINT32_MAX};
inline constexpr std::pair<uint64_t, uint64_t> kCounts{1, UINT64_MAX};

/// A request that is ready to be sent.
struct Prepared {
    uint32_t number = 0;
    bool isAnswered = true;
    Bytes data; ///< Header and payload.
};

/// False if the list says that the request has no answer.
bool IsAnswered(uint32_t request);

/// Encodes a request that the user names. A @p raw payload is sent as it is, and the number need not be
/// listed. INIT announces this client unless the fields name another. @throw Error
Prepared Prepare(const decoder::Decoder& decoder, const std::string& name,
                 const std::vector<decoder::Assignment>& fields, const Bytes* raw = nullptr);

/// A request that was sent.
struct Call {
    decoder::Decoded request;
    std::optional<decoder::Decoded> answer; ///< Nothing if the request is asynchronous or got no answer.
    Outcome outcome;
};

Call Perform(Client& client, const decoder::Decoder& decoder, const Prepared& request, uint32_t timeoutMs);

/// Sends a request of "device", as a client of its own or of the session that the command is a line of.
/// @throw Failure as RequireOk
Call PerformSteering(Settings& settings, const Prepared& request);

/// @throw Failure if the call got no answer, a malformed one, or a refusal
void RequireOk(const Call& call);

/// @throw Failure if the call got no answer
void RequireAnswer(const Call& call);

/// "VO_START outEngNo=1 -> OK 0.31 ms"
std::string CallLine(const decoder::Decoder& decoder, const Call& call);

/// An object with "request", "answer" and "ms"; "error" in place of an answer that did not come.
std::string CallJson(const Call& call);

decoder::Decoded DecodeArrived(const decoder::Decoder& decoder, const Arrived& arrived);

/// A notification with the time of its arrival, in seconds since 1970.
std::string ArrivedJson(const decoder::Decoded& notification, const Arrived& arrived);

/// The members of a JSON object, for sources that do without JSON's header.
using Members =
    std::vector<std::pair<const char*, std::variant<uint64_t, double, std::string, decoder::Decoded>>>;

/// Prints an object on one line.
void PrintObject(const Members& members);

} // namespace vesk::ctl
