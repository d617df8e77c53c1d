// The host's affinity, bounds-checked memory and log sinks.
#include "platform/os_log.h"
#include "platform/os_msg.h"
#include "platform/os_sysctrl.h"
#include "platform/secure_memory.h"
#include "support/processes.h"
#include "vesk_host/message.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include <pthread.h>

using namespace processes;

namespace {

std::string Contents(const std::string& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// What a process writes to its log when the environment says so.
std::string Logged(const std::vector<std::pair<const char*, std::string>>& environment,
                   const std::string& file)
{
    Child child = Child::Fork([&] {
        for (const auto& [name, value] : environment)
            setenv(name, value.c_str(), 1);
        if (freopen((file + ".stderr").c_str(), "w", stderr) == nullptr)
            _exit(1);
        ZORA_Trace(ZORA_GetVideoTracLevel(), 1, "ZORA", "Function", 12, "error %d\n", 5);
        ZORA_Trace(ZORA_GetVideoTracLevel(), 3, "ZORA", "Function", 13, "information");
        VeskOmLogModuleLogRecord(1, VeskVideoGetPrivateLogId(0), "source!", 6, 14, "a\nb\tc\x1b[2J%s", "\r");
        VeskOmLogModuleLogRecord(3, VeskVideoGetPrivateLogId(0), "source", 6, 15, "%s",
                                 std::string(9000, 'x').c_str());
        VeskOmLogModuleLogRecord(4, VeskVideoGetPrivateLogId(0), "source", 6, 16, "detail");
    });
    EXPECT_EQ(child.Wait(), 0);
    return Contents(file);
}

} // namespace

TEST(HostAffinity, BindsTheMessageThreadItIsToldOf)
{
    static std::atomic<int> s_cpus = 0;
    static std::atomic<uint32_t> s_thread = 0;
    const RuntimeDir directory;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    ASSERT_EQ(OsMsgRegTask("task", 8,
                           [](OsMsgEnvelope* message) -> uint32_t {
                               cpu_set_t cpus;
                               pthread_getaffinity_np(pthread_self(), sizeof cpus, &cpus);
                               s_cpus = CPU_COUNT(&cpus);
                               s_thread = static_cast<uint32_t>(pthread_self());
                               return HostMsgReply(message, nullptr, 0);
                           }),
              0U);
    cpu_set_t usable;
    ASSERT_EQ(sched_getaffinity(0, sizeof usable, &usable), 0);
    int last = CPU_SETSIZE - 1;
    while (!CPU_ISSET(last, &usable))
        --last;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);

    std::atomic<bool> go = false;
    std::thread loop([&] {
        while (!go)
            std::this_thread::yield();
        OsMsgTaskRoutineByName("task");
    });
    const auto id = static_cast<uint32_t>(loop.native_handle());
    EXPECT_EQ(OsSetProcessAffinity(id, &one, 6), 0); // before the thread runs its loop
    go = true;
    const auto ask = [] {
        OsMsgEnvelope envelope{};
        memcpy(envelope.recvProcName, "self", 4);
        memcpy(envelope.recvTaskName, "task", 4);
        OsMsgEnvelope* response = nullptr;
        EXPECT_EQ(OsMsgSynSend(&envelope, &response, 5000), 0U);
        OsMsgSynRespFree(response);
    };
    ask();
    EXPECT_EQ(s_thread, id);
    EXPECT_EQ(s_cpus, 1);
    EXPECT_EQ(OsSetProcessAffinity(id, &usable, 6), 0); // and while it does
    ask();
    EXPECT_EQ(s_cpus, CPU_COUNT(&usable));
    cpu_set_t none;
    CPU_ZERO(&none);
    EXPECT_EQ(OsSetProcessAffinity(id, &none, 6), 0);
    if (last < CPU_SETSIZE - 1) {
        CPU_SET(CPU_SETSIZE - 1, &none);
        EXPECT_EQ(OsSetProcessAffinity(id, &none, 6), -1); // no such CPU here
    }
    EXPECT_EQ(OsSetProcessAffinity(id, nullptr, 6), -1);
    HostMsgEndTask("task");
    loop.join();
}

TEST(HostMemory, CountsAreHeldToTheCapacity)
{
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memcpy_s(buffer, 2, "xyz", 2), 0);
    EXPECT_NE(memcpy_s(buffer, 2, "123", 3), 0);
    EXPECT_NE(memcpy_s(nullptr, 2, "1", 1), 0);
    EXPECT_NE(memcpy_s(buffer, 2, nullptr, 1), 0);
    EXPECT_EQ(std::string(buffer, 4), "xycd");
    EXPECT_EQ(memset_s(buffer, 4, '-', 3), 0);
    EXPECT_NE(memset_s(buffer, 4, '+', 5), 0);
    EXPECT_NE(memset_s(nullptr, 4, '+', 1), 0);
    EXPECT_EQ(std::string(buffer, 4), "---d");
}

TEST(HostLog, IsSilentButForErrorsAndKeepsARecordOnALine)
{
    const RuntimeDir directory;
    const std::string file = directory.File("log");
    const std::string lines = Logged({{"VESK_LOG_TARGET", "file:" + file}}, file);
    EXPECT_TRUE(std::regex_match(
        lines, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+:\d+ E \[ZORA\] Function:12 error 5
\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \d+:\d+ E \[source\] 14 a\\nb\\tc\\x1b\[2J\\x0d
)"))) << lines;
}

TEST(HostLog, ThresholdsAreSetApartAndFilesAreRotated)
{
    const RuntimeDir directory;
    const std::string file = directory.File("log");
    const std::string lines = Logged({{"VESK_LOG_TARGET", "file:" + file},
                                      {"VESK_TRACE_LEVEL", "3"},
                                      {"VESK_LOG_LEVEL", "4"},
                                      {"VESK_LOG_FILE_SIZE", "4096"}},
                                     file);
    EXPECT_NE(lines.find("[source] 16 detail"), std::string::npos);
    const std::string rotated = Contents(directory.File("log.1")) + Contents(directory.File("log.2"));
    EXPECT_NE(rotated.find("Function:13 information"), std::string::npos);
    EXPECT_NE(rotated.find(std::string(9000, 'x')), std::string::npos);
}

TEST(HostLog, BadSettingsAreNamedAndTheDefaultHolds)
{
    const RuntimeDir directory;
    const std::string file = directory.File("log");
    const std::string lines = Logged({{"VESK_LOG_TARGET", "file:" + file},
                                      {"VESK_TRACE_LEVEL", "many"},
                                      {"VESK_LOG_LEVEL", "5"},
                                      {"VESK_LOG_FILES", "0"}},
                                     file);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
    const std::string complaints = Contents(file + ".stderr");
    EXPECT_NE(complaints.find("VESK_TRACE_LEVEL='many' is not a number from 0 to 4, 1 is used"),
              std::string::npos);
    EXPECT_NE(complaints.find("VESK_LOG_LEVEL='5'"), std::string::npos);
    EXPECT_NE(complaints.find("VESK_LOG_FILES='0'"), std::string::npos);

    Logged({{"VESK_LOG_TARGET", "printer"}}, file);
    EXPECT_NE(Contents(file + ".stderr").find("VESK_LOG_TARGET='printer' is none of"), std::string::npos);
    Logged({{"VESK_LOG_TARGET", "file:" + directory.Path()}}, file); // a directory cannot be written
    EXPECT_NE(Contents(file + ".stderr").find("stderr is used"), std::string::npos);
    EXPECT_NE(Contents(file + ".stderr").find("error 5"), std::string::npos);
    Logged({{"VESK_LOG_TARGET", "none"}}, file);
    EXPECT_EQ(Contents(file + ".stderr"), "");
}
