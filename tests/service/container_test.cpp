// Applications and the service across containers: namespaces of process numbers that share a runtime
// directory.
#include "service/service_fixture.h"

#include <fstream>

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace {

/// Goes on as the first process of a namespace of its own. The process that it was lives as long, and passes
/// SIGTERM on as SIGKILL. False where no namespace may be made.
bool EnterContainer()
{
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWPID) != 0)
        return false;
    std::ofstream("/proc/self/uid_map") << user + ' ' + user + " 1";
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/gid_map") << group + ' ' + group + " 1";
    static pid_t inside = 0;
    inside = fork();
    if (inside == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        return true;
    }
    std::signal(SIGTERM, [](int) { kill(inside, SIGKILL); });
    int status = 1;
    waitpid(inside, &status, 0);
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

/// An application that has a queue and the first input port, one that leaves, and one that comes when the
/// first has been killed.
void ApplicationsComeAndGo(bool isServiceInside, bool areApplicationsInside)
{
    Child service([=] {
        EXPECT_TRUE(!isServiceInside || EnterContainer());
        execl(VESK_SERVICE_PATH, VESK_SERVICE_PATH, nullptr);
    });
    service.ExpectOutput("serving VIDEO/VCTL");
    std::vector<Child> applications;
    const auto come = [&](const char* name, const char* script) {
        applications.push_back(Prepared([=] {
            EXPECT_TRUE(!areApplicationsInside || EnterContainer());
            g_name = name;
            Join();
            Play(script, Number(VeskVideoBuffCreateQueue));
        }));
    };
    const auto killAll = [&] {
        for (Child& application : applications)
            application.Wait(SIGTERM);
        applications.clear();
    };
    come("owner", "OPEN_VI_PORT 0 = 1001; VI_START 1001; SET_CAMERA_QUEUE_ID 1001 #");
    come("other", "OPEN_VI_PORT 0 !BUSY; EXIT; GET_VO_COUNT = 2");
    come("third", "OPEN_VI_PORT 0 !BUSY; VI_START 1001 !STATE");
    killAll();
    come("owner", "OPEN_VI_PORT 0 = 1002");
    killAll();
    service.Wait(SIGTERM);
}

} // namespace

FORKED_TEST(Application, IsToldFromThoseOfOtherContainers)
{
    if (Child([] { _exit(EnterContainer() ? 0 : 1); }).Wait() != 0) {
        std::puts("not tried: no namespaces may be made here");
        return;
    }
    for (const auto& [isServiceInside, areApplicationsInside] :
         {std::pair(false, true), {true, false}, {true, true}}) {
        SCOPED_TRACE(areApplicationsInside);
        ApplicationsComeAndGo(isServiceInside, areApplicationsInside);
    }
    Prepared([] { // all in one
        EXPECT_TRUE(EnterContainer());
        ApplicationsComeAndGo(false, false);
    });
}
