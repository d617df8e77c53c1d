// What the Python package costs: its calls against those in C, and its import.
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/socket.h"
#include "bench/table.h"
#include "vesk_video/vesk_video.h"

#include <cstdlib>
#include <iterator>

#include <sys/wait.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

constexpr int kCalls = 400;

/// A process that makes calls through the package.
class PythonCaller {
public:
    PythonCaller()
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            Fail(std::string("socketpair: ") + strerror(errno));
        socket_ = ends[0];
        process_ = Start(
            {VESK_BENCH_PYTHON, VESK_BENCH_PYTHON_CALLS, std::to_string(ends[1]), std::to_string(kCalls)},
            {ends[1]});
        close(ends[1]);
    }
    ~PythonCaller()
    {
        close(socket_);
        waitpid(process_, nullptr, 0);
    }
    PythonCaller(const PythonCaller&) = delete;
    PythonCaller& operator=(const PythonCaller&) = delete;

    void Call(char request)
    {
        Send(socket_, &request, 1);
        if (!Receive(socket_, &request, 1))
            Fail("calls from Python failed");
    }

private:
    int socket_;
    pid_t process_;
};

void PreparePython()
{
    setenv("PYTHONPATH", VESK_BENCH_PYTHON_PATH, 1);
    setenv("VESK_VIDEO_LIBRARY", VESK_BENCH_LIBRARY, 1);
    unsetenv("PYTHONDONTWRITEBYTECODE"); // the sources are compiled once, as they are when installed
}

} // namespace

Table PythonCallTable(bool quick)
{
    PreparePython();
    const OnCpu here(Cpus().front());
    const ServiceProcess service;
    uint32_t engine = 0;
    if (VeskVideoVoOpen(0, &engine) != 0)
        Fail("the service opens no display");
    PythonCaller python;
    const struct {
        const char* text;
        char name; ///< In python_calls.py.
        uint32_t (*call)();
    } requests[] = {
        {"VeskVideoGetVoCount", 'c',
         [] {
             uint32_t count = 0;
             return VeskVideoGetVoCount(&count);
         }},
        {"VeskVideoVoSetOffset", 'o', [] { return VeskVideoVoSetOffset(2001, 0, 0); }},
    };
    Table table{"Calls from Python and from C to the virtual service, all on one CPU",
                {"call", "C, µs", "Python, µs", "Python/C"},
                {}};
    for (const auto& request : requests) {
        const auto callFromC = [&] {
            for (int i = 0; i < kCalls; ++i) {
                if (request.call() != 0)
                    Fail(std::string("the service refuses ") + request.text);
            }
        };
        const auto seconds = Interleave({callFromC, [&] { python.Call(request.name); }}, quick ? 15 : 151);
        table.rows.push_back({request.text, Rounded(Median(seconds[0]) / kCalls * 1e6, 1),
                              Rounded(Median(seconds[1]) / kCalls * 1e6, 1),
                              Rounded(MedianRatio(seconds[1], seconds[0]), 2)});
    }
    return table;
}

Table PythonImportTable(bool quick)
{
    PreparePython();
    constexpr const char* kStatements[] = {"pass", "import ctypes", "import vesk_video"};
    std::vector<std::function<void()>> turns;
    for (const char* statement : kStatements)
        turns.emplace_back([statement] { Join(Start({VESK_BENCH_PYTHON, "-c", statement}, {})); });
    turns.back()(); // compiles the sources
    const auto seconds = Interleave(turns, quick ? 9 : 61);
    std::vector<double> added[std::size(kStatements)]; // to an interpreter that does nothing
    for (size_t i = 0; i < turns.size(); ++i)
        std::ranges::transform(seconds[i], seconds[0], std::back_inserter(added[i]), std::minus<>());
    const double ctypes = Median(added[1]), package = Median(added[2]);
    return {"What an import adds to the run of a Python interpreter",
            {"import ctypes, ms", "import vesk_video, ms", "vesk_video/ctypes"},
            {{Rounded(ctypes * 1e3, 1), Rounded(package * 1e3, 1), Rounded(package / ctypes, 2)}}};
}

} // namespace vesk::bench
