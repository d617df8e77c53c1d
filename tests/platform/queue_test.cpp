// The host's shared-memory queues between processes.
#include "support/processes.h"
#include "vesk_host/queue.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

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

std::string ObjectOf(pid_t creator, const std::string& name)
{
    return "/dev/shm/vesk-" + std::to_string(geteuid()) + '-' + std::to_string(creator) + '-' + name;
}

} // namespace

FORKED_TEST(HostQueue, IsSeenByNameAndIdentifier)
{
    const uint32_t first = Create("first"), queue = Create("mine");
    EXPECT_TRUE(HoldsInFork([queue, creator = getpid()] { // and takes nothing of its parent's away
        HostQueueState byName{}, byId{};
        return HostQueueOpen(creator, "mine", &byName) == 0 && HostQueueFind(queue, &byId) == 0 &&
               std::memcmp(&byName, &byId, sizeof byId) == 0 && byId.queueId == queue && byId.count == 2000 &&
               byId.requestId == 1 && byId.isEnabled == 0 && byId.creator == creator &&
               std::strcmp(byId.name, "mine") == 0 && *byId.peerProcName == '\0' &&
               HostQueueRemove(queue) != 0 && OsShmAdvancedActivateQueue(queue, true) == 0 &&
               OsShmAdvancedInitQueue(queue, "VIDEO-LONG") == 0 &&
               OsShmAdvancedInitQueue(queue, "VIDEO") == 0;
    }));
    HostQueueState state{};
    ASSERT_EQ(HostQueueFind(queue, &state), 0U);
    EXPECT_EQ(state.isEnabled, 1U);
    EXPECT_EQ(std::string(state.peerProcName, sizeof state.peerProcName),
              std::string("VIDEO").append(sizeof state.peerProcName - 5, '\0'));
    EXPECT_EQ(OsShmAdvancedActivateQueue(queue, false), 0U);
    ASSERT_EQ(HostQueueFind(queue, &state), 0U);
    EXPECT_EQ(state.isEnabled, 0U);
    struct stat status {};
    ASSERT_EQ(stat(ObjectOf(getpid(), "mine").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(HostQueueRemove(queue), 0U);
    EXPECT_NE(HostQueueRemove(queue), 0U);
    EXPECT_NE(access(ObjectOf(getpid(), "mine").c_str(), F_OK), 0);
    EXPECT_EQ(HostQueueFind(first, &state), 0U);
}

FORKED_TEST(HostQueue, EndsWithItsCreator)
{
    Child ending = Child::Fork([] {
        Create("theirs");
        HostQueueRemove(Create("more")); // none is left, then there is one again
        Create("others");
        exit(42);
    });
    const pid_t ended = ending.Process();
    EXPECT_EQ(ending.Wait(), 42);
    EXPECT_NE(access(ObjectOf(ended, "theirs").c_str(), F_OK), 0);
    EXPECT_NE(access(ObjectOf(ended, "others").c_str(), F_OK), 0);

    Child killed = Prepared([] { return Create("theirs") != 0; });
    const pid_t creator = killed.Process();
    HostQueueState state{};
    ASSERT_EQ(HostQueueOpen(creator, "theirs", &state), 0U);
    killed.Signal(SIGKILL);
    killed.Wait();
    EXPECT_NE(HostQueueFind(state.queueId, &state), 0U);
    EXPECT_NE(access(ObjectOf(creator, "theirs").c_str(), F_OK), 0); // found dead, and removed
}

FORKED_TEST(HostQueue, AProcessHasRoomFor1023)
{
    const uint32_t mine = Create("mine");
    Child creator = Child::Fork([mine] {
        std::set<uint32_t> queues;
        for (int i = 0; i < 1023; ++i)
            queues.insert(Create("q" + std::to_string(i)));
        OsMemQueReq more = Named("more");
        uint32_t queue = 0;
        const bool isFull = OsShmAdvancedBuffCreateQueue(&more, &queue) != 0;
        _exit(queues.size() == 1023 && queues.count(mine) == 0 && isFull &&
                      HostQueueRemove(*queues.begin()) == 0 && Create("more") == *queues.begin()
                  ? 42
                  : 1);
    });
    const auto any = static_cast<uint32_t>(creator.Process()) << 10;
    EXPECT_EQ(creator.Wait(), 42);
    HostQueueState state{};
    EXPECT_NE(HostQueueFind(any, &state), 0U); // removes what it has left
}

FORKED_TEST(HostQueue, BadArgumentsAndForeignObjectsAreRefused)
{
    uint32_t queue = 7;
    const uint32_t mine = Create(std::string(31, 'm'));
    OsMemQueReq unnamed = Named(""), path = Named("a/b"), endless = Named(std::string(32, 'x')),
                empty = Named("x"), taken = Named(std::string(31, 'm')), good = Named("good");
    empty.cnt = 0;
    for (OsMemQueReq* request :
         {&unnamed, &path, &endless, &empty, &taken, static_cast<OsMemQueReq*>(nullptr)})
        EXPECT_NE(OsShmAdvancedBuffCreateQueue(request, &queue), 0U);
    EXPECT_NE(OsShmAdvancedBuffCreateQueue(&good, nullptr), 0U);
    EXPECT_EQ(queue, 7U);
    HostQueueState state{};
    for (const uint32_t unknown : {0U, 1U, mine + 1, UINT32_MAX}) {
        EXPECT_NE(OsShmAdvancedActivateQueue(unknown, true), 0U);
        EXPECT_NE(OsShmAdvancedInitQueue(unknown, "VIDEO"), 0U);
        EXPECT_NE(HostQueueFind(unknown, &state), 0U);
    }
    EXPECT_NE(OsShmAdvancedInitQueue(mine, nullptr), 0U);
    EXPECT_NE(OsShmAdvancedInitQueue(mine, std::string(32, 'p').c_str()), 0U);
    EXPECT_EQ(OsShmAdvancedInitQueue(mine, std::string(31, 'p').c_str()), 0U);
    EXPECT_NE(HostQueueFind(mine, nullptr), 0U);
    EXPECT_NE(HostQueueOpen(getpid(), nullptr, &state), 0U);
    EXPECT_NE(HostQueueOpen(getpid(), "good", nullptr), 0U);
    // What only looks like a queue: too short, without the mark, another user's, without ends of its names.
    EXPECT_EQ(HostQueueOpen(getpid(), std::string(31, 'm').c_str(), &state), 0U);
    const std::string bytes = Contents(ObjectOf(getpid(), std::string(31, 'm')));
    std::string endlessNames = bytes;
    std::fill(endlessNames.end() - 64, endlessNames.end(), 'e');
    const std::string object = ObjectOf(getpid(), "odd");
    for (const auto& [content, owner, isQueue] :
         {std::tuple(bytes, geteuid(), true), std::tuple(bytes.substr(1) + '\0', geteuid(), false),
          std::tuple(bytes.substr(0, bytes.size() - 1), geteuid(), false),
          std::tuple(bytes, geteuid() == 0 ? 12345 : geteuid(), geteuid() != 0),
          std::tuple(endlessNames, geteuid(), true)}) {
        std::ofstream(object) << content;
        EXPECT_EQ(chown(object.c_str(), owner, getegid()), 0);
        EXPECT_EQ(HostQueueOpen(getpid(), "odd", &state) == 0, isQueue);
        std::filesystem::remove(object);
    }
    EXPECT_EQ(strnlen(state.name, 32), 31U);
    EXPECT_EQ(strnlen(state.peerProcName, 32), 31U);
}
