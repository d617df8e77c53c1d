// System calls per call on each side, counted by strace.
#include "bench/process.h"
#include "bench/table.h"

#include <cstdlib>
#include <fstream>
#include <map>

namespace vesk::bench {

namespace {

using Counts = std::map<std::string, double>; // by name, and "total"

Counts ReadCounts(const std::string& path)
{
    Counts counts;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        double count = 0;
        char name[64];
        if (std::sscanf(line.c_str(), "%lf %63s", &count, name) == 2)
            counts[name] = count;
    }
    if (counts["total"] == 0)
        Fail(path + ": strace has counted nothing");
    return counts;
}

struct Sides {
    Counts caller, server;
};

Sides Trace(const Way& way, Sizes sizes, int calls)
{
    const char* directory = getenv("VESK_RUNTIME_DIR");
    if (directory == nullptr)
        Fail("VESK_RUNTIME_DIR is not set");
    const std::string folder = directory;
    const std::string callerFile = folder + "/caller.strace", serverFile = folder + "/server.strace";
    const auto strace = [](const std::string& file) {
        return std::vector<std::string>{"strace", "-f", "-c", "-U", "calls,name", "-o", file};
    };
    const Link link = MakeLink(way, 1);
    const pid_t server = StartSide({"serve", way, sizes}, link.server, strace(serverFile));
    const pid_t caller = StartSide({"call", way, sizes, calls}, link.callers, strace(callerFile));
    Join(caller);
    Join(server);
    return {ReadCounts(callerFile), ReadCounts(serverFile)};
}

/// What each call adds, as "3.0: poll 1.0, read 1.0, write 1.0".
std::string PerCall(const Counts& few, const Counts& many, int calls)
{
    const auto perCall = [&](const std::string& name, double count) {
        const auto before = few.find(name);
        return Rounded((count - (before == few.end() ? 0 : before->second)) / calls, 1);
    };
    std::string text = Text(perCall("total", many.at("total"))), separator = ": ";
    for (const auto& [name, count] : many) {
        const double each = perCall(name, count);
        if (name == "total" || each <= 0)
            continue;
        text += separator + name + " " + Text(each);
        separator = ", ";
    }
    return text;
}

} // namespace

Table SystemCallTable(bool quick)
{
    Table table{"System calls per call", {"", "request/answer, bytes", "caller", "server"}, {}};
    for (const Sizes sizes : {Sizes{24, 24}, {4632, 24}, {1U << 20, 24}}) {
        const int few = 20, calls = sizes.request < (1U << 20) ? (quick ? 300 : 2000) : (quick ? 30 : 200);
        for (const Way& way : CallWays()) {
            const Sides before = Trace(way, sizes, few), after = Trace(way, sizes, few + calls);
            table.rows.push_back({way.name, sizes.Text(), PerCall(before.caller, after.caller, calls),
                                  PerCall(before.server, after.server, calls)});
        }
    }
    return table;
}

} // namespace vesk::bench
