// The host's shared-memory queues between processes.
#include "support/processes.h"
#include "vesk_host/queue.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <sys/stat.h>

using namespace processes;

namespace {

struct HostQueue {};

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

std::string ObjectOf(pid_t creator, const std::string& name)
{
    return "/dev/shm/vesk-" + std::to_string(geteuid()) + '-' + std::to_string(creator) + '-' + name;
}

} // namespace

FORKED_TEST(HostQueue, IsSeenByNameAndIdentifier)
{
    const uint32_t first = Create("first"), queue = Create("mine");
    HostQueueState expected{queue, 1, 2000, 0, getpid(), "mine", ""};
    InFork([&] { // which takes nothing of its parent's away
        HostQueueState byName{};
        EXPECT_EQ(HostQueueOpen(expected.creator, "mine", &byName), 0U);
        EXPECT_EQ(BytesOf(byName), BytesOf(expected));
        EXPECT_EQ(Found(queue), BytesOf(expected));
        EXPECT_NE(HostQueueRemove(queue), 0U);
        EXPECT_EQ(OsShmAdvancedActivateQueue(queue, true), 0U);
        EXPECT_EQ(OsShmAdvancedInitQueue(queue, "VIDEO-LONG"), 0U);
        EXPECT_EQ(OsShmAdvancedInitQueue(queue, "VIDEO"), 0U);
    });
    expected.isEnabled = 1;
    std::strcpy(expected.peerProcName, "VIDEO");
    EXPECT_EQ(Found(queue), BytesOf(expected));
    EXPECT_EQ(OsShmAdvancedActivateQueue(queue, false), 0U);
    expected.isEnabled = 0;
    EXPECT_EQ(Found(queue), BytesOf(expected));
    struct stat status {};
    ASSERT_EQ(stat(ObjectOf(getpid(), "mine").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(HostQueueRemove(queue), 0U);
    EXPECT_NE(HostQueueRemove(queue), 0U);
    EXPECT_NE(access(ObjectOf(getpid(), "mine").c_str(), F_OK), 0);
    EXPECT_NE(Found(first), "");
}

FORKED_TEST(HostQueue, EndsWithItsCreator)
{
    Child ending([] {
        Create("theirs");
        HostQueueRemove(Create("more")); // none is left, then there is one again
        Create("others");
    });
    Child killed = Prepared([] { EXPECT_NE(Create("theirs"), 0U); });
    const pid_t ended = ending.Process(), creator = killed.Process();
    EXPECT_EQ(ending.Wait(), 0);
    EXPECT_NE(access(ObjectOf(ended, "theirs").c_str(), F_OK), 0);
    EXPECT_NE(access(ObjectOf(ended, "others").c_str(), F_OK), 0);
    HostQueueState state{};
    ASSERT_EQ(HostQueueOpen(creator, "theirs", &state), 0U);
    killed.Wait(SIGKILL);
    EXPECT_EQ(Found(state.queueId), "");
    EXPECT_NE(access(ObjectOf(creator, "theirs").c_str(), F_OK), 0); // found dead, and removed
}

FORKED_TEST(HostQueue, AProcessHasRoomFor1023)
{
    const uint32_t mine = Create("mine");
    Child creator([mine] {
        std::set<uint32_t> queues = {mine};
        for (int i = 0; i < 1023; ++i)
            EXPECT_TRUE(queues.insert(Create("q" + std::to_string(i))).second);
        queues.erase(mine);
        OsMemQueReq more = Named("more");
        uint32_t queue = 0;
        EXPECT_NE(OsShmAdvancedBuffCreateQueue(&more, &queue), 0U);
        EXPECT_EQ(HostQueueRemove(*queues.begin()), 0U);
        EXPECT_EQ(Create("more"), *queues.begin());
        _exit(testing::Test::HasFailure() ? 1 : 0); // leaves them
    });
    const auto any = static_cast<uint32_t>(creator.Process()) << 10;
    EXPECT_EQ(creator.Wait(), 0);
    EXPECT_EQ(Found(any), ""); // removes what is left
}

FORKED_TEST(HostQueue, BadArgumentsAndForeignObjectsAreRefused)
{
    const std::string name(31, 'm'), object = ObjectOf(getpid(), "odd");
    const uint32_t mine = Create(name);
    uint32_t queue = 7;
    OsMemQueReq unnamed = Named(""), path = Named("a/b"), endless = Named(name + 'm'), empty = Named("x"),
                taken = Named(name), good = Named("good"), *const none = nullptr;
    empty.cnt = 0;
    for (OsMemQueReq* request : {&unnamed, &path, &endless, &empty, &taken, none})
        EXPECT_NE(OsShmAdvancedBuffCreateQueue(request, &queue), 0U);
    EXPECT_NE(OsShmAdvancedBuffCreateQueue(&good, nullptr), 0U);
    EXPECT_EQ(queue, 7U);
    HostQueueState state{};
    for (const uint32_t unknown : {0U, 1U, mine + 1, UINT32_MAX}) {
        EXPECT_NE(OsShmAdvancedActivateQueue(unknown, true), 0U);
        EXPECT_NE(OsShmAdvancedInitQueue(unknown, "VIDEO"), 0U);
        EXPECT_EQ(Found(unknown), "");
    }
    EXPECT_NE(OsShmAdvancedInitQueue(mine, nullptr), 0U);
    EXPECT_NE(OsShmAdvancedInitQueue(mine, std::string(32, 'p').c_str()), 0U);
    EXPECT_EQ(OsShmAdvancedInitQueue(mine, std::string(31, 'p').c_str()), 0U);
    EXPECT_NE(HostQueueFind(mine, nullptr), 0U);
    EXPECT_NE(HostQueueOpen(getpid(), nullptr, &state), 0U);
    EXPECT_NE(HostQueueOpen(getpid(), "good", nullptr), 0U);
    // What only looks like a queue: without the mark, too short, another user's; and without ends of its
    // names.
    const std::string bytes = Contents(ObjectOf(getpid(), name)), start = bytes.substr(0, bytes.size() - 64);
    const uid_t user = geteuid(), other = user == 0 ? 12345 : user;
    for (const auto& [content, owner, isQueue] : {std::tuple(bytes, user, true),
                                                  {bytes.substr(1) + '\0', user, false},
                                                  {bytes.substr(0, bytes.size() - 1), user, false},
                                                  {bytes, other, other == user},
                                                  {start + std::string(64, 'e'), user, true}}) {
        std::ofstream(object) << content;
        EXPECT_EQ(chown(object.c_str(), owner, getegid()), 0);
        EXPECT_EQ(HostQueueOpen(getpid(), "odd", &state) == 0, isQueue);
        std::filesystem::remove(object);
    }
    EXPECT_EQ(strnlen(state.name, 32), 31U);
    EXPECT_EQ(strnlen(state.peerProcName, 32), 31U);
}
