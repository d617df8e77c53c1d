// Who a process is to all others that share its runtime directory.
#include "runtime/process.h"

#include "runtime/directory.h"
#include "runtime/report.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace vesk::host {

namespace {

struct FileName {
    char text[24];

    explicit FileName(uint32_t number) { std::snprintf(text, sizeof text, "process-%u", number); }
};

/// Not open, with its errno, unless it is this user's regular file.
UniqueFd OpenFile(const UniqueFd& directory, uint32_t number, int flags)
{
    UniqueFd file([&] {
        return openat(directory.Get(), FileName(number).text,
                      O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, S_IRUSR | S_IWUSR);
    });
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0)
        return {};
    errno = EEXIST;
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() ? std::move(file) : UniqueFd();
}

bool Lock(const UniqueFd& file)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    return fcntl(file.Get(), F_SETLK, &lock) == 0;
}

/// Whether another process, which took it for abandoned, has removed a file.
bool IsRemoved(const UniqueFd& file)
{
    struct stat status {};
    return fstat(file.Get(), &status) != 0 || status.st_nlink == 0;
}

/// Whether a file could not be opened for lack of something.
bool IsShort(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR;
}

HostProcess IdIn(const UniqueFd& file)
{
    HostProcess id = 0;
    return pread(file.Get(), &id, sizeof id, 0) == ssize_t{sizeof id} ? id : 0;
}

HostProcess NewId(uint32_t number)
{
    HostProcess random = 0;
    if (getrandom(&random, sizeof random, 0) != ssize_t{sizeof random})
        random = static_cast<HostProcess>(std::chrono::steady_clock::now().time_since_epoch().count());
    return random << kProcessNumberBits | number;
}

uint32_t AnyNumber()
{
    return std::max(NumberOf(NewId(0) >> kProcessNumberBits), 1U);
}

/// Which file a descriptor or a name stands for.
struct Place {
    dev_t device = 0;
    ino_t inode = 0;

    explicit Place(const struct stat& status) : device(status.st_dev), inode(status.st_ino) {}
    Place() = default;
    bool operator==(const Place&) const = default;
};

/// Removes the files of processes that were killed. This one has @p own number.
void RemoveAbandoned(const UniqueFd& directory, uint32_t own)
{
    ForEachEntry(directory, [&](const dirent& entry) {
        uint32_t number = 0;
        if (std::sscanf(entry.d_name, "process-%u", &number) != 1 || number == own)
            return;
        // Locked meanwhile, so that a new process of this number does not begin to use it.
        const UniqueFd file = OpenFile(directory, number, 0);
        if (file.IsOpen() && Lock(file) && !IsRemoved(file))
            unlinkat(directory.Get(), FileName(number).text, 0);
    });
}

void LeaveAtExit();

class Process {
public:
    OwnProcess Get()
    {
        const std::lock_guard guard(lock_);
        return {id_, HasFile() ? file_.Get() : -1};
    }

    OwnProcess Get(const UniqueFd& directory)
    {
        const std::lock_guard guard(lock_);
        if (!hasLeft_ && !IsIn(directory) && !Take(directory)) {
            Report(kReportError, "process-%d in %s cannot be used: %s", getpid(), RuntimeDirPath().c_str(),
                   strerror(errno));
            return {};
        }
        return {id_, file_.Get()};
    }

    /// It keeps its identity for what is still to be sent.
    void Leave()
    {
        const std::lock_guard guard(lock_);
        hasLeft_ = id_ != 0;
        if (const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave);
            directory.IsOpen() && IsIn(directory))
            unlinkat(directory.Get(), FileName(NumberOf(id_)).text, 0);
    }

private:
    /// Whether its file is open, and its descriptor has not been closed and given to another file.
    bool HasFile() const
    {
        struct stat status {};
        return id_ != 0 && fstat(file_.Get(), &status) == 0 && Place(status) == place_;
    }

    /// Whether its file is there, and locked.
    bool IsIn(const UniqueFd& directory)
    {
        struct stat status {};
        if (!HasFile()) {
            file_.Release(); // which is the application's now, if it is open at all
            return false;
        }
        return fstatat(directory.Get(), FileName(NumberOf(id_)).text, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               Place(status) == place_ && Lock(file_);
    }

    bool Take(const UniqueFd& directory)
    {
        constexpr int kAttempts = 20, kOfTheSame = 3;
        auto number = id_ != 0 ? NumberOf(id_) : static_cast<uint32_t>(getpid());
        for (int attempt = 1; attempt <= kAttempts; ++attempt) {
            UniqueFd file = OpenFile(directory, number, O_CREAT);
            if (!file.IsOpen() && (IsShort(errno) || errno == ENOSPC || errno == EROFS))
                return false;
            if (file.IsOpen() && Lock(file) && !IsRemoved(file))
                return Begin(directory, number, std::move(file));
            if (attempt >= kOfTheSame)
                number = AnyNumber();
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(1)); // it may be about to be removed
        }
        return false;
    }

    bool Begin(const UniqueFd& directory, uint32_t number, UniqueFd file)
    {
        struct stat status {};
        const HostProcess id = id_ != 0 && IdIn(file) == id_ ? id_ : NewId(number);
        rlimit limit{};
        if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < sizeof id) {
            errno = EFBIG; // writing would be a signal
            return false;
        }
        if (fstat(file.Get(), &status) != 0 || (id != id_ && ftruncate(file.Get(), 0) != 0) ||
            pwrite(file.Get(), &id, sizeof id, 0) != ssize_t{sizeof id}) {
            unlinkat(directory.Get(), FileName(number).text, 0);
            return false;
        }
        id_ = id;
        file_ = std::move(file);
        place_ = Place(status);
        static const int atExit = std::atexit(LeaveAtExit);
        static_cast<void>(atExit);
        RemoveAbandoned(directory, number);
        return true;
    }

    std::mutex lock_;
    HostProcess id_ = 0;
    UniqueFd file_;
    Place place_; // of the file
    bool hasLeft_ = false;
};

PerProcess<Process> g_process;

void LeaveAtExit()
{
    Contained([] {
        g_process->Leave();
        return 0U;
    });
}

} // namespace

OwnProcess Self()
{
    return g_process->Get();
}

OwnProcess Self(const UniqueFd& directory)
{
    return g_process->Get(directory);
}

UniqueFd OpenProcessFile(const UniqueFd& directory, uint32_t number)
{
    return OpenFile(directory, number, 0);
}

std::optional<pid_t> HolderOf(const UniqueFd& file)
{
    struct flock lock {};
    lock.l_type = F_WRLCK;
    if (fcntl(file.Get(), F_GETLK, &lock) != 0)
        return std::nullopt;
    return lock.l_type != F_UNLCK ? lock.l_pid : kNobody;
}

std::optional<pid_t> HolderOf(const UniqueFd& directory, HostProcess process)
{
    const HostProcess self = Self().id;
    if (NumberOf(process) == NumberOf(self)) // closing a descriptor of its file would unlock it
        return process == self ? getpid() : kNobody;
    const UniqueFd file = OpenProcessFile(directory, NumberOf(process));
    if (!file.IsOpen())
        return IsShort(errno) ? std::nullopt : std::optional(kNobody);
    return IdIn(file) == process ? HolderOf(file) : kNobody;
}

} // namespace vesk::host

using namespace vesk::host;

HostProcess HostProcessSelf()
{
    HostProcess self = 0;
    Contained([&] {
        if (const UniqueFd directory = OpenRuntimeDir(); directory.IsOpen())
            self = Self(directory).id;
        return 0U;
    });
    return self;
}

uint32_t HostProcessNumber(HostProcess process)
{
    return NumberOf(process);
}

int HostProcessIsAlive(HostProcess process)
{
    bool isAlive = true;
    Contained([&] {
        const UniqueFd directory = process != 0 ? OpenRuntimeDir(WhenMissing::kLeave) : UniqueFd();
        isAlive = !directory.IsOpen() || HolderOf(directory, process) != kNobody;
        return 0U;
    });
    return isAlive ? 1 : 0;
}
