// The virtual video service as a process of its own.
#include "base/envelope.h"
#include "base/error.h"
#include "service/alarm.h"
#include "service/device_file.h"
#include "service/log.h"
#include "service/program_text.h"
#include "service/service.h"
#include "steering/scenario_file.h"
#include "vesk_host/message.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

using namespace vesk;
using namespace vesk::service;

namespace {

constexpr uint32_t kQueueDepth = 1024;

Service* g_service = nullptr;

uint32_t HandleMessage(OsMsgEnvelope* message)
{
    try {
        g_service->Handle(*message);
    } catch (const std::exception& error) { // out of memory, for example: the sender sees a failure
        LOG(kError, "message %u from %.16s: %s", message->msgId, message->sendProcName, error.what());
    }
    return 0;
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

/// @param scenario  Data block of VESK_CONTROL_SCENARIO; empty: none.
int Run(const Identity& self, const DeviceDescription& device, Timeline::Clock clock, const Bytes& scenario)
{
    const sigset_t signals = BlockSignals();
    Alarm alarm;
    clock.alarm = [&alarm](auto at) { alarm.Set(at); };
    Service service(self, device, std::move(clock));
    g_service = &service;
    if (HostMsgSetProcName(self.procName.c_str()) != 0) {
        std::fprintf(stderr, "vesk-video-service: '%s' cannot be a process name\n", self.procName.c_str());
        return 2;
    }
    if (const uint32_t ret = OsMsgRegTask(self.taskName.c_str(), kQueueDepth, HandleMessage); ret != 0) {
        std::fprintf(stderr, "vesk-video-service: %s/%s cannot be served [0x%x]\n", self.procName.c_str(),
                     self.taskName.c_str(), ret);
        return 1;
    }
    service.Begin();
    if (!scenario.empty()) {
        if (const Result result = service.Execute(VESK_CONTROL_SCENARIO, scenario); result != kOk)
            LOG(kError, "the scenario is refused: %u", result);
    }
    std::thread signalWaiter([&] {
        for (int signal = 0; sigwait(&signals, &signal) == 0 && signal == SIGALRM;)
            SendTick(self);
        HostMsgEndTask(self.taskName.c_str());
    });
    std::printf("vesk-video-service: serving %s/%s (process %d)\n", self.procName.c_str(),
                self.taskName.c_str(), getpid());
    std::fflush(stdout);
    OsMsgTaskRoutineByName(self.taskName.c_str());
    signalWaiter.join();
    service.End();
    std::printf("vesk-video-service: ended\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
try {
    Identity self{"VIDEO", "VCTL"};
    std::string deviceFile;
    Timeline::Clock clock;
    std::string scenarioFile;
    CLI::App app("Virtual video service: serves the requests of libvesk_video_interface without the device.\n"
                 "SIGTERM or SIGINT ends it.");
    app.footer(kEnvironmentHelp);
    app.set_version_flag("--version", kVersion);
    app.add_option("--process", self.procName, "Process name of the service")->capture_default_str();
    app.add_option("--task", self.taskName, "Task name of the service")->capture_default_str();
    app.add_option("--device", deviceFile, "File that describes the device to serve (TOML)");
    auto* const scale = app.add_option("--time-scale", clock.scale,
                                       "How many times faster than the clock the model's time runs")
                            ->capture_default_str()
                            ->check(CLI::Range(0.001, 1000.0))
                            ->check([](const std::string& text) { // which lets "nan" pass
                                return std::isnan(std::strtod(text.c_str(), nullptr)) ? "nan" : "";
                            });
    app.add_flag("--step", clock.isStep, "Move the model's time by command only")->excludes(scale);
    app.add_option("--scenario", scenarioFile, "File of steps to run from the start (TOML)");
    CLI11_PARSE(app, argc, argv);
    Bytes scenario;
    if (!scenarioFile.empty())
        scenario = steering::ScenarioFromFile(decoder::Decoder(), scenarioFile).data;
    return Run(self, deviceFile.empty() ? DefaultDevice() : ReadDevice(deviceFile), std::move(clock),
               scenario);
} catch (const Error& error) { // a file that is wrong
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
} catch (const std::exception& error) { // out of memory, or no thread can be started
    std::fprintf(stderr, "vesk-video-service: %s\n", error.what());
    return 1;
}
