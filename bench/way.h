// The ways of exchanging a request for an answer with another process that are compared.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesk::bench {

/// Bytes of data in each direction.
struct Sizes {
    uint32_t request, answer;

    std::string Text() const;
};

/// One thread's client of a server.
class Caller {
public:
    virtual ~Caller() = default;
    /// Exchanges one request for its answer; throws std::runtime_error when that fails.
    virtual void Call() = 0;
    /// Ends a server that does not end with its last connection.
    virtual void EndServer() {}
};

/// Where a server is reached: the number of a descriptor, or the name of a process.
using Address = std::string;

struct Way {
    const char* name;
    bool usesPair; ///< Each caller has a socket pair with the server, otherwise all use one process name.
    void (*serve)(const std::vector<Address>& addresses,
                  Sizes sizes); ///< Returns when the callers have ended.
    std::unique_ptr<Caller> (*open)(const Address& address, Sizes sizes);
};

/// The ways of calling, the raw socket pair first.
std::span<const Way> CallWays();

/// A way by its name, of calling or of notifying.
const Way& FindWay(const std::string& name);

extern const Way kRawWay, kHostWay;
extern const Way kLibraryWay;                           ///< One server at a time.
extern const Way kRawByOneWay;                          ///< One thread serves all callers.
extern const Way kOwingHostWay;                         ///< The server owes 50 other callers their answers.
extern const Way kRawNotifications, kHostNotifications; ///< Only served.
#ifdef VESK_BENCH_BUS
extern const Way kBusWay;
#endif

[[noreturn]] inline void Fail(const std::string& what)
{
    throw std::runtime_error(what);
}

} // namespace vesk::bench
