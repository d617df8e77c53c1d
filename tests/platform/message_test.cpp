// The host's message library between processes, and against peers that do not keep to its rules.
#include "message/frame.h"
#include "support/processes.h"
#include "vesk_host/message.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace processes;
using namespace vesk::host;

namespace {

std::mutex g_lock;
std::vector<std::string> g_lines;

void Capture(uint32_t, const char* text)
{
    const std::lock_guard guard(g_lock);
    g_lines.push_back(text);
}

size_t LinesWith(const std::string& text)
{
    const std::lock_guard guard(g_lock);
    size_t count = 0;
    for (const std::string& line : g_lines)
        count += line.find(text) != std::string::npos ? 1 : 0;
    return count;
}

void Put(char (&field)[16], const std::string& name)
{
    std::memcpy(field, name.data(), std::min<size_t>(name.size(), 16));
}

OsMsgEnvelope To(const std::string& process, const std::string& task, uint32_t msgId, std::string& data)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = msgId;
    Put(envelope.recvProcName, process);
    Put(envelope.recvTaskName, task);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = data.empty() ? nullptr : data.data();
    return envelope;
}

struct Outcome {
    uint32_t result;
    std::string data;
};

Outcome Ask(const std::string& process, const std::string& task, uint32_t msgId,
            std::string data = "question", uint32_t timeout = 5000)
{
    OsMsgEnvelope envelope = To(process, task, msgId, data);
    OsMsgEnvelope* response = nullptr;
    const uint32_t result = OsMsgSynSend(&envelope, &response, timeout);
    if (result != 0) {
        EXPECT_EQ(response, nullptr);
        return {result, ""};
    }
    Outcome outcome{0, std::string(static_cast<char*>(response->data), response->dataLen)};
    OsMsgSynRespFree(response);
    return outcome;
}

uint32_t Tell(const std::string& process, const std::string& task, uint32_t msgId, std::string data = "")
{
    OsMsgEnvelope envelope = To(process, task, msgId, data);
    return OsMsgAsynSend(&envelope);
}

uint32_t Echo(OsMsgEnvelope* message)
{
    return HostMsgReply(message, message->data, message->dataLen);
}

/// A process that serves "peer"/"task" with @p handler.
Child Serve(uint32_t (*handler)(OsMsgEnvelope*), uint32_t depth = 64)
{
    Child child = Child::Fork([=] {
        HostMsgSetProcName("peer");
        if (OsMsgRegTask("task", depth, handler) != 0)
            _exit(1);
        std::puts("ready");
        std::fflush(stdout);
        OsMsgTaskRoutineByName("task");
    });
    EXPECT_TRUE(child.AwaitOutput("ready"));
    return child;
}

sockaddr_un AddressOf(const RuntimeDir& directory)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", directory.File("peer.task").c_str());
    return address;
}

/// A process that accepts connections at "peer"/"task" and does with each what @p script says.
Child ServeRaw(const RuntimeDir& directory, const std::function<void(int connection)>& script)
{
    Child child = Child::Fork([&] {
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        const sockaddr_un address = AddressOf(directory);
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        listen(listener, 16);
        std::puts("ready");
        std::fflush(stdout);
        for (;;)
            script(accept(listener, nullptr, nullptr));
    });
    EXPECT_TRUE(child.AwaitOutput("ready"));
    return child;
}

/// Reads one request whole from a raw connection; false when there is none.
bool ReadRequest(int connection, OsMsgEnvelope& envelope)
{
    FrameHead head;
    if (recv(connection, &head, sizeof head, MSG_WAITALL) != sizeof head)
        return false;
    envelope = head.Envelope();
    std::string data(envelope.dataLen, '\0');
    return recv(connection, data.data(), data.size(), MSG_WAITALL) == static_cast<ssize_t>(data.size());
}

void WriteRaw(int connection, const OsMsgEnvelope& envelope, const std::string& data)
{
    const FrameHead head = FrameHead::Of(envelope);
    std::string bytes(reinterpret_cast<const char*>(&head), sizeof head);
    bytes += data;
    send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

class MessageTest : public testing::Test {
protected:
    MessageTest() { OsMsgRegLogFunc(Capture); }

    RuntimeDir directory_;
};

} // namespace

TEST_F(MessageTest, ExchangesUpToFourMebibytes)
{
    const Child peer = Serve(Echo);
    const size_t limit = size_t{4} << 20;
    for (const size_t size : {size_t{1}, size_t{200000}, limit}) {
        const std::string data(size, 'd');
        const Outcome outcome = Ask("peer", "task", 7, data);
        EXPECT_EQ(outcome.result, 0U);
        EXPECT_TRUE(outcome.data == data) << size;
    }
    EXPECT_EQ(Ask("peer", "task", 7, "").data, "");
    EXPECT_EQ(Ask("peer", "task", 7, std::string(limit + 1, 'd')).result, uint32_t{HOST_MSG_ERR_TOO_LONG});
    EXPECT_EQ(LinesWith("has 4194305 bytes of data"), 1U);
    EXPECT_EQ(Tell("peer", "task", 8, std::string(limit, 'd')), 0U);
    EXPECT_EQ(Ask("peer", "task", 7).data, "question");
    struct stat status {};
    ASSERT_EQ(stat(directory_.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST_F(MessageTest, SixteenThreadsGetTheirOwnAnswers)
{
    const Child peer = Serve(Echo);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&wrong, thread] {
            for (uint32_t i = 0; i < 200; ++i) {
                const std::string data = std::to_string(thread) + '/' + std::to_string(i);
                const Outcome outcome = Ask("peer", "task", thread, data);
                wrong += outcome.result != 0 || outcome.data != data ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(MessageTest, WrongAnswersFailAtOnceAndTheNextCallWorks)
{
    using Script = std::function<void(int connection, const OsMsgEnvelope& request)>;
    const auto answer = [](uint32_t dataLen, const char* data, uint32_t msgId = 5) -> Script {
        return [=](int connection, OsMsgEnvelope answered) {
            answered.msgId = msgId;
            answered.dataLen = dataLen;
            WriteRaw(connection, answered, data);
        };
    };
    const struct {
        const char* what;
        uint32_t result;
        Script script;
    } cases[] = {
        {"closed without an answer", HOST_MSG_ERR_BROKEN, [](int, const OsMsgEnvelope&) {}},
        {"garbage", HOST_MSG_ERR_MALFORMED,
         [](int connection, const OsMsgEnvelope&) {
             send(connection, std::string(400, '#').data(), 400, 0);
         }},
        {"half a head", HOST_MSG_ERR_BROKEN,
         [](int connection, const OsMsgEnvelope& request) {
             const FrameHead head = FrameHead::Of(request);
             send(connection, &head, 100, 0);
         }},
        {"less data than announced", HOST_MSG_ERR_BROKEN, answer(100, "little")},
        {"more than the limit", HOST_MSG_ERR_MALFORMED, answer(kMaxDataLen + 1, "much")},
        {"goes on behind its end", HOST_MSG_ERR_MALFORMED, answer(2, "surplus")},
        {"another message's", HOST_MSG_ERR_MALFORMED, answer(2, "ok", 6)},
    };
    constexpr int kCases = std::size(cases);
    // Request 2n gets what case n says and loses its connection; the one after it is answered, and its
    // connection stays for the next.
    const Child peer = ServeRaw(directory_, [&, number = 0](int connection) mutable {
        for (OsMsgEnvelope request; ReadRequest(connection, request); ++number) {
            if (number % 2 == 0) {
                cases[number++ / 2].script(connection, request);
                break;
            }
            request.dataLen = 4;
            WriteRaw(connection, request, "good");
        }
        close(connection);
    });
    for (int i = 0; i < kCases; ++i) {
        SCOPED_TRACE(cases[i].what);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Ask("peer", "task", 5).result, cases[i].result);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
        EXPECT_EQ(Ask("peer", "task", 5).data, "good");
    }
}

TEST_F(MessageTest, ALateAnswerIsNeverTakenForTheNext)
{
    const Child peer = Serve([](OsMsgEnvelope* message) -> uint32_t {
        if (std::string_view(static_cast<char*>(message->data), message->dataLen) == "slow")
            usleep(300000);
        return Echo(message);
    });
    EXPECT_EQ(Ask("peer", "task", 5, "warm").data, "warm");
    EXPECT_EQ(Ask("peer", "task", 5, "slow", 100).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    EXPECT_EQ(LinesWith("did not answer in time"), 1U);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Ask("peer", "task", 5, "next").data, "next");
        usleep(100000);
    }
}

TEST_F(MessageTest, PeersComeAndGo)
{
    EXPECT_EQ(Ask("peer", "task", 5).result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Tell("peer", "task", 5), uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(LinesWith("nobody serves peer.task in " + directory_.Path()),
              1U); // repeated lines are left out
    {
        const Child peer = Serve(Echo);
        EXPECT_EQ(Ask("peer", "task", 5).result, 0U);
    } // killed: its socket stays behind, and a pooled connection here
    EXPECT_EQ(access(directory_.File("peer.task").c_str(), F_OK), 0);
    EXPECT_EQ(Ask("peer", "task", 5).result, uint32_t{HOST_MSG_ERR_ABSENT});
    Child peer = Serve(Echo); // takes the socket over
    EXPECT_EQ(Ask("peer", "task", 5).result, 0U);
    Child second = Child::Fork([] {
        HostMsgSetProcName("peer");
        _exit(OsMsgRegTask("task", 8, Echo) == HOST_MSG_ERR_TAKEN ? 42 : 1);
    });
    EXPECT_EQ(second.Wait(), 42);
    EXPECT_EQ(Ask("peer", "task", 5).result, 0U);
}

TEST_F(MessageTest, AServingTaskOutlivesWhatItsClientsDo)
{
    const Child peer = Serve(Echo);
    const sockaddr_un address = AddressOf(directory_);
    OsMsgEnvelope tooLong{};
    tooLong.dataLen = kMaxDataLen + 1;
    OsMsgEnvelope badType{};
    badType.type = 2;
    OsMsgEnvelope cutOff{};
    cutOff.dataLen = 1000;
    for (const OsMsgEnvelope& envelope : {tooLong, badType, cutOff}) {
        const int connection = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        WriteRaw(connection, envelope, "some data");
        if (envelope.dataLen != 1000) {
            char byte;
            EXPECT_LE(recv(connection, &byte, 1, 0), 0); // the connection is closed
        }
        close(connection);
        EXPECT_EQ(Ask("peer", "task", 5).data, "question");
    }
}

TEST_F(MessageTest, AnUnansweredMessageFailsAtItsSenderAtOnce)
{
    const Child peer = Serve([](OsMsgEnvelope* message) -> uint32_t {
        static bool first = true;
        if (std::exchange(first, false))
            return 0;
        OsMsgEnvelope other{};
        if (HostMsgReply(&other, nullptr, 0) == 0 || HostMsgReply(nullptr, nullptr, 0) == 0 ||
            Echo(message) != 0 || Echo(message) == 0)
            _exit(1);
        return 0;
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask("peer", "task", 5).result, uint32_t{HOST_MSG_ERR_BROKEN});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(Ask("peer", "task", 5).data, "question");
    EXPECT_EQ(Ask("peer", "task", 5).data, "question");
}

TEST_F(MessageTest, ATaskThatDoesNotKeepUpDropsAndCounts)
{
    static std::atomic<int> s_handled = 0;
    OsMsgSetLogLevel(3);
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    ASSERT_EQ(OsMsgRegTask("slow", 4, [](OsMsgEnvelope*) -> uint32_t { return ++s_handled > 0 ? 0 : 1; }),
              0U);
    for (uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(Tell("self", "slow", i), 0U);
    EXPECT_EQ(Ask("self", "slow", 99).result, uint32_t{HOST_MSG_ERR_BROKEN}); // no room: fails at once
    EXPECT_EQ(LinesWith("task slow: message 4 dropped, 4 already wait"), 1U);
    std::thread loop([] { OsMsgTaskRoutineByName("slow"); });
    EXPECT_TRUE(Eventually([] { return s_handled == 4; }));
    EXPECT_EQ(Tell("self", "slow", 11), 0U);
    EXPECT_TRUE(Eventually([] { return s_handled == 5; }));
    EXPECT_EQ(LinesWith("task slow: 7 messages were dropped, there is room again"), 1U);
    OsMsgTaskRoutineByName("slow"); // is run already: returns at once
    EXPECT_EQ(HostMsgEndTask("slow"), 0U);
    loop.join();
    EXPECT_NE(access(directory_.File("self.slow").c_str(), F_OK), 0);
    EXPECT_EQ(Tell("self", "slow", 12), uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(HostMsgEndTask("none"), uint32_t{HOST_MSG_ERR_ARGUMENT});
}

TEST_F(MessageTest, AStoppedReceiverNeverBlocksTheSender)
{
    const Child peer = Serve([](OsMsgEnvelope*) -> uint32_t { return 0; });
    peer.Signal(SIGSTOP);
    uint32_t result = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 5000 && result == 0; ++i)
        result = Tell("peer", "task", 5, std::string(500, 'd'));
    EXPECT_EQ(result, uint32_t{HOST_MSG_ERR_FULL});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(Ask("peer", "task", 5, "question", 200).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    peer.Signal(SIGCONT);
    EXPECT_TRUE(Eventually([] { return Tell("peer", "task", 5) == 0; }));
}

TEST_F(MessageTest, MessagesOfOneThreadArriveInOrder)
{
    static std::vector<uint32_t> s_numbers;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    ASSERT_EQ(OsMsgRegTask("order", 4096,
                           [](OsMsgEnvelope* message) -> uint32_t {
                               s_numbers.push_back(message->msgId);
                               if (message->type == 1)
                                   return Echo(message);
                               return 0;
                           }),
              0U);
    std::thread loop([] { OsMsgTaskRoutineByName("order"); });
    for (uint32_t i = 0; i < 500; ++i) {
        EXPECT_EQ(Tell("self", "order", 2 * i), 0U);
        EXPECT_EQ(Ask("self", "order", 2 * i + 1).result, 0U);
    }
    HostMsgEndTask("order");
    loop.join();
    ASSERT_EQ(s_numbers.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(s_numbers.begin(), s_numbers.end()));
}

TEST_F(MessageTest, ProcessesAreNamedByTheirFirstMessage)
{
    const Child peer = Serve(Echo);
    ASSERT_EQ(OsMsgRegTask("inbox", 8, Echo), 0U);
    EXPECT_EQ(Ask("peer", "task", 5).result, 0U); // says no name of its own: nothing is bound
    EXPECT_EQ(Ask("app", "inbox", 5, "x", 100).result, uint32_t{HOST_MSG_ERR_ABSENT});
    std::string data = "x";
    OsMsgEnvelope envelope = To("peer", "task", 5, data);
    Put(envelope.sendProcName, "app");
    OsMsgEnvelope* response = nullptr;
    ASSERT_EQ(OsMsgSynSend(&envelope, &response, 5000), 0U);
    EXPECT_STREQ(response->recvProcName, "app");
    OsMsgSynRespFree(response);
    EXPECT_EQ(access(directory_.File("app.inbox").c_str(), F_OK), 0);
}

TEST_F(MessageTest, NamesAreWrittenSafely)
{
    const std::string odd = "../a b\n\x01%"; // never a path
    ASSERT_EQ(HostMsgSetProcName(odd.c_str()), 0U);
    ASSERT_EQ(OsMsgRegTask("t.t", 8, Echo), 0U);
    std::thread([] { OsMsgTaskRoutineByName("t.t"); }).detach();
    EXPECT_EQ(Ask(odd, "t.t", 5).data, "question");
    EXPECT_EQ(access(directory_.File("%2E%2E%2Fa%20b%0A%01%25.t%2Et").c_str(), F_OK), 0);
    for (const char* name : {"", "sixteen letters!"})
        EXPECT_EQ(HostMsgSetProcName(name), uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(Ask("", "task", 5).result, uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(Ask("peer", "", 5).result, uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(OsMsgRegTask("", 8, Echo), uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(OsMsgRegTask("task", 8, nullptr), uint32_t{HOST_MSG_ERR_ARGUMENT});
    HostMsgEndTask("t.t");
}

TEST_F(MessageTest, UnusableRuntimeDirectoriesAreRefusedWithALine)
{
    const std::string target = directory_.File("target");
    ASSERT_EQ(mkdir(target.c_str(), 0700), 0);
    const std::string link = directory_.File("link");
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    const std::string file = directory_.File("file");
    close(open(file.c_str(), O_CREAT | O_WRONLY, 0600));
    const std::string open = directory_.File("open");
    ASSERT_EQ(mkdir(open.c_str(), 0700), 0);
    ASSERT_EQ(chmod(open.c_str(), 0777), 0);
    struct Case {
        std::string path;
        std::string line;
    };
    std::vector<Case> cases = {
        {link, "cannot be opened: it is not a directory itself"},
        {file, "cannot be opened: it is not a directory itself"},
        {file + "/below", "cannot be created: Not a directory"},
        {open, "may be written by others, mode 777"},
    };
    const std::string foreign = directory_.File("foreign");
    if (geteuid() == 0) {
        ASSERT_EQ(mkdir(foreign.c_str(), 0700), 0);
        ASSERT_EQ(chown(foreign.c_str(), 12345, 12345), 0);
        cases.push_back({foreign, "belongs to user 12345, not to user 0"});
    }
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    for (const Case& c : cases) {
        setenv("VESK_RUNTIME_DIR", c.path.c_str(), 1);
        EXPECT_EQ(Ask("peer", "task", 5).result, uint32_t{HOST_MSG_ERR_DIRECTORY});
        EXPECT_EQ(LinesWith("runtime directory " + c.path + ' ' + c.line), 1U) << c.path;
        EXPECT_EQ(OsMsgRegTask("task", 8, Echo), uint32_t{HOST_MSG_ERR_DIRECTORY});
    }
    setenv("VESK_RUNTIME_DIR", directory_.File(std::string(200, 'f')).c_str(), 1); // longer than an address
    EXPECT_EQ(OsMsgRegTask("task", 8, Echo), 0U); // nothing is lost: it works once the directory does
    std::thread loop([] { OsMsgTaskRoutineByName("task"); });
    EXPECT_EQ(Ask("self", "task", 5).data, "question");
    HostMsgEndTask("task");
    loop.join();
}

TEST_F(MessageTest, AConnectionOfAnotherUserIsRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const Child peer = Serve(Echo);
    chmod(directory_.Path().c_str(), 0711);
    chmod(directory_.File("peer.task").c_str(), 0777);
    const sockaddr_un address = AddressOf(directory_);
    Child foreigner = Child::Fork([&] {
        if (setuid(12345) != 0)
            _exit(1);
        const int connection = socket(AF_UNIX, SOCK_STREAM, 0);
        if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            _exit(2);
        WriteRaw(connection, OsMsgEnvelope{}, "");
        char byte;
        _exit(recv(connection, &byte, 1, 0) <= 0 ? 42 : 3);
    });
    EXPECT_EQ(foreigner.Wait(), 42);
    EXPECT_EQ(Ask("peer", "task", 5).data, "question");
}
