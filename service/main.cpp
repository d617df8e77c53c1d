// The virtual video service as a process of its own.
#include "base/command_line.h"
#include "base/envelope.h"
#include "base/error.h"
#include "base/output.h"
#include "base/text.h"
#include "service/alarm.h"
#include "service/device_file.h"
#include "service/log.h"
#include "service/program_text.h"
#include "service/service.h"
#include "service/supervisor.h"
#include "steering/scenario_file.h"
#include "vesk_host/message.h"

#include <cxxabi.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <new>
#include <system_error>
#include <thread>
#include <typeinfo>
#include <utility>

using namespace vesk;
using namespace vesk::service;

namespace {

constexpr uint32_t kQueueDepth = 1024;
constexpr const char* kProgram = "vesk-video-service";
constexpr int kFailed = 1;

Service* g_service = nullptr;
std::terminate_handler g_terminate = nullptr;

void SayNoMemory()
{
    std::fputs("vesk-video-service: out of memory\n", stderr);
}

/// Ends as main does without memory, where main cannot catch that: before it begins, and in functions that
/// let no exception pass. CLI11 allocates in both.
void Terminate()
{
    const std::type_info* exception = abi::__cxa_current_exception_type();
    if (exception == nullptr || *exception != typeid(std::bad_alloc))
        g_terminate();
    SayNoMemory();
    _exit(kFailed);
}

/// The first of this program's initialisers.
__attribute__((constructor(101))) void Prepare()
{
    g_terminate = std::set_terminate(Terminate);
}

uint32_t HandleMessage(OsMsgEnvelope* message)
{
    try {
        g_service->Handle(*message);
    } catch (const std::exception& error) { // out of memory, for example: the sender sees a failure
        LOG(kError, "message %u from %.16s: %s", message->msgId, message->sendProcName, error.what());
    }
    return 0;
}

void HandleEnd(HostProcess process)
{
    try {
        g_service->Ended(process);
    } catch (const std::exception& error) {
        LOG(kError, "end of process %u: %s", HostProcessNumber(process), error.what());
    }
}

/// Blocks the signals that the service waits for, in this thread and in all that it starts.
sigset_t BlockSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

/// Tells the thread that runs the task that something is due.
void SendTick(const Identity& self)
{
    VeskVideoMsgHead head{};
    head.msgId = VESK_CONTROL_TICK;
    OsMsgEnvelope envelope =
        MakeEnvelope(VESK_CONTROL_TICK, {self.procName, ""}, {self.procName, self.taskName}, BytesOf(head));
    OsMsgAsynSend(&envelope);
}

template <class Body>
std::thread StartThread(Body body)
try {
    return std::thread(std::move(body));
} catch (const std::system_error& error) {
    throw std::system_error(error.code(), "no thread can be started");
}

std::thread StartSignalWaiter(const sigset_t& signals, const Identity& self)
{
    return StartThread([&] {
        for (int signal = 0; sigwait(&signals, &signal) == 0 && signal == SIGALRM;)
            SendTick(self);
        HostMsgEndTask(self.taskName.c_str());
    });
}

/// Ends the service when standard input ends, as it does when the process at its other end does, however
/// that ends. The thread reads until this process ends.
void EndWithInput()
{
    StartThread([] {
        char unread[256];
        ssize_t got = 0;
        while ((got = read(STDIN_FILENO, unread, sizeof unread)) > 0 || (got < 0 && errno == EINTR))
            continue;
        kill(getpid(), SIGTERM);
    }).detach();
}

/// @param scenario  Data block of VESK_CONTROL_SCENARIO; empty: none.
int Serve(const Identity& self, const DeviceDescription& device, Timeline::Clock clock, const Bytes& scenario,
          bool endsWithInput)
{
    const sigset_t signals = BlockSignals();
    if (endsWithInput)
        EndWithInput();
    Alarm alarm;
    clock.alarm = [&alarm](auto at) { alarm.Set(at); };
    Service service(self, device, std::move(clock));
    g_service = &service;
    uint32_t ret = HostMsgSetProcName(self.procName.c_str());
    if (ret == HOST_MSG_ERR_ARGUMENT) {
        PutError(kProgram, "'" + self.procName + "' cannot be a process name");
        return 2;
    }
    const std::string task = self.procName + '/' + self.taskName;
    if (ret == 0)
        ret = OsMsgRegTask(self.taskName.c_str(), kQueueDepth, HandleMessage);
    if (ret == 0)
        ret = HostMsgOnProcessEnd(self.taskName.c_str(), HandleEnd);
    if (ret != 0) {
        char code[16];
        std::snprintf(code, sizeof code, "[0x%x]", ret);
        PutError(kProgram, task + " cannot be served " + code);
        return kFailed;
    }
    service.Begin();
    if (!scenario.empty()) {
        if (const Result result = service.Execute(VESK_CONTROL_SCENARIO, scenario); result != kOk)
            LOG(kError, "the scenario is refused: %u", result);
    }
    const std::string serving = Printable("serving " + task + " (process " + std::to_string(getpid()) + ')');
    const std::string ready = "READY=1\nSTATUS=" + serving;
    Supervisor supervisor;
    std::thread signalWaiter = StartSignalWaiter(signals, self); // nothing may be thrown from here on
    std::printf("%s: %s\n", kProgram, serving.c_str());
    std::fflush(stdout);
    supervisor.Tell(ready.c_str());
    OsMsgTaskRoutineByName(self.taskName.c_str());
    supervisor.Tell("STOPPING=1");
    signalWaiter.join();
    service.End();
    std::puts("vesk-video-service: ended");
    return 0;
}

} // namespace

int main(int argc, char** argv)
try {
    HoldStandardStreams();
    Identity self{"VIDEO", "VCTL"};
    std::string deviceFile;
    std::optional<uint64_t> numbers;
    Timeline::Clock clock;
    std::string scenarioFile;
    bool endsWithInput = false;
    const CommandLine program{
        .name = kProgram,
        .summary =
            "Virtual video service: serves the requests of libvesk_video_interface without the device.\n"
            "SIGTERM or SIGINT ends it.",
        .footer = kEnvironmentHelp,
        .options =
            {
                {.name = "--process",
                 .place = &self.procName,
                 .help = "Process name of the service",
                 .showsDefault = true},
                {.name = "--task",
                 .place = &self.taskName,
                 .help = "Task name of the service",
                 .showsDefault = true},
                {.name = "--device",
                 .place = &deviceFile,
                 .help =
                     "File that describes the device to serve (TOML), or the name of an installed one; - is "
                     "standard input"},
                {.name = "--numbers",
                 .place = &numbers,
                 .help = "Seed for the first number of each kind of thing that clients open or create; "
                         "without it, 1001, 2001 ...",
                 .range = std::pair<uint64_t, uint64_t>(0, UINT32_MAX)},
                {.name = "--time-scale",
                 .place = &clock.scale,
                 .help = "How many times faster than the clock the model's time runs",
                 .showsDefault = true,
                 .range = std::pair(0.001, 1000.0)},
                {.name = "--step",
                 .place = &clock.isStep,
                 .help = "Move the model's time by command only",
                 .excludes = "--time-scale"},
                {.name = "--scenario",
                 .place = &scenarioFile,
                 .help = "File of steps to run from the start (TOML), or the name of an installed one; - is "
                         "standard input"},
                {.name = "--end-with-input",
                 .place = &endsWithInput,
                 .help = "End when standard input ends, as it does when the process that holds its other end "
                         "does; nothing else can be read from it"},
            },
        .run =
            [&] {
                if ((deviceFile == "-") + (scenarioFile == "-") + endsWithInput > 1)
                    throw Error(
                        std::string(kProgram) +
                        ": standard input serves one of --device -, --scenario - and --end-with-input");
                Bytes scenario;
                if (!scenarioFile.empty())
                    scenario = steering::ScenarioFromFile(decoder::Decoder(), scenarioFile).data;
                DeviceDescription device = deviceFile.empty() ? DefaultDevice() : ReadDevice(deviceFile);
                if (numbers)
                    device.numbers = static_cast<uint32_t>(*numbers);
                return Serve(self, device, std::move(clock), scenario, endsWithInput);
            },
        .version = kVersion,
    };
    return ParseProgram(program, argc, argv)();
} catch (const Error& error) { // a file that is wrong
    PutLine(stderr, error.what());
    for (const std::string& other : error.others)
        PutLine(stderr, other);
    return 2;
} catch (const std::bad_alloc&) {
    SayNoMemory();
    return kFailed;
} catch (const std::exception& error) { // no thread can be started, for example
    PutError(kProgram, error.what());
    return kFailed;
}
