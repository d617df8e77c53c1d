// The receiving half of the message library: tasks, their names, queues and loops.
#include "message/task.h"

#include "message/endpoint.h"
#include "message/incoming.h"
#include "message/report.h"
#include "sysctrl/affinity.h"
#include "vesk_host/message.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <list>
#include <map>
#include <thread>

namespace vesk::host {

namespace {

using MessageHandler = uint32_t (*)(OsMsgEnvelope*);

/// The message that this thread is handling, for HostMsgReply.
thread_local Message* t_inHand = nullptr;

/// Messages waiting for a task's loop.
class Queue {
public:
    explicit Queue(std::string taskName) : taskName_(std::move(taskName)) {}

    void SetDepth(uint32_t depth)
    {
        const std::lock_guard guard(lock_);
        depth_ = depth;
        isOpen_ = true;
    }

    bool Push(std::unique_ptr<Message> message)
    {
        const std::lock_guard guard(lock_);
        if (!isOpen_)
            return false;
        if (waiting_.size() >= depth_) {
            if (dropped_++ == 0)
                Report(kReportError, "task %s: message %u dropped, %u already wait", taskName_.c_str(),
                       message->envelope.msgId, depth_);
            return false;
        }
        if (dropped_ != 0) {
            Report(kReportError, "task %s: %llu messages were dropped, there is room again",
                   taskName_.c_str(), static_cast<unsigned long long>(dropped_));
            dropped_ = 0;
        }
        waiting_.push_back(std::move(message));
        arrived_.notify_one();
        return true;
    }

    /// Waits for the next message; null when the task has ended.
    std::unique_ptr<Message> Pop()
    {
        std::unique_lock guard(lock_);
        arrived_.wait(guard, [this] { return !waiting_.empty() || !isOpen_; });
        if (!isOpen_)
            return nullptr;
        std::unique_ptr<Message> message = std::move(waiting_.front());
        waiting_.pop_front();
        return message;
    }

    void End()
    {
        std::deque<std::unique_ptr<Message>> abandoned;
        const std::lock_guard guard(lock_);
        isOpen_ = false;
        abandoned.swap(waiting_);
        arrived_.notify_all();
    }

private:
    const std::string taskName_;
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<std::unique_ptr<Message>> waiting_;
    uint64_t dropped_ = 0;
    uint32_t depth_ = 0;
    bool isOpen_ = false;
};

/// A socket on which a task is served under one process name.
class Listener : public Watched {
public:
    Listener(UniqueFd socket, std::string endpoint, std::shared_ptr<Queue> queue)
        : socket_(std::move(socket)), endpoint_(std::move(endpoint)), queue_(std::move(queue))
    {
    }

    int Socket() const { return socket_.Get(); }

    void OnReady(uint32_t) override
    {
        UniqueFd accepted([&] { return accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC); });
        if (!accepted.IsOpen()) {
            if (errno == EMFILE || errno == ENFILE) {
                Report(kReportError, "%s: no descriptor left for a connection", endpoint_.c_str());
                std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the connection stays pending
            }
            return;
        }
        const std::optional<pid_t> peer = PeerOfThisUser(accepted.Get());
        if (!peer) {
            Report(kReportError, "%s: a connection of another user is refused", endpoint_.c_str());
            return;
        }
        const auto incoming =
            std::make_shared<Incoming>(std::move(accepted), *peer, endpoint_, [queue = queue_](auto message) {
                return queue->Push(std::move(message));
            });
        {
            const std::lock_guard guard(lock_);
            if (hasEnded_)
                return;
            connections_.remove_if([](const auto& connection) { return connection.expired(); });
            connections_.push_back(incoming);
        }
        incoming->Start();
    }

    void End()
    {
        RemoveEndpoint(endpoint_);
        Reactor::Instance().Forget(socket_.Get());
        const std::lock_guard guard(lock_);
        hasEnded_ = true;
        shutdown(socket_.Get(), SHUT_RDWR);
        for (const auto& connection : connections_) {
            if (const auto open = connection.lock())
                open->Close();
        }
    }

private:
    UniqueFd socket_;
    const std::string endpoint_;
    const std::shared_ptr<Queue> queue_;
    std::mutex lock_;
    bool hasEnded_ = false;
    std::list<std::weak_ptr<Incoming>> connections_;
};

struct Task {
    explicit Task(const std::string& name) : queue(std::make_shared<Queue>(name)) {}

    std::shared_ptr<Queue> queue;
    MessageHandler handler = nullptr;
    bool isRun = false;
    /// By process name; null where the name could not be served.
    std::map<std::string, std::shared_ptr<Listener>, std::less<>> listeners;
};

/// All tasks of the process. Never destroyed: detached threads run them until the process ends.
struct Registry {
    std::mutex lock;
    const pid_t process = getpid();
    std::string procName;
    std::map<std::string, Task, std::less<>> tasks;
};

Registry& TheRegistry()
{
    static auto& registry = *new Registry;
    return registry;
}

void Unbind(Task& task)
{
    for (auto& [procName, listener] : task.listeners) {
        if (listener != nullptr)
            listener->End();
    }
    task.listeners.clear();
}

/// Serves a task under a process name unless that was tried before. Returns 0 or a HostMsgResult.
uint32_t Bind(std::string_view taskName, Task& task, std::string_view procName)
{
    if (task.listeners.find(procName) != task.listeners.end())
        return 0;
    std::shared_ptr<Listener>& listener = task.listeners[std::string(procName)];
    const auto endpoint = EndpointName(procName, taskName);
    if (!endpoint) {
        Report(kReportError, "process '%.*s' task '%.*s' cannot be an endpoint",
               static_cast<int>(procName.size()), procName.data(), static_cast<int>(taskName.size()),
               taskName.data());
        return HOST_MSG_ERR_ARGUMENT;
    }
    EndpointResult served = ServeEndpoint(*endpoint);
    if (served.error != 0)
        return served.error;
    listener = std::make_shared<Listener>(std::move(served.socket), *endpoint, task.queue);
    if (Reactor::Instance().Watch(listener->Socket(), EPOLLIN, listener))
        return 0;
    listener.reset();
    return HOST_MSG_ERR_SYSTEM;
}

void EndAllTasks()
{
    Registry& registry = TheRegistry();
    if (getpid() != registry.process)
        return; // they belong to the parent of this fork
    const std::lock_guard guard(registry.lock);
    for (auto& [name, task] : registry.tasks)
        Unbind(task);
}

} // namespace

void BindTasksUnder(std::string_view procName)
{
    if (procName.empty())
        return;
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    for (auto& [name, task] : registry.tasks)
        Bind(name, task, procName);
}

} // namespace vesk::host

using namespace vesk::host;

uint32_t HostMsgSetProcName(const char* procName)
{
    if (procName == nullptr || !EndpointName(procName, "task") || std::string_view(procName).size() > 15)
        return HOST_MSG_ERR_ARGUMENT;
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    registry.procName = procName;
    return 0;
}

uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*))
{
    if (taskName == nullptr || *taskName == '\0' || std::string_view(taskName).size() > 15 ||
        msgProc == nullptr)
        return HOST_MSG_ERR_ARGUMENT;
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    if (registry.tasks.empty())
        std::atexit(EndAllTasks); // leaves no names behind
    Task& task = registry.tasks.try_emplace(taskName, taskName).first->second;
    task.handler = msgProc;
    task.queue->SetDepth(queueDepth);
    std::erase_if(task.listeners, [](const auto& entry) { return entry.second == nullptr; });
    return registry.procName.empty() ? 0 : Bind(taskName, task, registry.procName);
}

void OsMsgTaskRoutineByName(const char* taskName)
{
    Registry& registry = TheRegistry();
    std::shared_ptr<Queue> queue;
    {
        const std::lock_guard guard(registry.lock);
        const auto found = registry.tasks.find(std::string_view(taskName != nullptr ? taskName : ""));
        if (found == registry.tasks.end()) {
            Report(kReportError, "task '%s' is not registered", taskName != nullptr ? taskName : "");
            return;
        }
        if (std::exchange(found->second.isRun, true))
            return;
        queue = found->second.queue;
    }
    BindMessageThread();
    while (const std::unique_ptr<Message> message = queue->Pop()) {
        MessageHandler handler = nullptr;
        {
            const std::lock_guard guard(registry.lock);
            handler = registry.tasks.find(std::string_view(taskName))->second.handler;
        }
        t_inHand = message.get();
        handler(&message->envelope);
        t_inHand = nullptr;
        if (message->from != nullptr)
            message->from->Close(); // unanswered: its sender need not wait
    }
    const std::lock_guard guard(registry.lock);
    registry.tasks.find(std::string_view(taskName))->second.isRun = false;
}

uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen)
{
    if (request == nullptr || t_inHand == nullptr || request != &t_inHand->envelope ||
        t_inHand->from == nullptr || (data == nullptr && dataLen != 0))
        return HOST_MSG_ERR_ARGUMENT;
    const std::shared_ptr<Incoming> sender = std::move(t_inHand->from);
    if (dataLen > kMaxDataLen) {
        Report(kReportError, "answer to message %u has %u bytes, more than %u", request->msgId, dataLen,
               kMaxDataLen);
        sender->Close();
        return HOST_MSG_ERR_TOO_LONG;
    }
    OsMsgEnvelope answer = *request;
    std::swap(answer.sendProcName, answer.recvProcName);
    std::swap(answer.sendTaskName, answer.recvTaskName);
    answer.dataLen = dataLen;
    answer.data = const_cast<void*>(data);
    return sender->Answer(answer) ? 0 : HOST_MSG_ERR_BROKEN;
}

uint32_t HostMsgEndTask(const char* taskName)
{
    Registry& registry = TheRegistry();
    const std::lock_guard guard(registry.lock);
    const auto found = registry.tasks.find(std::string_view(taskName != nullptr ? taskName : ""));
    if (found == registry.tasks.end())
        return HOST_MSG_ERR_ARGUMENT;
    Unbind(found->second);
    found->second.queue->End();
    return 0;
}

int HostMsgSenderProcess(const OsMsgEnvelope* message)
{
    return t_inHand != nullptr && message == &t_inHand->envelope ? t_inHand->senderProcess : 0;
}
