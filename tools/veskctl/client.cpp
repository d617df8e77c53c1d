// A client of the video service, as an application is one.
#include "tools/veskctl/client.h"

#include "base/envelope.h"
#include "decoder/names.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

#include <unistd.h>

namespace vesk::ctl {

namespace {

constexpr uint32_t kQueueDepth = 1024;
constexpr size_t kMostWaiting = 65536; // notifications; then the service sees that we do not read

/// What the receive thread, which never ends, and the signal thread leave for the client.
struct Inbox {
    std::mutex lock;
    std::condition_variable changed;
    std::deque<Arrived> arrived;
    std::string lastReport;
    bool isInterrupted = false;
};

Inbox& TheInbox()
{
    static auto& inbox = *new Inbox;
    return inbox;
}

uint32_t OnNotification(OsMsgEnvelope* message)
{
    const auto* data = static_cast<const std::byte*>(message->data);
    Inbox& inbox = TheInbox();
    std::unique_lock guard(inbox.lock);
    inbox.changed.wait(guard, [&] { return inbox.arrived.size() < kMostWaiting; });
    inbox.arrived.push_back(
        {message->msgId, Bytes(data, data + message->dataLen), std::chrono::system_clock::now()});
    inbox.changed.notify_all();
    return 0;
}

/// Keeps the platform's words about an error, which become part of this program's own.
void OnReport(uint32_t, const char* text)
{
    Inbox& inbox = TheInbox();
    const std::lock_guard guard(inbox.lock);
    inbox.lastReport = text;
}

void HandleInterrupts()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        sigwait(&signals, &signal);
        {
            Inbox& inbox = TheInbox();
            const std::lock_guard guard(inbox.lock);
            inbox.isInterrupted = true;
            inbox.changed.notify_all();
        }
        sigwait(&signals, &signal); // the user does not want to wait for an answer either
        std::quick_exit(128 + signal);
    }).detach();
}

} // namespace

Failure NoAnswer(const std::string& name, const Outcome& outcome)
{
    const std::string reason = outcome.reason.empty() ? "" : ": " + outcome.reason;
    const std::string text = name + " got no answer: " + decoder::ResultText(outcome.platformResult) + reason;
    if (outcome.platformResult == decoder::FindResult("HOST_MSG_ERR_ABSENT"))
        return {kNoService, text};
    if (outcome.platformResult == decoder::FindResult("HOST_MSG_ERR_TIMEOUT"))
        return {kTimedOut, text};
    return {kFailed, text};
}

std::string OwnProcessName()
{
    return "veskctl-" + std::to_string(getpid());
}

ServiceName ParseService(const std::string& text)
{
    const size_t slash = text.find('/');
    ServiceName service{text.substr(0, slash), slash == text.npos ? "" : text.substr(slash + 1)};
    for (const std::string& name : {service.process, service.task}) {
        if (name.empty() || name.size() >= VESK_VIDEO_NAME_SIZE)
            throw Failure(kUsage,
                          "--service " + text + ": expected PROCESS/TASK, of at most 15 characters each");
    }
    return service;
}

Client::Client(const std::string& service, Interrupt interrupt, std::string name)
    : service_(ParseService(service)), name_(std::move(name))
{
    if (interrupt == Interrupt::kEndsWait) // before the first thread starts
        HandleInterrupts();
    OsMsgRegLogFunc(OnReport);
    if (const uint32_t result = OsMsgRegTask(kOwnTaskName, kQueueDepth, OnNotification); result != 0)
        throw Failure(kFailed, "notifications cannot be received: " + decoder::ResultText(result));
    std::thread(OsMsgTaskRoutineByName, kOwnTaskName).detach();
}

void Client::Announce(uint32_t timeoutMs)
{
    VeskVideoMsgHead head{};
    VeskVideoInitInfo info{};
    PutText(info.procName, name_);
    PutText(info.taskName, kOwnTaskName);
    VeskVideoCallbackInfo callback{};
    const auto send = [&](VeskVideoRequest number, const auto& record, const char* name) {
        head.msgId = static_cast<uint16_t>(number);
        Bytes data(sizeof head + sizeof record);
        std::memcpy(data.data(), &head, sizeof head);
        std::memcpy(data.data() + sizeof head, &record, sizeof record);
        const Outcome outcome = Send(number, data, true, timeoutMs);
        if (outcome.platformResult != 0)
            throw NoAnswer(name, outcome);
        if (outcome.answer.size() < sizeof head)
            throw Failure(kFailed, std::string(name) + " got an answer without a header");
        std::memcpy(&head, outcome.answer.data(), sizeof head);
        if (head.uwSubMsgID != VESK_VIDEO_OK)
            throw Failure(kRefused, std::string("the service refused ") + name + ": " +
                                        decoder::ResultText(head.uwSubMsgID));
        head = {};
    };
    send(VESK_VIDEO_MSG_INIT, info, "INIT");
    isAnnounced_ = true;
    send(VESK_VIDEO_MSG_SET_CALLBACK, callback, "SET_CALLBACK");
}

Client::~Client()
{
    if (!isAnnounced_)
        return;
    VeskVideoMsgHead head{};
    head.msgId = VESK_VIDEO_MSG_EXIT;
    Send(VESK_VIDEO_MSG_EXIT, BytesOf(head), false, 0);
}

Outcome Client::Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs)
{
    OsMsgEnvelope envelope =
        MakeEnvelope(number, {name_, kOwnTaskName}, {service_.process, service_.task}, data);
    envelope.type = isAnswered ? OS_MSG_SYNCHRONOUS : OS_MSG_ASYNCHRONOUS;
    {
        const std::lock_guard guard(TheInbox().lock);
        TheInbox().lastReport.clear();
    }
    OsMsgEnvelope* response = nullptr;
    Outcome outcome{};
    const Clock::time_point begun = Clock::now();
    outcome.platformResult =
        isAnswered ? OsMsgSynSend(&envelope, &response, timeoutMs) : OsMsgAsynSend(&envelope);
    outcome.duration = Clock::now() - begun;
    if (outcome.platformResult != 0) {
        const std::lock_guard guard(TheInbox().lock);
        outcome.reason = TheInbox().lastReport;
    } else if (isAnswered) {
        const auto* bytes = static_cast<const std::byte*>(response->data);
        outcome.answer.assign(bytes, bytes + response->dataLen);
        OsMsgSynRespFree(response);
    }
    return outcome;
}

std::optional<Arrived> Client::Next(std::optional<Clock::time_point> deadline)
{
    Inbox& inbox = TheInbox();
    std::unique_lock guard(inbox.lock);
    const auto isReady = [&] { return !inbox.arrived.empty() || inbox.isInterrupted; };
    if (deadline)
        inbox.changed.wait_until(guard, *deadline, isReady);
    else
        inbox.changed.wait(guard, isReady);
    if (inbox.arrived.empty())
        return std::nullopt;
    Arrived next = std::move(inbox.arrived.front());
    inbox.arrived.pop_front();
    if (inbox.arrived.size() == kMostWaiting - 1)
        inbox.changed.notify_all();
    return next;
}

void Client::GoOn()
{
    const std::lock_guard guard(TheInbox().lock);
    TheInbox().isInterrupted = false;
}

bool Client::IsInterrupted() const
{
    const std::lock_guard guard(TheInbox().lock);
    return TheInbox().isInterrupted;
}

} // namespace vesk::ctl
