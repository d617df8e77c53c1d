// The time of a call, by size of its data and by number of calling threads.
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/table.h"

#include <atomic>
#include <barrier>
#include <cmath>
#include <optional>
#include <thread>

namespace vesk::bench {

namespace {

constexpr int kCallsInTurn = 200;
constexpr uint32_t kMebibyte = 1U << 20;

/// Fewer calls for large data, so that turns stay short.
int CallsInTurn(Sizes sizes)
{
    return sizes.request < kMebibyte ? kCallsInTurn : static_cast<int>(20 * kMebibyte / sizes.request);
}

/// The callers of an exchange, each on a thread that lives as long as they do.
class Crew {
public:
    Crew(const Way& way, Sizes sizes, int size) : parties_(way, sizes, size), gate_(size + 1)
    {
        for (int i = 0; i < size; ++i)
            threads_.emplace_back([this, i] { Work(static_cast<size_t>(i)); });
    }
    ~Crew()
    {
        isOver_ = true;
        gate_.arrive_and_wait();
        threads_.clear();
    }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    /// All threads make their calls at once.
    void TakeTurn()
    {
        gate_.arrive_and_wait();
        gate_.arrive_and_wait();
        if (hasFailed_)
            Fail("a call failed among several threads");
    }

private:
    void Work(size_t caller)
    {
        for (;;) {
            gate_.arrive_and_wait();
            if (isOver_)
                return;
            try {
                for (int call = 0; call < kCallsInTurn; ++call)
                    parties_[caller].Call();
            } catch (const std::exception&) {
                hasFailed_ = true;
            }
            gate_.arrive_and_wait();
        }
    }

    Parties parties_;
    std::barrier<> gate_;
    std::atomic<bool> isOver_ = false, hasFailed_ = false;
    std::vector<std::jthread> threads_;
};

/// A row for each of @p allSizes, a column for each of @p ways.
Table Calls(const std::string& where, std::span<const Sizes> allSizes, std::span<const Way> ways,
            std::optional<int> serverCpu, bool quick)
{
    Table table{
        "One call, " + where + ": time, as a multiple of a raw socket pair's", {"request/answer, bytes"}, {}};
    for (const Way& way : ways)
        table.columns.emplace_back(way.name);
    table.columns.emplace_back("raw socket, µs");
    for (const Sizes sizes : allSizes) {
        std::vector<std::unique_ptr<Parties>> parties;
        std::vector<std::function<void()>> turns;
        const int calls = CallsInTurn(sizes);
        for (const Way& way : ways) {
            {
                std::optional<OnCpu> there;
                if (serverCpu)
                    there.emplace(*serverCpu);
                parties.push_back(std::make_unique<Parties>(way, sizes));
            }
            turns.emplace_back([&caller = (*parties.back())[0], calls] {
                for (int call = 0; call < calls; ++call)
                    caller.Call();
            });
        }
        const auto seconds = Interleave(turns, quick ? 15 : 151);
        std::vector<Cell> row{sizes.Text()};
        for (const auto& way : seconds)
            row.emplace_back(Rounded(MedianRatio(way, seconds.front()), 2));
        row.emplace_back(Rounded(Median(seconds.front()) / calls * 1e6, 1));
        table.rows.push_back(row);
    }
    return table;
}

Table CallsBetween(int callerCpu, int serverCpu, const std::string& where, bool quick)
{
    constexpr Sizes kAllSizes[] = {{24, 24},   {56, 24},        {24, 2400},
                                   {4632, 24}, {kMebibyte, 24}, {4 * kMebibyte, 24}};
    const OnCpu here(callerCpu);
    return Calls(where, kAllSizes, CallWays(), serverCpu, quick);
}

} // namespace

Table CallTable(bool quick)
{
    const int cpu = Cpus().front();
    return CallsBetween(cpu, cpu, "both ends on one CPU", quick);
}

Table DistantCallTable(bool quick)
{
    const std::vector<int> cpus = Cpus();
    if (cpus.size() == 1)
        return {};
    return CallsBetween(cpus.front(), cpus.back(), "each end on a CPU of its own", quick);
}

Table LargeCallTable(bool quick)
{
    constexpr Sizes kLarge[] = {{kMebibyte, 24}, {4 * kMebibyte, 24}};
    std::vector<Way> ways(CallWays().begin(), CallWays().end());
    ways.push_back(kLibraryWay);
    return Calls("both ends left to the scheduler", kLarge, ways, std::nullopt, quick);
}

Table ThreadTable(bool quick)
{
    Table table{
        "Several threads at 24/24 bytes: calls per second of one host server, and of as many raw socket "
        "pairs, served by a thread each or all by one",
        {"threads", "host library", "raw sockets, a thread each", "raw sockets, one thread",
         "host library/a thread each", "host library/one thread"},
        {}};
    constexpr Sizes kSizes{24, 24};
    for (const int threads : {1, 2, 4, 8, 16}) {
        Crew host(kHostWay, kSizes, threads), raw(kRawWay, kSizes, threads),
            rawByOne(kRawByOneWay, kSizes, threads);
        const auto seconds =
            Interleave({[&] { host.TakeTurn(); }, [&] { raw.TakeTurn(); }, [&] { rawByOne.TakeTurn(); }},
                       quick ? 9 : 61);
        std::vector<Cell> row{threads};
        for (const auto& way : seconds)
            row.emplace_back(std::lround(threads * kCallsInTurn / Median(way)));
        for (const auto& yardstick : {seconds[1], seconds[2]})
            row.emplace_back(Rounded(MedianRatio(yardstick, seconds[0]), 2));
        table.rows.push_back(row);
    }
    return table;
}

Table OwedTable(bool quick)
{
    Table table{
        "One call at 24/24 bytes, both ends on one CPU, while the host server owes other callers answers",
        {"of the calls of a turn", "none owed, µs", "50 owed, µs", "50 owed/none"},
        {}};
    const OnCpu here(Cpus().front());
    constexpr std::pair<const char*, size_t> kPercentiles[] = {{"median", 50}, {"99th percentile", 99}};
    std::vector<double> seconds[std::size(kPercentiles)][2]; // of each turn
    std::vector<std::unique_ptr<Parties>> parties;
    std::vector<std::function<void()>> turns;
    for (const Way* way : {&kHostWay, &kOwingHostWay}) {
        parties.push_back(std::make_unique<Parties>(*way, Sizes{24, 24}));
        turns.emplace_back([&, &caller = (*parties.back())[0], which = turns.size()] {
            std::vector<double> calls(kCallsInTurn);
            for (double& call : calls)
                call = SecondsOf([&] { caller.Call(); });
            for (size_t i = 0; i < std::size(kPercentiles); ++i)
                seconds[i][which].push_back(Percentile(calls, kPercentiles[i].second));
        });
    }
    Interleave(turns, quick ? 15 : 151);
    for (size_t i = 0; i < std::size(kPercentiles); ++i) {
        const auto& [none, owed] = seconds[i];
        table.rows.push_back({kPercentiles[i].first, Rounded(Median(none) * 1e6, 1),
                              Rounded(Median(owed) * 1e6, 1), Rounded(MedianRatio(owed, none), 2)});
    }
    return table;
}

} // namespace vesk::bench
