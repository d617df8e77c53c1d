// The names under which tasks are served, who may serve them, and the directory that they stand in.
#include "platform/message_fixture.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

FORKED_TEST(HostMessage, PeersComeAndGo)
{
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Tell("peer"), uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(g_lines, std::vector<std::string>{"nobody serves peer.task in " + directory.path}); // once
    const Handler sayProcess = [](OsMsgEnvelope* message) {
        const OsMsgEnvelope other = *message;
        const std::string text = std::to_string(HostProcessNumber(HostMsgSender(message))) + ", not " +
                                 std::to_string(HostMsgSender(&other));
        return HostMsgReply(message, text.data(), static_cast<uint32_t>(text.size()));
    };
    const auto ask = [] { EXPECT_EQ(Ask("peer").data, std::to_string(getpid()) + ", not 0"); };
    {
        const Child peer = Serve(sayProcess);
        ask();
        InFork(ask); // on no connection of its parent's
    }                // killed: its socket stays behind, and a pooled connection here
    EXPECT_EQ(access(address.sun_path, F_OK), 0);
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    const Child peer = Serve(sayProcess); // takes the socket over
    ask();
    InFork([&] {
        Expect(BecomePeer(), HOST_MSG_ERR_TAKEN,
               "peer.task is already served by process " + std::to_string(peer.Process()));
    });
    ask();
}

FORKED_TEST(HostMessage, WhatKilledProcessesHaveLeftIsRemovedByTheNext)
{
    const Child peer = Serve();
    const auto name = [](const char* as) { return Ask("peer", 5, "", 5000, "task", as).result; };
    const Served inbox("inbox", Echo);
    EXPECT_EQ(name("living"), 0U);
    std::string left; // of its own process
    {
        Child killed = Prepared([&] { EXPECT_EQ(OsMsgRegTask("other", 1, Echo) + name("killed"), 0U); });
        left = directory.File("process-" + std::to_string(killed.Process()));
        EXPECT_EQ(access(left.c_str(), F_OK), 0);
    }
    EXPECT_EQ(access(directory.File("killed.other").c_str(), F_OK), 0);
    std::ofstream(directory.File("no.socket"));
    EXPECT_EQ(name("next"), 0U);
    InFork([] { EXPECT_NE(HostProcessSelf(), 0U); });
    EXPECT_NE(access(left.c_str(), F_OK), 0);
    EXPECT_NE(access(directory.File("killed.other").c_str(), F_OK), 0);
    EXPECT_EQ(access(directory.File("no.socket").c_str(), F_OK), 0);
    EXPECT_EQ(Ask("living", 5, "still", 5000, "inbox").data, "still");
    EXPECT_EQ(HostProcessIsAlive(HostProcessSelf()), 1);
}

FORKED_TEST(HostMessage, AnApplicationThatClosesAllDescriptorsStaysWhoItIs)
{
    const Child peer = Serve([](OsMsgEnvelope* message) {
        const HostProcess sender = HostMsgSender(message);
        return HostMsgReply(message, &sender, sizeof sender);
    });
    InFork([] {
        const HostProcess self = HostProcessSelf();
        const std::string id(reinterpret_cast<const char*>(&self), sizeof self);
        EXPECT_EQ(Ask("peer").data, id);
        EXPECT_EQ(close_range(3, ~0U, 0), 0);
        const int file = open("/dev/null", O_RDONLY | O_CLOEXEC); // takes a number that the platform had
        EXPECT_EQ(Ask("peer").data, id);
        EXPECT_EQ(fcntl(file, F_GETFD), FD_CLOEXEC); // and keeps it
        InFork([&] { EXPECT_EQ(HostProcessIsAlive(self), 1); });
    });
}

FORKED_TEST(HostMessage, ProcessesAreNamedByTheirFirstMessage)
{
    const Child peer = Serve();
    const Served inbox("inbox", Echo, false);
    EXPECT_EQ(Ask("peer").result, 0U); // says no name of its own: nothing is bound
    EXPECT_EQ(Ask("app", 5, "x", 100, "inbox").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Ask("peer", 5, "x", 100, "task", "app").result, 0U);
    EXPECT_EQ(access(directory.File("app.inbox").c_str(), F_OK), 0);
    EXPECT_EQ(Tell("peer", 5, "x", "task", "other"), 0U);
    EXPECT_EQ(access(directory.File("other.inbox").c_str(), F_OK), 0);
}

FORKED_TEST(HostMessage, NamesAreWrittenSafelyAndBadArgumentsAreRefused)
{
    const std::string odd = "../a b\n\x01%", fifteen(15, '.'), sixteen(16, 'x'); // never a path
    ASSERT_EQ(HostMsgSetProcName(odd.c_str()), 0U);
    const Served task("t.t", Echo);
    EXPECT_EQ(Ask(odd, 5, "question", 5000, "t.t").data, "question");
    EXPECT_EQ(access(directory.File("%2E%2E%2Fa%20b%0A%01%25.t%2Et").c_str(), F_OK), 0);
    std::string data = "x";
    OsMsgEnvelope good = To("peer", "task", 5, data), dataless = good, *response = nullptr;
    dataless.data = nullptr;
    for (const char* name : {static_cast<const char*>(nullptr), "", sixteen.c_str()}) {
        EXPECT_EQ(HostMsgSetProcName(name), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(OsMsgRegTask(name, 8, Echo), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(HostMsgEndTask(name), uint32_t{HOST_MSG_ERR_ARGUMENT});
    }
    for (OsMsgEnvelope* wrong : {static_cast<OsMsgEnvelope*>(nullptr), &dataless}) {
        EXPECT_EQ(OsMsgSynSend(wrong, &response, 1), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(OsMsgAsynSend(wrong), uint32_t{HOST_MSG_ERR_ARGUMENT});
    }
    EXPECT_EQ(OsMsgSynSend(&good, nullptr, 1), uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(OsMsgRegTask("task", 8, nullptr), uint32_t{HOST_MSG_ERR_ARGUMENT});
    for (const auto& [process, name] :
         {std::pair(std::string(), "task"), {"peer", ""}, {fifteen, fifteen.c_str()}})
        Expect(Ask(process, 5, "", 5000, name).result, HOST_MSG_ERR_ARGUMENT,
               "message 5 cannot be sent to process '" + process + "' task '" + name + "'");
    EXPECT_EQ(HostMsgSetProcName(fifteen.c_str()), 0U);
    Expect(OsMsgRegTask(fifteen.c_str(), 8, Echo), HOST_MSG_ERR_ARGUMENT,
           "process '" + fifteen + "' task '" + fifteen + "' cannot be an endpoint");
}

FORKED_TEST(HostMessage, NamesAreTakenAwayByWhoServesThemAlone)
{
    const std::string name = directory.File("peer.task");
    InFork([&] { // a fork of its owner ends, and the name stays; then its owner does
        EXPECT_EQ(BecomePeer(), 0U);
        EXPECT_EQ(Ask("peer", 5, "", 50).result, uint32_t{HOST_MSG_ERR_TIMEOUT}); // its thread is at rest
        InFork([] {});
        EXPECT_EQ(access(name.c_str(), F_OK), 0);
    });
    EXPECT_NE(access(name.c_str(), F_OK), 0);
    Child successor([&] {
        while (access(name.c_str(), F_OK) != 0)
            usleep(1000);
        std::puts("seen");
        while (access(name.c_str(), F_OK) == 0)
            usleep(1000);
        std::puts(BecomePeer() == 0 ? "served" : "failed");
        pause();
    });
    HostMsgSetProcName("peer");
    {
        const Served task("task", Echo, false);
        successor.ExpectOutput("seen");
        const UniqueFd client = Connected();
        EXPECT_EQ(Ask("peer", 5, "", 100).result, uint32_t{HOST_MSG_ERR_TIMEOUT}); // nobody runs it
        std::filesystem::remove(name);
        successor.ExpectOutput("served");
        HostMsgEndTask("task");
        EXPECT_TRUE(IsClosedOn(client));          // its clients are let go
        EXPECT_EQ(access(name.c_str(), F_OK), 0); // the name is its successor's
    }
    successor.Wait(SIGKILL);
    const UniqueFd locked([&] { return ::open(directory.File(".lock").c_str(), O_RDONLY | O_CLOEXEC); });
    struct stat status {};
    EXPECT_TRUE(fstat(locked.Get(), &status) == 0 &&
                (status.st_mode & 0777U) == 0600U); // not for other users
    flock(locked.Get(), LOCK_EX);
    std::thread unlocker([&] {
        usleep(50000);
        flock(locked.Get(), LOCK_UN);
    });
    EXPECT_EQ(OsMsgRegTask("patient", 8, Echo), 0U);
    unlocker.join();
    HostMsgEndTask("patient");
    flock(locked.Get(), LOCK_EX);
    Expect(OsMsgRegTask("task", 8, Echo), HOST_MSG_ERR_DIRECTORY,
           "runtime directory " + directory.path + " stays locked, peer.task is not served");
    // It is tried again a second later, also by a thread that has met the attempt under way.
    const auto send = [] { Tell("nobody", 5, "", "task", "other"); };
    const Deadline late(std::chrono::seconds(1)); // an asynchronous message waits for a moment only
    std::jthread first(send);
    usleep(20000);
    send();
    first.join();
    EXPECT_EQ(Ask("nobody", 5, "", 10, "task", "another").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_FALSE(late.HasPassed());
    flock(locked.Get(), LOCK_UN);
    EXPECT_TRUE(Eventually([&] {
        send();
        return access(directory.File("other.task").c_str(), F_OK) == 0;
    }));
    HostMsgEndTask("task");
}

FORKED_TEST(HostMessage, AnotherUserIsRefusedAtBothEnds)
{
    if (geteuid() != 0)
        return; // only root can become another user
    chmod(directory.path.c_str(), 0711);
    {
        Child peer = Serve();
        chmod(address.sun_path, 0777);
        InFork([&] {
            EXPECT_EQ(setuid(12345), 0);
            EXPECT_TRUE(IsClosedOn(Connected({Raw(0, "")})));
        });
        peer.ExpectOutput("peer.task: a connection of another user is refused");
        EXPECT_EQ(Ask("peer").data, "question");
    }
    std::filesystem::remove(address.sun_path);
    {
        const Child foreign = ServeRaw([](int) { pause(); }, 16, 12345);
        Expect(Ask("peer").result, HOST_MSG_ERR_FOREIGN, "peer.task is served by another user");
    }
    std::filesystem::remove(address.sun_path);
    std::filesystem::remove(directory.File(".lock"));
    EXPECT_EQ(chown(directory.path.c_str(), 12345, 12345), 0);
    InFork([&] { // a name stays its owner's also when that cannot be connected to
        EXPECT_EQ(setuid(12345), 0);
        EXPECT_EQ(BecomePeer(), 0U);
        chmod(address.sun_path, 0);
        InFork([] {
            Expect(BecomePeer(), HOST_MSG_ERR_SYSTEM, "connection of peer.task failed: Permission denied");
        });
    });
    EXPECT_EQ(chown(directory.path.c_str(), 0, 0), 0);
}

FORKED_TEST(HostMessage, TheRuntimeDirectoryIsFoundOrRefusedWithALine)
{
    const auto variables = [](const std::string& own, const std::string& parent) {
        setenv("VESK_RUNTIME_DIR", own.c_str(), 1);
        setenv("XDG_RUNTIME_DIR", parent.c_str(), 1);
    };
    for (const auto& [own, parent, path] :
         {std::tuple(directory.File("link"), std::string(1, '/'), directory.File("link")),
          {"", directory.path, directory.File("vesk")},
          {"", "", "/tmp/vesk-" + std::to_string(geteuid())}}) {
        variables(own, parent);
        const UniqueFd opened(HostMsgOpenRuntimeDir);
        struct stat status {};
        EXPECT_TRUE(fstat(opened.Get(), &status) == 0 && (status.st_mode & 0777U) == 0700U);
        EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(opened.Get())), path);
    }
    std::filesystem::remove(directory.File("link"));
    std::filesystem::create_symlink(directory.File("vesk"), directory.File("link"));
    close(creat(directory.File("file").c_str(), 0600));
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const std::tuple<std::string, mode_t, std::string> cases[] = {
        {"link", 0, "cannot be opened: it is not a directory itself"},
        {"file", 0, "cannot be opened: it is not a directory itself"},
        {"file/below", 0, "cannot be created: Not a directory"},
        {"open", 0702, "may be written by others, mode 702"},
        {"group", 0720, "may be written by others, mode 720"},
        {"foreign", 0700, "belongs to user 12345, not to user 0"},
    };
    for (const auto& [name, mode, line] : cases) {
        const std::string path = directory.File(name);
        ASSERT_TRUE(mode == 0 || (mkdir(path.c_str(), 0700) == 0 && chmod(path.c_str(), mode) == 0));
        if (name == "foreign" && chown(path.c_str(), 12345, 12345) != 0)
            continue; // only root can give it away
        variables(path, "");
        Expect(Ask("peer").result, HOST_MSG_ERR_DIRECTORY, "runtime directory " + path + ' ' + line);
        EXPECT_EQ(OsMsgRegTask("task", 8, Echo), uint32_t{HOST_MSG_ERR_DIRECTORY});
    }
    const std::string tooLong = directory.path + '/' + std::string(97 - directory.path.size(), 'f');
    variables(tooLong, ""); // with the endpoint's name, by one byte
    const size_t lines = g_lines.size();
    {
        const Served task("task", Echo); // nothing is lost: it works once the directory does
        EXPECT_EQ(Ask("self").data, "question");
    }
    EXPECT_FALSE(std::filesystem::exists(tooLong + "/self.task"));
    {
        const Served homeless("task", Echo, false);
        std::filesystem::remove_all(tooLong);
    }
    EXPECT_EQ(g_lines.size(), lines);
    variables(directory.path, "");
}
