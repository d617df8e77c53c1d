// Buffer queues: the state of each is a record in its creator's file in the runtime directory.
//
// An identifier is made of the creator's process number, which names the file, and the number of the record.
// The creator locks its file as long as it lives, so that a file that a killed process has left is told from
// one in use. The lock is a process's own: a forked child does not inherit it, and closing any descriptor of
// the file gives it up.
#include "vesk_host/queue.h"

#include "message/report.h"
#include "message/runtime_dir.h"
#include "platform/os_queue.h"
#include "process/fork.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <string_view>
#include <thread>

namespace {

using namespace vesk::host;

constexpr uint32_t kNumberBits = 10;
constexpr uint32_t kMaxQueues = (1U << kNumberBits) - 1;

enum Failure : uint32_t { kBadArgument = 1, kExists, kNoRoom, kUnknown, kSystem };

struct FileName {
    char text[24];

    explicit FileName(pid_t creator) { std::snprintf(text, sizeof text, "queues-%d", creator); }
};

pid_t CreatorOf(uint32_t queueId)
{
    return static_cast<pid_t>(queueId >> kNumberBits);
}

off_t OffsetOf(uint32_t queueId)
{
    return static_cast<off_t>((queueId & kMaxQueues) * sizeof(HostQueueState));
}

/// Not open, with its errno, unless it is this user's regular file.
UniqueFd OpenFile(int directory, const char* name, int flags)
{
    UniqueFd file([=] {
        return openat(directory, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags,
                      S_IRUSR | S_IWUSR);
    });
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
        return {};
    errno = EEXIST;
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() ? std::move(file) : UniqueFd();
}

bool Lock(int file)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    return fcntl(file, F_SETLK, &lock) == 0;
}

/// The process that has locked a file, or -1.
pid_t HolderOf(int file)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    return fcntl(file, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? lock.l_pid : -1;
}

/// Removes the files of processes that were killed. Each is locked meanwhile, so that a new process of the
/// same number does not begin to use it.
void RemoveAbandoned(int directory)
{
    UniqueFd listed([=] { return openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    // Not std::filesystem's iterator, which ends the process when memory runs out.
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(listed.Get()), closedir);
    if (entries == nullptr)
        return;
    listed.Release();
    while (const dirent* const entry = readdir(entries.get())) {
        pid_t creator = 0;
        if (std::sscanf(entry->d_name, "queues-%d", &creator) != 1 || creator == getpid())
            continue;
        const FileName name(creator);
        const UniqueFd file = OpenFile(directory, name.text, 0);
        if (file.IsOpen() && Lock(file.Get()))
            unlinkat(directory, name.text, 0);
    }
}

void RemoveFileAtExit();

/// The queues that this process has created.
class Created {
public:
    /// The file of this process, or -1. Stays open.
    int File()
    {
        const std::lock_guard guard(lock_);
        return file_.Get();
    }

    uint32_t Create(const OsMemQueReq& request, std::string_view name, uint32_t* queueId)
    {
        const std::lock_guard guard(lock_);
        if (!file_.IsOpen() && !Open())
            return kSystem;
        uint32_t number = 0;
        for (uint32_t other = kMaxQueues; other != 0; --other) {
            if (std::string_view(names_[other]) == name)
                return kExists;
            if (*names_[other] == '\0')
                number = other;
        }
        if (number == 0)
            return kNoRoom;
        HostQueueState state{};
        state.creator = getpid();
        state.queueId = static_cast<uint32_t>(state.creator) << kNumberBits | number;
        state.requestId = request.id;
        state.count = request.cnt;
        name.copy(state.name, sizeof state.name - 1);
        if (!Write(state.queueId, state))
            return kSystem;
        std::memcpy(names_[number], state.name, sizeof state.name);
        *queueId = state.queueId;
        return 0;
    }

    uint32_t Remove(uint32_t queueId)
    {
        const std::lock_guard guard(lock_);
        char* name = names_[queueId & kMaxQueues];
        if (CreatorOf(queueId) != getpid() || *name == '\0')
            return kUnknown;
        *name = '\0';
        return Write(queueId, {}) ? 0 : uint32_t{kSystem};
    }

    void RemoveFile()
    {
        const std::lock_guard guard(lock_);
        if (!file_.IsOpen())
            return;
        if (const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave); directory.IsOpen())
            unlinkat(directory.Get(), FileName(getpid()).text, 0);
    }

private:
    bool Write(uint32_t queueId, const HostQueueState& state)
    {
        return pwrite(file_.Get(), &state, sizeof state, OffsetOf(queueId)) == ssize_t{sizeof state};
    }

    /// Takes over what a killed process of the same number has left.
    bool Open()
    {
        constexpr int kAttempts = 100;
        const UniqueFd directory = OpenRuntimeDir();
        if (!directory.IsOpen())
            return false;
        RemoveAbandoned(directory.Get());
        const FileName name(getpid());
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            UniqueFd file = OpenFile(directory.Get(), name.text, O_CREAT);
            if (!file.IsOpen())
                break;
            struct stat status {};
            if (Lock(file.Get()) && fstat(file.Get(), &status) == 0 && status.st_nlink != 0 &&
                ftruncate(file.Get(), 0) == 0) {
                file_ = std::move(file);
                std::atexit(RemoveFileAtExit);
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1)); // another process is removing it
        }
        Report(kReportError, "%s in %s cannot be used: %s", name.text, RuntimeDirPath().c_str(),
               strerror(errno));
        return false;
    }

    std::mutex lock_;
    UniqueFd file_;
    char names_[kMaxQueues + 1][sizeof HostQueueState::name] = {}; // by number; empty where there is none
};

PerProcess<Created> g_created;

void RemoveFileAtExit()
{
    try {
        g_created->RemoveFile();
    } catch (const std::exception&) { // out of memory: the next process that creates queues removes it
    }
}

/// The record of a living creator's queue, found by its identifier.
class Record {
public:
    explicit Record(uint32_t queueId) : offset_(OffsetOf(queueId))
    {
        const pid_t creator = CreatorOf(queueId);
        int file = -1;
        if (creator == getpid()) {
            file = g_created->File();
        } else if (const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave); directory.IsOpen()) {
            opened_ = OpenFile(directory.Get(), FileName(creator).text, 0);
            if (HolderOf(opened_.Get()) == creator)
                file = opened_.Get();
        }
        if (pread(file, &state_, sizeof state_, offset_) == ssize_t{sizeof state_} &&
            state_.queueId == queueId)
            file_ = file;
    }

    explicit operator bool() const { return file_ >= 0; }

    HostQueueState State() const
    {
        HostQueueState state = state_;
        state.name[sizeof state.name - 1] = '\0';
        state.peerProcName[sizeof state.peerProcName - 1] = '\0';
        return state;
    }

    /// Writes the field at @p offset alone: others may be written meanwhile.
    template <class Field>
    uint32_t Set(size_t offset, const Field& value) const
    {
        const off_t at = offset_ + static_cast<off_t>(offset);
        return pwrite(file_, &value, sizeof value, at) == ssize_t{sizeof value} ? 0 : uint32_t{kSystem};
    }

private:
    const off_t offset_;
    UniqueFd opened_;
    int file_ = -1;
    HostQueueState state_{};
};

} // namespace

// Out of memory or of locks, they fail.

uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId)
try {
    if (request == nullptr || queueId == nullptr || request->cnt == 0)
        return kBadArgument;
    const std::string_view name(request->name, strnlen(request->name, sizeof request->name));
    if (name.empty() || name.size() == sizeof request->name || name.find('/') != name.npos)
        return kBadArgument;
    return g_created->Create(*request, name, queueId);
} catch (const std::exception&) {
    return kSystem;
}

uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName)
try {
    char name[sizeof HostQueueState::peerProcName] = {};
    const std::string_view peer(peerProcName != nullptr ? peerProcName : "");
    if (peerProcName == nullptr || peer.size() >= sizeof name)
        return kBadArgument;
    peer.copy(name, sizeof name);
    const Record record(queueId);
    return record ? record.Set(offsetof(HostQueueState, peerProcName), name) : uint32_t{kUnknown};
} catch (const std::exception&) {
    return kSystem;
}

uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable)
try {
    const Record record(queueId);
    return record ? record.Set(offsetof(HostQueueState, isEnabled), uint32_t{enable}) : uint32_t{kUnknown};
} catch (const std::exception&) {
    return kSystem;
}

uint32_t HostQueueFind(uint32_t queueId, HostQueueState* state)
try {
    const Record record(queueId);
    if (!record || state == nullptr)
        return kUnknown;
    *state = record.State();
    return 0;
} catch (const std::exception&) {
    return kSystem;
}

uint32_t HostQueueRemove(uint32_t queueId)
try {
    return g_created->Remove(queueId);
} catch (const std::exception&) {
    return kSystem;
}
