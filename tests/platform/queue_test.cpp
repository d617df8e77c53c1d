// The host's buffer queues between processes.
#include "support/processes.h"
#include "vesk_host/queue.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/stat.h>

using namespace processes;

namespace {

struct HostQueue {
    RuntimeDir directory;

    std::string FileOf(pid_t creator) const { return directory.File("process-" + std::to_string(creator)); }
};

OsMemQueReq Named(const std::string& name)
{
    OsMemQueReq request{};
    std::memcpy(request.name, name.data(), name.size());
    request.id = 1;
    request.cnt = 2000;
    return request;
}

uint32_t Create(const std::string& name)
{
    OsMemQueReq request = Named(name);
    uint32_t queue = 0;
    EXPECT_EQ(OsShmAdvancedBuffCreateQueue(&request, &queue), 0U);
    EXPECT_EQ(queue >> 10U, static_cast<uint32_t>(getpid()));
    return queue;
}

std::string BytesOf(const HostQueueState& state)
{
    return {reinterpret_cast<const char*>(&state), sizeof state};
}

/// The state of a queue; nothing when there is none.
std::string Found(uint32_t queue)
{
    HostQueueState state{};
    return HostQueueFind(queue, &state) == 0 ? BytesOf(state) : "";
}

} // namespace

FORKED_TEST(HostQueue, IsSeenByItsIdentifier)
{
    const uint32_t first = Create("first"), queue = Create("mine");
    HostQueueState expected{queue, 1, 2000, 0, getpid(), "mine", ""};
    InFork([&] { // which takes nothing of its parent's away, and has its own
        EXPECT_EQ(Found(queue), BytesOf(expected));
        EXPECT_NE(HostQueueRemove(queue), 0U);
        EXPECT_EQ(OsShmAdvancedActivateQueue(queue, true), 0U);
        EXPECT_EQ(OsShmAdvancedInitQueue(queue, "VIDEO-LONG"), 0U);
        EXPECT_EQ(OsShmAdvancedInitQueue(queue, "VIDEO"), 0U);
        Create("mine");
    });
    expected.isEnabled = 1;
    std::strcpy(expected.peerProcName, "VIDEO");
    EXPECT_EQ(Found(queue), BytesOf(expected));
    EXPECT_EQ(OsShmAdvancedActivateQueue(queue, false), 0U);
    expected.isEnabled = 0;
    EXPECT_EQ(Found(queue), BytesOf(expected));
    struct stat status {};
    ASSERT_EQ(stat(FileOf(getpid()).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(HostQueueRemove(queue), 0U);
    EXPECT_NE(HostQueueRemove(queue), 0U);
    EXPECT_EQ(Found(queue), "");
    EXPECT_EQ(Create("again"), queue);
    EXPECT_NE(Found(first), "");
}

FORKED_TEST(HostQueue, EndsWithItsCreator)
{
    Child ending([] { Create("theirs"); });
    const pid_t ended = ending.Process();
    EXPECT_EQ(ending.Wait(), 0);
    EXPECT_NE(access(FileOf(ended).c_str(), F_OK), 0);
    // A child of the creator that lives on does not keep them.
    Child killed = Prepared([] {
        Create("theirs");
        if (fork() == 0) {
            alarm(1); // for long enough
            pause();
        }
    });
    const pid_t creator = killed.Process();
    const uint32_t queue = static_cast<uint32_t>(creator) << 10U | 1U;
    EXPECT_NE(Found(queue), "");
    killed.Wait(SIGKILL);
    EXPECT_EQ(Found(queue), "");
    // What a killed process has left is taken over by the next one of its number.
    std::filesystem::copy(FileOf(creator), FileOf(getpid()));
    EXPECT_NE(Create("mine"), queue);
}

FORKED_TEST(HostQueue, AProcessHasRoomFor1023)
{
    std::set<uint32_t> queues;
    for (int i = 0; i < 1023; ++i)
        EXPECT_TRUE(queues.insert(Create("q" + std::to_string(i))).second);
    OsMemQueReq more = Named("more");
    uint32_t queue = 0;
    EXPECT_NE(OsShmAdvancedBuffCreateQueue(&more, &queue), 0U);
    EXPECT_EQ(HostQueueRemove(*queues.begin()), 0U);
    EXPECT_EQ(Create("more"), *queues.begin());
}

FORKED_TEST(HostQueue, BadArgumentsAreRefused)
{
    const std::string name(31, 'm');
    const uint32_t mine = Create(name);
    uint32_t queue = 7;
    OsMemQueReq unnamed = Named(""), path = Named("a/b"), endless = Named(name + 'm'), empty = Named("x"),
                taken = Named(name), good = Named("good"), *const none = nullptr;
    empty.cnt = 0;
    for (OsMemQueReq* request : {&unnamed, &path, &endless, &empty, &taken, none})
        EXPECT_NE(OsShmAdvancedBuffCreateQueue(request, &queue), 0U);
    EXPECT_NE(OsShmAdvancedBuffCreateQueue(&good, nullptr), 0U);
    EXPECT_EQ(queue, 7U);
    for (const uint32_t unknown : {0U, 1U, mine + 1, mine - 1, UINT32_MAX}) {
        EXPECT_NE(OsShmAdvancedActivateQueue(unknown, true), 0U);
        EXPECT_NE(OsShmAdvancedInitQueue(unknown, "VIDEO"), 0U);
        EXPECT_NE(HostQueueRemove(unknown), 0U);
        EXPECT_EQ(Found(unknown), "");
    }
    EXPECT_NE(OsShmAdvancedInitQueue(mine, nullptr), 0U);
    EXPECT_NE(OsShmAdvancedInitQueue(mine, std::string(32, 'p').c_str()), 0U);
    EXPECT_EQ(OsShmAdvancedInitQueue(mine, std::string(31, 'p').c_str()), 0U);
    EXPECT_NE(HostQueueFind(mine, nullptr), 0U);
}

// Whatever its owner does to the file, a queue is there or is not.
FORKED_TEST(HostQueue, FilesThatOnlyLookLikeQueuesAreRefused)
{
    const uint32_t mine = Create("mine");
    const std::string file = FileOf(getpid());
    std::string bytes(2 * sizeof(HostQueueState), '\0'); // there is no number 0
    ASSERT_EQ(HostQueueFind(mine, reinterpret_cast<HostQueueState*>(&bytes[bytes.size() / 2])), 0U);
    const std::string start = bytes.substr(0, bytes.size() - 64);
    const uid_t user = geteuid(), other = user == 0 ? 12345 : user;
    for (const auto& [content, owner, isQueue] : {std::tuple(bytes, user, true),
                                                  {std::string(), user, false},
                                                  {bytes.substr(0, bytes.size() - 1), user, false},
                                                  {std::string(bytes.size(), '\0'), user, false},
                                                  {bytes, other, other == user},
                                                  {start + std::string(64, 'e'), user, true}}) {
        InFork([&, &now = content, user = owner, found = isQueue] {
            HostQueueState state{};
            std::ofstream(file) << now;
            EXPECT_EQ(chown(file.c_str(), user, getegid()), 0);
            EXPECT_EQ(HostQueueFind(mine, &state) == 0, found);
            EXPECT_LT(strnlen(state.name, 32) + strnlen(state.peerProcName, 32), 63U);
        });
    }
    for (const auto place : {+[](const char* path) { return mkfifo(path, 0600); },
                             +[](const char* path) { return mkdir(path, 0700); },
                             +[](const char* path) { return symlink("/etc/passwd", path); }}) {
        InFork([&] {
            OsMemQueReq request = Named("mine");
            uint32_t queue = 0;
            EXPECT_EQ(place(FileOf(getpid()).c_str()), 0);
            EXPECT_EQ(OsShmAdvancedBuffCreateQueue(&request, &queue), 0U);
            EXPECT_NE(queue >> 10U, static_cast<uint32_t>(getpid())); // whose file's name is taken
        });
    }
}

FORKED_TEST(HostQueue, ChildrenForkedDuringACreationHaveTheirOwn)
{
#ifdef __SANITIZE_THREAD__
    return; // the sanitizer's own locks may be held in the child of a process with threads
#endif
    std::jthread creating([](const std::stop_token& stop) {
        while (!stop.stop_requested())
            HostQueueRemove(Create("mine"));
    });
    for (int i = 0; i < 100; ++i)
        InFork([] {
            alarm(5);
            Create("theirs");
            _exit(testing::Test::HasFailure() ? 1 : 0);
        });
}
