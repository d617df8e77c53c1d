// Where the tracer's packets go: one file for all threads, and for all processes that are given its name.
#include "tools/tracer/recorder.h"

#include "base/text.h"
#include "tools/recording/writer.h"
#include "tools/tracer/version.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace vesk::tracer {

namespace {

using recording::Head;
using recording::Kind;

constexpr int kUnopened = -1;
constexpr int kOff = -2;

std::atomic<int> g_file = kUnopened;

/// Which file was opened, stored before its number. Threads that open it at the same time store the same.
std::atomic<dev_t> g_device;
std::atomic<ino_t> g_inode;

std::atomic<uint64_t> g_exchanges = 0;
char g_path[PATH_MAX]; ///< Absolute; empty if nothing is to be recorded.

/// The process, and the thread that asked last; a fork makes a new one of each.
std::atomic<uint32_t> g_process = 0;
thread_local uint32_t t_thread __attribute__((tls_model("initial-exec"))) = 0;

class ErrnoKeeper {
public:
    ErrnoKeeper() : kept_(errno) {}
    ~ErrnoKeeper() { errno = kept_; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;

private:
    int kept_;
};

void ForgetProcess()
{
    g_process = static_cast<uint32_t>(getpid());
    t_thread = 0;
}

/// The application may change its directory and its environment later.
__attribute__((constructor)) void Prepare()
{
    const ErrnoKeeper keeper;
    ForgetProcess();
    pthread_atfork(nullptr, nullptr, ForgetProcess);
    const char* path = getenv("VESK_TRACE_FILE");
    if (path == nullptr || *path == '\0')
        return;
    char directory[PATH_MAX] = "";
    if (*path != '/' && getcwd(directory, sizeof directory) == nullptr)
        *directory = '\0';
    const int length = snprintf(g_path, sizeof g_path, "%s%s%s", directory, *directory ? "/" : "", path);
    if (length < 0 || length >= static_cast<int>(sizeof g_path))
        g_path[0] = '\0';
}

uint64_t Now(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1000000000 + static_cast<uint64_t>(time.tv_nsec);
}

/// "my-app[812]: my-app --full", as /proc tells.
std::string_view Describe(char (&text)[512])
{
    int size = snprintf(text, sizeof text, "%s[%u]: ", program_invocation_short_name, g_process.load());
    const auto begin = static_cast<size_t>(size < 0 ? 0 : size);
    const int file = open("/proc/self/cmdline", O_RDONLY | O_CLOEXEC);
    const ssize_t got = file < 0 || begin >= sizeof text ? 0 : read(file, text + begin, sizeof text - begin);
    if (file >= 0)
        close(file);
    size_t end = begin + static_cast<size_t>(got > 0 ? got : 0);
    while (end > begin && text[end - 1] == '\0')
        --end;
    for (size_t i = begin; i < end; ++i) {
        if (static_cast<unsigned char>(text[i]) < ' ')
            text[i] = ' ';
    }
    return {text, end};
}

/// Ends recording, once; @p error 0 stands for no file at all.
void TurnOff(int error)
{
    if (g_file.exchange(kOff) == kOff)
        return;
    if (error == 0)
        Say("VESK_TRACE_FILE does not name a file: nothing is recorded");
    else
        Say("cannot write %s: %s; nothing more is recorded", g_path, strerrordesc_np(error));
}

/// Opens the file far from the descriptors that applications expect to get, or close. Returns an errno.
int Open(int& file)
{
    // A pipe without a reader must not block the application, and no peer that ends may signal it.
    const int opened = open(g_path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
    if (opened < 0)
        return errno;
    constexpr int kFar = 512;
    file = fcntl(opened, F_DUPFD_CLOEXEC, kFar);
    if (file < 0)
        file = opened;
    else
        close(opened);
    struct stat status;
    rlimit limit{};
    if (fstat(file, &status) != 0)
        return errno;
    if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode))
        return EINVAL;
    g_device = status.st_dev;
    g_inode = status.st_ino;
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && static_cast<rlim_t>(status.st_size) >= limit.rlim_cur)
        return EFBIG; // the write would be a signal
    char text[512];
    return recording::AppendSection(file, kTracerVersion, Describe(text));
}

/// Whether a descriptor is still what was opened, and not another file that has got its number since. Asks
/// for nothing else: a file whose times are asked for before each write takes longer to write.
bool IsRecording(int file)
{
    struct statx status;
    if (statx(file, "", AT_EMPTY_PATH, STATX_INO, &status) != 0)
        return errno != EBADF; // a sandbox may forbid to ask
    return makedev(status.stx_dev_major, status.stx_dev_minor) == g_device && status.stx_ino == g_inode;
}

/// The open file, or kOff. Applications close descriptors that are not their own, as daemons do: then it is
/// opened again, and what has its number by now is left alone. Threads that open it at the same time do so
/// twice, and one of them closes it.
int File()
{
    int file = g_file.load(std::memory_order_acquire);
    if (file == kOff || (file != kUnopened && IsRecording(file)))
        return file;
    if (g_path[0] == '\0') {
        TurnOff(0);
        return kOff;
    }
    int opened = kUnopened;
    const int error = Open(opened);
    if (error == 0 && g_file.compare_exchange_strong(file, opened))
        return opened;
    if (opened >= 0)
        close(opened);
    if (error == 0)
        return file;
    TurnOff(error);
    return kOff;
}

void Write(const Head& head, std::span<const std::byte> data, std::string_view comment)
{
    const uint64_t time = Now(CLOCK_REALTIME);
    int error = EBADF;
    for (int i = 0; i < 2 && error == EBADF; ++i) {
        int file = File();
        if (file == kOff)
            return;
        error = recording::AppendPacket(file, time, head, data, comment);
        if (error == EBADF) // closed in between, or open for reading only
            g_file.compare_exchange_strong(file, kUnopened);
    }
    if (error != 0)
        TurnOff(error);
}

Head HeadOf(Kind kind, uint64_t exchange)
{
    if (t_thread == 0)
        t_thread = static_cast<uint32_t>(gettid());
    Head head{};
    head.version = recording::kVersion;
    head.headSize = sizeof head;
    head.kind = kind;
    head.process = g_process;
    head.thread = t_thread;
    head.exchange = exchange;
    head.monotonicNs = Now(CLOCK_MONOTONIC);
    strncpy(head.program, program_invocation_short_name, sizeof head.program - 1);
    return head;
}

void WritePacket(Head& head, const Packet& packet, std::string_view comment)
{
    const OsMsgEnvelope& routing = *packet.routing;
    head.flags = packet.flags;
    head.platformResult = packet.platformResult;
    head.number = routing.msgId;
    head.dataLen = packet.dataLen;
    head.timeoutMs = packet.timeoutMs;
    memcpy(head.sendProcName, routing.sendProcName, sizeof head.sendProcName);
    memcpy(head.sendTaskName, routing.sendTaskName, sizeof head.sendTaskName);
    memcpy(head.recvProcName, routing.recvProcName, sizeof head.recvProcName);
    memcpy(head.recvTaskName, routing.recvTaskName, sizeof head.recvTaskName);
    const bool hasData = packet.data != nullptr && packet.dataLen <= recording::kMaxData;
    Write(head, {static_cast<const std::byte*>(packet.data), hasData ? packet.dataLen : 0}, comment);
}

} // namespace

TracedExchange Begin(const Packet& packet)
{
    if (g_file.load(std::memory_order_relaxed) == kOff)
        return {};
    const ErrnoKeeper keeper;
    Head head = HeadOf(packet.kind, ++g_exchanges);
    WritePacket(head, packet, {});
    return {head.exchange, head.monotonicNs};
}

void Continue(const TracedExchange& exchange, const Packet& packet, std::string_view comment)
{
    if (exchange.number == 0 || g_file.load(std::memory_order_relaxed) == kOff)
        return;
    const ErrnoKeeper keeper;
    Head head = HeadOf(packet.kind, exchange.number);
    head.durationNs = head.monotonicNs - exchange.monotonicNs;
    WritePacket(head, packet, comment);
}

void Note(std::string_view comment)
{
    if (g_file.load(std::memory_order_relaxed) == kOff)
        return;
    const ErrnoKeeper keeper;
    Write(HeadOf(Kind::kNote, 0), {}, comment);
}

void Say(const char* format, ...)
{
    char text[PATH_MAX + 256] = "";
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    char line[sizeof text + 64] = "libvesk_trace: ";
    size_t end = strlen(line);
    Escape escape;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view shown = TakePrintable(rest, escape);
        if (end + shown.size() >= sizeof line)
            break;
        end += shown.copy(line + end, shown.size());
    }
    line[end] = '\n';
    (void)!write(STDERR_FILENO, line, end + 1);
}

} // namespace vesk::tracer
