// A recording that is written event by event.
#include "tools/recording/output.h"

#include "base/error.h"
#include "base/text.h"
#include "tools/recording/writer.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace vesk::recording {

namespace {

Head HeadOf(const Event& event)
{
    Head head{};
    head.version = kVersion;
    head.headSize = sizeof head;
    head.kind = event.kind;
    head.flags = static_cast<uint8_t>((event.isSent ? kSent : 0) | (event.isSynchronous ? kSynchronous : 0));
    head.process = event.process;
    head.thread = event.thread;
    head.exchange = event.exchange;
    head.monotonicNs = event.monotonicNs;
    head.durationNs = event.durationNs;
    head.platformResult = event.platformResult;
    head.number = event.number;
    head.dataLen = event.dataLen;
    head.timeoutMs = event.timeoutMs;
    PutText(head.program, event.program);
    PutText(head.sendProcName, event.sendProcName);
    PutText(head.sendTaskName, event.sendTaskName);
    PutText(head.recvProcName, event.recvProcName);
    PutText(head.recvTaskName, event.recvTaskName);
    return head;
}

} // namespace

Output::Output(const std::string& path, std::string_view application, std::string_view comment)
    : name_(path == "-" ? "standard output" : path),
      file_(path == "-" ? STDOUT_FILENO
                        : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600))
{
    if (file_ < 0)
        Check(errno);
    if (isatty(file_) != 0)
        throw Error(name_ + " is a terminal, which cannot show a recording");
    std::signal(SIGPIPE, SIG_IGN);
    Check(AppendSection(file_, application, comment));
}

Output::~Output()
{
    if (file_ > STDERR_FILENO)
        close(file_);
}

void Output::Check(int error)
{
    isRead_ = isRead_ && error == 0;
    if (error != 0 && error != EPIPE)
        throw Error("cannot write " + name_ + ": " + std::strerror(error));
}

void Output::Append(const Event& event)
{
    const bool isWhole = event.data.size() == event.dataLen && event.dataLen <= kMaxData;
    if (isRead_)
        Check(AppendPacket(file_, event.realtimeNs, HeadOf(event),
                           isWhole ? BytesView(event.data) : BytesView(), event.comment));
}

bool Output::IsRead() const
{
    pollfd state{file_, 0, 0};
    return isRead_ && (poll(&state, 1, 0) <= 0 || (state.revents & POLLERR) == 0);
}

} // namespace vesk::recording
