// Shared-memory queues: one POSIX shared-memory object each, named after user, creator and queue.
//
// An identifier is made of the creator's process number and a number of its own, so living processes
// never hand out the same one. What a killed creator left behind is removed by the first process that finds
// it.
#include "vesk_host/queue.h"
#include "platform/os_queue.h"
#include "process/unique_fd.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace {

using vesk::host::UniqueFd;

constexpr char kDirectory[] = "/dev/shm";
constexpr uint32_t kNumberBits = 10;
constexpr uint32_t kMaxQueues = (1U << kNumberBits) - 1;
constexpr uint32_t kMark = 0x51534b56; // "VKSQ"

enum Failure : uint32_t { kBadArgument = 1, kExists, kNoRoom, kUnknown, kSystem };

struct SharedQueue {
    uint32_t mark;
    HostQueueState state;
};

std::string Prefix(int32_t creator)
{
    return "vesk-" + std::to_string(geteuid()) + '-' + std::to_string(creator) + '-';
}

int32_t CreatorOf(uint32_t queueId)
{
    return static_cast<int32_t>(queueId >> kNumberBits);
}

/// A queue's memory, mapped for the time of one access.
class Mapping {
public:
    explicit Mapping(const std::string& object)
    {
        const UniqueFd file(
            [&] { return shm_open(('/' + object).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0); });
        struct stat status {};
        if (!file.IsOpen() || fstat(file.Get(), &status) != 0 || status.st_uid != geteuid() ||
            status.st_size < static_cast<off_t>(sizeof(SharedQueue)))
            return;
        void* memory = mmap(nullptr, sizeof(SharedQueue), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
        if (memory == MAP_FAILED)
            return;
        queue_.reset(static_cast<SharedQueue*>(memory));
        if (queue_->mark != kMark)
            queue_.reset();
    }

    SharedQueue* operator->() const { return queue_.get(); }
    explicit operator bool() const { return queue_ != nullptr; }

private:
    struct Unmap {
        void operator()(SharedQueue* queue) const { munmap(queue, sizeof *queue); }
    };
    std::unique_ptr<SharedQueue, Unmap> queue_;
};

/// The memory of a living creator's queue, found by its identifier.
std::optional<Mapping> Find(uint32_t queueId)
{
    const int32_t creator = CreatorOf(queueId);
    if (creator == 0)
        return std::nullopt;
    const std::string prefix = Prefix(creator);
    const bool isGone = kill(creator, 0) != 0 && errno == ESRCH;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(kDirectory), &closedir);
    while (const dirent* entry = directory != nullptr ? readdir(directory.get()) : nullptr) {
        const std::string object = entry->d_name;
        if (!object.starts_with(prefix))
            continue;
        if (isGone) {
            shm_unlink(('/' + object).c_str());
            continue;
        }
        Mapping mapping(object);
        if (mapping && mapping->state.queueId == queueId)
            return mapping;
    }
    return std::nullopt;
}

uint32_t CopyState(const Mapping& mapping, HostQueueState* state)
{
    *state = mapping->state;
    state->name[sizeof state->name - 1] = '\0';
    state->peerProcName[sizeof state->peerProcName - 1] = '\0';
    return 0;
}

/// The queues that this process has created; removed when it exits.
class Created {
public:
    static Created& Instance()
    {
        static auto& created = *new Created; // never destroyed: threads may create until the very end
        return created;
    }

    uint32_t Create(const OsMemQueReq& request, std::string_view name, uint32_t* queueId)
    {
        const std::lock_guard guard(lock_);
        ForgetParentsQueues();
        const std::optional<uint32_t> number = FreeNumber();
        if (!number)
            return kNoRoom;
        const std::string object = '/' + Prefix(process_) + std::string(name);
        const UniqueFd file([&] {
            return shm_open(object.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
        });
        if (!file.IsOpen())
            return errno == EEXIST ? kExists : kSystem;
        SharedQueue queue{};
        queue.mark = kMark;
        queue.state.queueId = static_cast<uint32_t>(process_) << kNumberBits | *number;
        queue.state.requestId = request.id;
        queue.state.count = request.cnt;
        queue.state.creator = process_;
        std::memcpy(queue.state.name, name.data(), name.size());
        if (write(file.Get(), &queue, sizeof queue) != static_cast<ssize_t>(sizeof queue)) {
            shm_unlink(object.c_str());
            return kSystem;
        }
        if (numbers_.empty() && !removesAtExit_) {
            removesAtExit_ = true;
            std::atexit([] { Instance().RemoveAll(); });
        }
        numbers_.insert(*number);
        *queueId = queue.state.queueId;
        return 0;
    }

    uint32_t Remove(uint32_t queueId)
    {
        const std::lock_guard guard(lock_);
        ForgetParentsQueues();
        const auto mapping = Find(queueId);
        if (CreatorOf(queueId) != process_ || !mapping)
            return kUnknown;
        shm_unlink(('/' + Prefix(process_) + (*mapping)->state.name).c_str());
        numbers_.erase(queueId & kMaxQueues);
        return 0;
    }

private:
    void ForgetParentsQueues()
    {
        if (const pid_t self = getpid(); std::exchange(process_, self) != self)
            numbers_.clear();
    }

    std::optional<uint32_t> FreeNumber() const
    {
        for (uint32_t number = 1; number <= kMaxQueues; ++number) {
            if (numbers_.count(number) == 0)
                return number;
        }
        return std::nullopt;
    }

    void RemoveAll()
    {
        ForgetParentsQueues();
        for (const uint32_t number : std::set<uint32_t>(numbers_))
            Remove(static_cast<uint32_t>(process_) << kNumberBits | number);
    }

    std::mutex lock_;
    pid_t process_ = getpid();
    std::set<uint32_t> numbers_;
    bool removesAtExit_ = false;
};

} // namespace

uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId)
{
    if (request == nullptr || queueId == nullptr || request->cnt == 0)
        return kBadArgument;
    const std::string_view name(request->name, strnlen(request->name, sizeof request->name));
    if (name.empty() || name.size() == sizeof request->name || name.find('/') != name.npos)
        return kBadArgument;
    return Created::Instance().Create(*request, name, queueId);
}

uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName)
{
    if (peerProcName == nullptr || strlen(peerProcName) >= sizeof(HostQueueState::peerProcName))
        return kBadArgument;
    const auto mapping = Find(queueId);
    if (!mapping)
        return kUnknown;
    std::memset((*mapping)->state.peerProcName, 0, sizeof(HostQueueState::peerProcName));
    std::memcpy((*mapping)->state.peerProcName, peerProcName, strlen(peerProcName));
    return 0;
}

uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable)
{
    const auto mapping = Find(queueId);
    if (!mapping)
        return kUnknown;
    (*mapping)->state.isEnabled = enable ? 1 : 0;
    return 0;
}

uint32_t HostQueueFind(uint32_t queueId, HostQueueState* state)
{
    const auto mapping = Find(queueId);
    return mapping && state != nullptr ? CopyState(*mapping, state) : uint32_t{kUnknown};
}

uint32_t HostQueueOpen(int32_t creator, const char* name, HostQueueState* state)
{
    if (name == nullptr || state == nullptr || strchr(name, '/') != nullptr)
        return kBadArgument;
    const Mapping mapping(Prefix(creator) + name);
    return mapping ? CopyState(mapping, state) : uint32_t{kUnknown};
}

uint32_t HostQueueRemove(uint32_t queueId)
{
    return Created::Instance().Remove(queueId);
}
