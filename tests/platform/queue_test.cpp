// The host's shared-memory queues between processes.
#include "support/processes.h"
#include "vesk_host/queue.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

using namespace processes;

namespace {

OsMemQueReq Named(const char* name)
{
    OsMemQueReq request{};
    std::strcpy(request.name, name);
    request.id = 1;
    request.cnt = 2000;
    return request;
}

std::string ObjectOf(pid_t creator, const std::string& name)
{
    return "/dev/shm/vesk-" + std::to_string(geteuid()) + '-' + std::to_string(creator) + '-' + name;
}

/// A process that creates a queue, says its identifier, and stays.
Child Creator()
{
    return Child::Fork([] {
        OsMemQueReq request = Named("theirs");
        uint32_t queue = 0;
        if (OsShmAdvancedBuffCreateQueue(&request, &queue) != 0)
            _exit(1);
        std::puts("created");
        std::fflush(stdout);
        pause();
    });
}

} // namespace

TEST(HostQueue, IsSeenByNameAndIdentifier)
{
    OsMemQueReq request = Named("mine");
    uint32_t queue = 0;
    ASSERT_EQ(OsShmAdvancedBuffCreateQueue(&request, &queue), 0U);
    Child other = Child::Fork([queue, creator = getpid()] {
        HostQueueState byName{}, byId{};
        if (HostQueueOpen(creator, "mine", &byName) != 0 || HostQueueFind(queue, &byId) != 0 ||
            std::memcmp(&byName, &byId, sizeof byId) != 0 || byId.count != 2000 || byId.requestId != 1 ||
            byId.isEnabled != 0 || byId.creator != creator)
            _exit(1);
        _exit(OsShmAdvancedActivateQueue(queue, true) == 0 && OsShmAdvancedInitQueue(queue, "VIDEO") == 0
                  ? 42
                  : 2);
    });
    EXPECT_EQ(other.Wait(), 42);
    HostQueueState state{};
    ASSERT_EQ(HostQueueFind(queue, &state), 0U);
    EXPECT_EQ(state.isEnabled, 1U);
    EXPECT_STREQ(state.peerProcName, "VIDEO");
    EXPECT_EQ(OsShmAdvancedActivateQueue(queue, false), 0U);
    ASSERT_EQ(HostQueueFind(queue, &state), 0U);
    EXPECT_EQ(state.isEnabled, 0U);
    struct stat status {};
    ASSERT_EQ(stat(ObjectOf(getpid(), "mine").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_NE(OsShmAdvancedBuffCreateQueue(&request, &queue), 0U); // the name is taken
    EXPECT_EQ(HostQueueRemove(queue), 0U);
    EXPECT_NE(HostQueueRemove(queue), 0U);
    EXPECT_NE(access(ObjectOf(getpid(), "mine").c_str(), F_OK), 0);
}

TEST(HostQueue, EndsWithItsCreator)
{
    Child ending = Child::Fork([] {
        OsMemQueReq request = Named("theirs");
        uint32_t queue = 0;
        exit(OsShmAdvancedBuffCreateQueue(&request, &queue) == 0 ? 42 : 1);
    });
    const pid_t ended = ending.Process();
    EXPECT_EQ(ending.Wait(), 42);
    EXPECT_NE(access(ObjectOf(ended, "theirs").c_str(), F_OK), 0);

    Child killed = Creator();
    ASSERT_TRUE(killed.AwaitOutput("created"));
    const pid_t creator = killed.Process();
    HostQueueState state{};
    ASSERT_EQ(HostQueueOpen(creator, "theirs", &state), 0U);
    killed.Signal(SIGKILL);
    killed.Wait();
    EXPECT_NE(HostQueueFind(state.queueId, &state), 0U);
    EXPECT_NE(access(ObjectOf(creator, "theirs").c_str(), F_OK), 0); // found dead, and removed
}

TEST(HostQueue, BadArgumentsAreRefused)
{
    uint32_t queue = 7;
    OsMemQueReq unnamed = Named(""), path = Named("a/b"), endless = Named("x"), empty = Named("x");
    std::memset(endless.name, 'x', sizeof endless.name);
    empty.cnt = 0;
    for (OsMemQueReq* request : {&unnamed, &path, &endless, &empty, static_cast<OsMemQueReq*>(nullptr)})
        EXPECT_NE(OsShmAdvancedBuffCreateQueue(request, &queue), 0U);
    EXPECT_EQ(queue, 7U);
    for (const uint32_t unknown : {0U, 1U, UINT32_MAX}) {
        HostQueueState state;
        EXPECT_NE(OsShmAdvancedActivateQueue(unknown, true), 0U);
        EXPECT_NE(OsShmAdvancedInitQueue(unknown, "VIDEO"), 0U);
        EXPECT_NE(HostQueueFind(unknown, &state), 0U);
    }
    EXPECT_NE(OsShmAdvancedInitQueue(1, nullptr), 0U);
}
