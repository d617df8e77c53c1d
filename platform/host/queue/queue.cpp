// Buffer queues: the state of each is a record in its creator's file in the runtime directory.
//
// An identifier is made of the number of the creator, which names the file, and the number of the record. The
// first record's place is taken by what the file begins with.
#include "vesk_host/queue.h"

#include "platform/os_queue.h"
#include "runtime/directory.h"
#include "runtime/fork.h"
#include "runtime/process.h"

#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <mutex>
#include <string_view>

namespace {

using namespace vesk::host;

constexpr uint32_t kNumberBits = 32 - kProcessNumberBits;
constexpr uint32_t kMaxQueues = (1U << kNumberBits) - 1;
static_assert(sizeof(HostQueueState) >= sizeof(HostProcess)); // which has the place of number 0

enum Failure : uint32_t { kBadArgument = 1, kExists, kNoRoom, kUnknown, kSystem };

uint32_t CreatorOf(uint32_t queueId)
{
    return queueId >> kNumberBits;
}

off_t OffsetOf(uint32_t queueId)
{
    return static_cast<off_t>((queueId & kMaxQueues) * sizeof(HostQueueState));
}

/// The queues that this process has created.
class Created {
public:
    uint32_t Create(const OsMemQueReq& request, std::string_view name, uint32_t* queueId)
    {
        const std::lock_guard guard(lock_);
        const UniqueFd directory = OpenRuntimeDir();
        const OwnProcess self = directory.IsOpen() ? Self(directory) : OwnProcess{};
        if (self.id == 0)
            return kSystem;
        if (self.id != creator_) // its file, and so its queues, were lost
            std::memset(names_, 0, sizeof names_);
        creator_ = self.id;
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
        state.creator = static_cast<int32_t>(NumberOf(creator_));
        state.queueId = NumberOf(creator_) << kNumberBits | number;
        state.requestId = request.id;
        state.count = request.cnt;
        name.copy(state.name, sizeof state.name - 1);
        if (!Write(self.file, state.queueId, state))
            return kSystem;
        std::memcpy(names_[number], state.name, sizeof state.name);
        *queueId = state.queueId;
        return 0;
    }

    uint32_t Remove(uint32_t queueId)
    {
        const std::lock_guard guard(lock_);
        char* name = names_[queueId & kMaxQueues];
        if (CreatorOf(queueId) != NumberOf(creator_) || *name == '\0')
            return kUnknown;
        *name = '\0';
        return Write(Self().file, queueId, {}) ? 0 : uint32_t{kSystem};
    }

private:
    static bool Write(int file, uint32_t queueId, const HostQueueState& state)
    {
        return pwrite(file, &state, sizeof state, OffsetOf(queueId)) == ssize_t{sizeof state};
    }

    std::mutex lock_;
    HostProcess creator_ = 0;
    char names_[kMaxQueues + 1][sizeof HostQueueState::name] = {}; // by number; empty where there is none
};

PerProcess<Created> g_created;

/// The record of a living creator's queue, found by its identifier.
class Record {
public:
    explicit Record(uint32_t queueId) : offset_(OffsetOf(queueId))
    {
        const uint32_t creator = CreatorOf(queueId);
        const OwnProcess self = Self();
        int file = -1;
        if (creator == NumberOf(self.id)) {
            file = self.file;
        } else if (const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave); directory.IsOpen()) {
            opened_ = OpenProcessFile(directory, creator);
            if (HolderOf(opened_).value_or(kNobody) != kNobody)
                file = opened_.Get();
        }
        if (offset_ != 0 && pread(file, &state_, sizeof state_, offset_) == ssize_t{sizeof state_} &&
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
