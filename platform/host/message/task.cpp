// The receiving half of the message library: tasks, their names and their loops.
#include "message/task.h"

#include "message/connection.h"
#include "message/deferred.h"
#include "message/endpoint.h"
#include "message/listener.h"
#include "runtime/report.h"
#include "sysctrl/affinity.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <thread>

namespace vesk::host {

namespace {

using MessageHandler = uint32_t (*)(OsMsgEnvelope*);

/// The message that this thread is handling. A child that its handler forks handles none.
thread_local Message* t_inHand = nullptr;
thread_local uint64_t t_inHandForks = 0;

Message* InHand(const OsMsgEnvelope* envelope)
{
    const bool isInHand =
        t_inHand != nullptr && t_inHandForks == ForkCount() && envelope == &t_inHand->envelope;
    return isInHand ? t_inHand : nullptr;
}

constexpr std::chrono::milliseconds kLongestWait(2000); // for the directory's lock

/// What came of serving a task under a process name.
struct Attempt {
    uint32_t error = 0; // none while it is under way, and once it has succeeded
    Deadline::Clock::time_point repeat = Deadline::Clock::time_point::max(); // not before then
};

struct Task {
    explicit Task(const char* taskName) : name(taskName) {}

    const std::string name;
    const std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::atomic<MessageHandler> handler = nullptr;
    std::atomic<void (*)(HostProcess)> onEnd = nullptr;
    std::atomic<bool> isRun = false;
    std::map<std::string, Attempt, std::less<>> attempts; // by process name
};

/// All tasks of the process.
struct Registry {
    std::mutex lock; // never held while a name is bound
    std::string procName;
    std::map<std::string, std::shared_ptr<Task>, std::less<>> tasks;

    std::shared_ptr<Task> Find(const char* taskName)
    {
        const std::lock_guard guard(lock);
        const auto found = tasks.find(std::string_view(taskName != nullptr ? taskName : ""));
        return found != tasks.end() ? found->second : nullptr;
    }
};

PerProcess<Registry> g_registry;
std::atomic<uint64_t> g_changes = 0; // registrations, and failures to bind that may pass

uint32_t Serve(const Task& task, const std::string& procName, const Deadline& deadline)
{
    const auto endpoint = EndpointName(procName, task.name);
    if (!endpoint) {
        Report(kReportError, "process '%s' task '%s' cannot be an endpoint", procName.c_str(),
               task.name.c_str());
        return HOST_MSG_ERR_ARGUMENT;
    }
    ServedEndpoint served;
    if (const uint32_t error = ServeEndpoint(*endpoint, deadline, served); error != 0)
        return error;
    const auto listener = std::make_shared<Listener>(std::move(served), *endpoint, task.inbox);
    return Listener::Start(listener) ? 0 : uint32_t{HOST_MSG_ERR_SYSTEM};
}

/// True for what may be over by the next message, such as a full table of descriptors.
bool MayPass(uint32_t error)
{
    return error == HOST_MSG_ERR_SYSTEM || error == HOST_MSG_ERR_DIRECTORY;
}

/// Serves a task under a process name unless that has been tried. Returns 0 or the HostMsgResult of the last
/// attempt.
uint32_t Bind(Task& task, const std::string& procName, const Deadline& deadline)
{
    constexpr std::chrono::seconds kPause(1);
    Registry& registry = g_registry.Get();
    {
        const std::lock_guard guard(registry.lock);
        const auto [attempt, isFirst] = task.attempts.try_emplace(procName);
        if (!isFirst && Deadline::Clock::now() < attempt->second.repeat)
            return attempt->second.error;
        attempt->second = {};
    }
    Attempt attempt{.error = Contained([&] { return Serve(task, procName, deadline); })};
    if (MayPass(attempt.error))
        attempt.repeat = Deadline::Clock::now() + kPause;
    const std::lock_guard guard(registry.lock);
    task.attempts[procName] = attempt;
    if (MayPass(attempt.error))
        ++g_changes; // for threads that have met the attempt under way
    return attempt.error;
}

void EndAllTasks()
{
    Contained([] {
        Registry& registry = g_registry.Get();
        decltype(registry.tasks) tasks;
        {
            const std::lock_guard guard(registry.lock);
            tasks.swap(registry.tasks);
        }
        for (const auto& [name, task] : tasks)
            task->inbox->End();
        return 0U;
    });
}

void StartReader(const std::shared_ptr<Inbox>& inbox)
{
    // Signals belong to the application: none is handled on this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        std::thread([inbox] { inbox->TakeInWhileLoopIsBusy(); }).detach();
    } catch (const std::exception& error) {
        Report(kReportWarning, "messages wait in their sockets while a handler is busy: %s", error.what());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

uint32_t Answer(Connection& sender, const OsMsgEnvelope& request, uint64_t sequence, const void* data,
                uint32_t dataLen)
{
    if (dataLen > kMaxDataLen) {
        Report(kReportError, "answer to message %u has %u bytes, more than %u", request.msgId, dataLen,
               kMaxDataLen);
        sender.Close();
        return HOST_MSG_ERR_TOO_LONG;
    }
    OsMsgEnvelope answer = request;
    std::swap(answer.sendProcName, answer.recvProcName);
    std::swap(answer.sendTaskName, answer.recvTaskName);
    answer.dataLen = dataLen;
    answer.data = const_cast<void*>(data);
    return sender.Answer(answer, sequence) ? 0 : uint32_t{HOST_MSG_ERR_BROKEN};
}

void RunLoop(Task& task)
{
    while (const std::unique_ptr<Message> message = task.inbox->Next()) {
        t_inHand = message->isEnd ? nullptr : message.get();
        t_inHandForks = ForkCount();
        Contained([&] {
            if (!message->isEnd)
                return task.handler.load()(&message->envelope);
            task.onEnd.load()(message->sender);
            return 0U;
        });
        t_inHand = nullptr;
        if (t_inHandForks != ForkCount())
            return; // the task is the parent's
        if (message->from != nullptr)
            message->from->Close(); // unanswered: its sender need not wait
    }
}

} // namespace

void BindTasksUnder(std::string_view procName, const std::optional<Deadline>& deadline)
{
    // Mostly this thread has done so before, with an outcome that lasts.
    thread_local uint64_t t_changes = 0;
    thread_local char t_procName[16];
    const uint64_t changes = g_changes;
    if (procName.empty() || (t_changes == changes && NameText(t_procName) == procName))
        return;
    Registry& registry = g_registry.Get();
    decltype(registry.tasks) tasks;
    {
        const std::lock_guard guard(registry.lock);
        tasks = registry.tasks;
    }
    // Half of the time is left to the message itself.
    const std::chrono::milliseconds wait(deadline ? deadline->Milliseconds() / 2 : 100);
    const Deadline limit(std::min(wait, kLongestWait));
    bool doesLast = true;
    for (const auto& [name, task] : tasks)
        doesLast = !MayPass(Bind(*task, std::string(procName), limit)) && doesLast;
    if (!doesLast)
        return;
    t_changes = changes;
    std::memset(t_procName, 0, sizeof t_procName);
    procName.copy(t_procName, sizeof t_procName);
}

} // namespace vesk::host

using namespace vesk::host;

uint32_t HostMsgSetProcName(const char* procName)
{
    return Contained([&]() -> uint32_t {
        if (procName == nullptr || !EndpointName(procName, "task") || std::string_view(procName).size() > 15)
            return HOST_MSG_ERR_ARGUMENT;
        Registry& registry = g_registry.Get();
        const std::lock_guard guard(registry.lock);
        registry.procName = procName;
        return 0;
    });
}

uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*))
{
    if (taskName == nullptr || *taskName == '\0' || std::string_view(taskName).size() > 15 ||
        msgProc == nullptr)
        return HOST_MSG_ERR_ARGUMENT;
    return Contained([&]() -> uint32_t {
        static const int atExit = std::atexit(EndAllTasks); // leaves no names behind
        static_cast<void>(atExit);
        Registry& registry = g_registry.Get();
        std::shared_ptr<Task> task = registry.Find(taskName);
        if (task == nullptr)
            task = std::make_shared<Task>(taskName);
        if (!task->inbox->IsUsable()) {
            Report(kReportError, "task %s cannot be registered: %s", taskName, strerror(errno));
            return HOST_MSG_ERR_SYSTEM;
        }
        std::string procName;
        {
            const std::lock_guard guard(registry.lock);
            task = registry.tasks.try_emplace(taskName, task).first->second;
            task->handler = msgProc;
            std::erase_if(task->attempts, [](const auto& attempt) { return attempt.second.error != 0; });
            procName = registry.procName;
        }
        task->inbox->SetDepth(queueDepth);
        ++g_changes;
        return procName.empty() ? 0 : Bind(*task, procName, Deadline(kLongestWait));
    });
}

void OsMsgTaskRoutineByName(const char* taskName)
{
    Contained([&] {
        const std::shared_ptr<Task> task = g_registry->Find(taskName);
        if (task == nullptr) {
            Report(kReportError, "task '%s' is not registered", taskName != nullptr ? taskName : "");
        } else if (!task->isRun.exchange(true)) {
            Contained([&] {
                const MessageThread self;
                StartReader(task->inbox);
                RunLoop(*task);
                return 0U;
            });
            task->isRun = false; // so that it can be run again, should it have failed
        }
        return 0U;
    });
}

uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen)
{
    Message* const message = InHand(request);
    if (request == nullptr || message == nullptr || message->from == nullptr ||
        (data == nullptr && dataLen != 0))
        return HOST_MSG_ERR_ARGUMENT;
    const std::shared_ptr<Connection> sender = std::move(message->from);
    return Answer(*sender, *request, message->sequence, data, dataLen);
}

HostMsgDeferred HostMsgDefer(OsMsgEnvelope* request)
{
    HostMsgDeferred deferred = 0;
    Contained([&] {
        Message* const message = InHand(request);
        if (message == nullptr || message->from == nullptr)
            return 0U;
        deferred = message->from->Defer(*request, message->sequence);
        if (deferred != 0)
            message->from.reset();
        return 0U;
    });
    return deferred;
}

uint32_t HostMsgReplyDeferred(HostMsgDeferred deferred, const void* data, uint32_t dataLen)
{
    return Contained([&]() -> uint32_t {
        const auto taken = TakeDeferred(deferred);
        if (!taken)
            return HOST_MSG_ERR_BROKEN;
        if (data != nullptr || dataLen == 0)
            return Answer(*taken->sender, taken->request, taken->sequence, data, dataLen);
        taken->sender->Close();
        return HOST_MSG_ERR_ARGUMENT;
    });
}

void HostMsgCloseDeferred(HostMsgDeferred deferred)
{
    Contained([&] {
        if (const auto taken = TakeDeferred(deferred))
            taken->sender->Close();
        return 0U;
    });
}

uint32_t HostMsgOnProcessEnd(const char* taskName, void (*ended)(HostProcess process))
{
    return Contained([&]() -> uint32_t {
        const std::shared_ptr<Task> task = g_registry->Find(taskName);
        if (task == nullptr || ended == nullptr)
            return HOST_MSG_ERR_ARGUMENT;
        task->onEnd = ended;
        task->inbox->TellEnds();
        return 0;
    });
}

uint32_t HostMsgEndTask(const char* taskName)
{
    return Contained([&]() -> uint32_t {
        Registry& registry = g_registry.Get();
        const std::shared_ptr<Task> task = registry.Find(taskName);
        if (task == nullptr)
            return HOST_MSG_ERR_ARGUMENT;
        {
            const std::lock_guard guard(registry.lock);
            registry.tasks.erase(task->name);
        }
        task->inbox->End();
        return 0;
    });
}

HostProcess HostMsgSender(const OsMsgEnvelope* message)
{
    const Message* const inHand = InHand(message);
    return inHand != nullptr ? inHand->sender : 0;
}
