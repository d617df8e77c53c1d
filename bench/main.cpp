// Compares the cost of calls and notifications with that of a bare socket pair, in the same run.
#include "bench/table.h"
#include "bench/way.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

using namespace vesk::bench;

namespace {

/// The runtime directory of the run and of all its processes.
struct RuntimeDir {
    RuntimeDir()
    {
        if (mkdtemp(path) == nullptr)
            Fail("no temporary directory");
        setenv("VESK_RUNTIME_DIR", path, 1);
        setenv("VESK_LOG_TARGET", "none", 1);
    }
    ~RuntimeDir() { std::filesystem::remove_all(path); }
    RuntimeDir(const RuntimeDir&) = delete;
    RuntimeDir& operator=(const RuntimeDir&) = delete;

    char path[32] = "/tmp/vesk-bench-XXXXXX";
};

void PrintTables(bool quick, bool asJson, bool withSystemCalls)
{
    const RuntimeDir directory;
    std::vector<Table (*)(bool)> makers{CallTable,     DistantCallTable, LargeCallTable,
                                        ThreadTable,   OwedTable,        NotificationTable,
                                        OwnShareTable, SceneTable,       SceneAskedTable};
#ifdef VESK_BENCH_PICTURES
    makers.push_back(PictureTable);
#endif
#ifdef VESK_BENCH_VESKCTL
    makers.push_back(PageTable);
#endif
#ifdef VESK_BENCH_PYTHON
    makers.insert(makers.end(), {PythonCallTable, PythonImportTable});
#endif
    if (withSystemCalls)
        makers.push_back(SystemCallTable);
    std::vector<Table> tables;
    for (Table (*make)(bool) : makers) {
        Table table = make(quick);
        if (table.rows.empty())
            continue;
        if (asJson)
            tables.push_back(std::move(table));
        else
            Print(table);
    }
    if (asJson)
        PrintJson(tables);
#ifndef VESK_BENCH_BUS
    std::cerr << "sd-bus was left out: libsystemd was not found when this program was built\n";
#endif
}

void MakeCalls(const Way& way, const Address& address, Sizes sizes, int calls)
{
    const std::unique_ptr<Caller> caller = way.open(address, sizes);
    for (int call = 0; call < calls; ++call)
        caller->Call();
    caller->EndServer();
}

} // namespace

int main(int argc, char** argv)
try {
    bool quick = false, asJson = false, withSystemCalls = false;
    CLI::App app("Compares the cost of calls and notifications with that of a bare socket pair.");
    app.add_flag("--quick", quick, "Fewer rounds: seconds instead of a minute, with less certain figures");
    app.add_flag("--json", asJson, "Print JSON instead of Markdown");
    app.add_flag("--syscalls", withSystemCalls, "Also count system calls, with strace");

    // What this program runs as processes of its own.
    std::string wayName;
    std::vector<Address> addresses;
    Sizes sizes{};
    int calls = 0;
    CLI::App* serve = app.add_subcommand("serve")->group("");
    CLI::App* call = app.add_subcommand("call")->group("");
    CLI::App* ownShare = app.add_subcommand("own-share")->group("");
    ownShare->add_flag("--quick", quick);
    for (CLI::App* side : {serve, call}) {
        side->add_option("--way", wayName)->required();
        side->add_option("--address", addresses)->required();
        side->add_option("--request", sizes.request);
        side->add_option("--answer", sizes.answer);
        side->add_option("--calls", calls);
    }
    CLI11_PARSE(app, argc, argv);

    if (*serve)
        FindWay(wayName).serve(addresses, sizes);
    else if (*call)
        MakeCalls(FindWay(wayName), addresses.front(), sizes, calls);
    else if (*ownShare)
        PrintJson({MeasureOwnShare(quick)});
    else
        PrintTables(quick, asJson, withSystemCalls);
    return EXIT_SUCCESS;
} catch (const std::exception& error) {
    std::fprintf(stderr, "vesk_bench: %s\n", error.what());
    return EXIT_FAILURE;
}
