// The functions of the platform that the tracer stands in front of. Each passes its call on as it is and
// records it around that: the message, and what became of it.
#include "tools/tracer/deferred.h"
#include "tools/tracer/next.h"
#include "vesk_host/message.h"

#include <cstdio>
#include <utility>

namespace vesk::tracer {

namespace {

using recording::Kind;
using recording::kSent;
using recording::kSynchronous;

using Handler = uint32_t(OsMsgEnvelope*);

constexpr uint32_t kNoPlatform = UINT32_MAX; ///< Result if there is nothing to pass a call on to.

Next<decltype(OsMsgSynSend)> g_synSend("OsMsgSynSend");
Next<decltype(OsMsgAsynSend)> g_asynSend("OsMsgAsynSend");
Next<decltype(OsMsgRegTask)> g_regTask("OsMsgRegTask");
Next<decltype(HostMsgReply)> g_reply("HostMsgReply");
Next<decltype(HostMsgDefer)> g_defer("HostMsgDefer");
Next<decltype(HostMsgReplyDeferred)> g_replyDeferred("HostMsgReplyDeferred");
Next<decltype(HostMsgCloseDeferred)> g_closeDeferred("HostMsgCloseDeferred");

/// Handlers of tasks, one a slot; they are never removed. A slot's wrapper takes the handler's place.
constexpr size_t kSlots = 64;
std::atomic<Handler*> g_handlers[kSlots];

/// True once a synchronous message was received: what the process sends without waiting are notifications.
std::atomic<bool> g_serves = false;

/// The message that this thread's handler has in hand.
struct InHand {
    const OsMsgEnvelope* message = nullptr;
    TracedExchange exchange;
    bool isAnswered = false; ///< Or its answer is put off.
};
thread_local InHand t_inHand __attribute__((tls_model("initial-exec")));

uint32_t Handle(Handler* handler, OsMsgEnvelope* message)
{
    if (message == nullptr)
        return handler(message);
    const bool isSynchronous = message->type == OS_MSG_SYNCHRONOUS;
    if (isSynchronous)
        g_serves.store(true, std::memory_order_relaxed);
    const bool isRequest = g_serves.load(std::memory_order_relaxed);
    const uint8_t flags = isSynchronous ? kSynchronous : 0;
    const OsMsgEnvelope routing = *message; // the handler may change it
    const TracedExchange exchange = Begin(
        {isRequest ? Kind::kRequest : Kind::kNotification, flags, &routing, message->dataLen, message->data});
    const InHand before = std::exchange(t_inHand, {message, exchange, false});
    const uint32_t result = handler(message);
    const bool isAnswered = std::exchange(t_inHand, before).isAnswered;
    if (!isAnswered)
        Continue(exchange,
                 {.kind = Kind::kDone, .flags = flags, .routing = &routing, .platformResult = result},
                 isSynchronous ? "the handler returned without an answer" : "");
    return result;
}

template <size_t slot>
uint32_t Wrapper(OsMsgEnvelope* message)
{
    return Handle(g_handlers[slot].load(std::memory_order_relaxed), message);
}

template <size_t... slots>
Handler* WrapperOf(size_t slot, std::index_sequence<slots...>)
{
    static constexpr Handler* kWrappers[] = {Wrapper<slots>...};
    return kWrappers[slot];
}

/// A function that calls @p handler and records; @p handler itself if there are too many.
Handler* Wrap(Handler* handler)
{
    for (size_t slot = 0; handler != nullptr && slot < kSlots; ++slot) {
        Handler* taken = nullptr;
        if (g_handlers[slot].compare_exchange_strong(taken, handler) || taken == handler)
            return WrapperOf(slot, std::make_index_sequence<kSlots>());
    }
    return handler;
}

/// Notes what the platform said, if it refused.
class Refusal {
public:
    Refusal(const char* function, uint32_t result)
    {
        if (result != 0)
            length_ = std::snprintf(text_, sizeof text_, "%s failed: 0x%x", function, result);
    }

    std::string_view Text() const { return {text_, static_cast<size_t>(length_ > 0 ? length_ : 0)}; }

private:
    char text_[64];
    int length_ = 0;
};

/// Names of an answer: those of its request, turned round.
OsMsgEnvelope Reversed(const OsMsgEnvelope& request)
{
    OsMsgEnvelope answer = request;
    std::swap(answer.sendProcName, answer.recvProcName);
    std::swap(answer.sendTaskName, answer.recvTaskName);
    return answer;
}

void RecordAnswer(const DeferredRequest& answered, const void* data, uint32_t dataLen, uint32_t result,
                  const char* function)
{
    const OsMsgEnvelope answer = Reversed(answered.request);
    Continue(answered.exchange,
             {.kind = Kind::kAnswer,
              .flags = kSent | kSynchronous,
              .routing = &answer,
              .dataLen = dataLen,
              .data = data,
              .platformResult = result},
             Refusal(function, result).Text());
}

} // namespace

} // namespace vesk::tracer

#define VESK_TRACED __attribute__((visibility("default")))

using namespace vesk::tracer;

VESK_TRACED uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs)
{
    const auto send = g_synSend.Find(__builtin_return_address(0));
    if (send == nullptr)
        return kNoPlatform;
    if (envelope == nullptr)
        return send(envelope, response, timeoutMs);
    const TracedExchange exchange =
        Begin({Kind::kRequest, kSent | kSynchronous, envelope, envelope->dataLen, envelope->data, timeoutMs});
    const uint32_t result = send(envelope, response, timeoutMs);
    const OsMsgEnvelope answer = Reversed(*envelope);
    const bool hasAnswer = result == 0 && response != nullptr && *response != nullptr;
    Continue(exchange,
             {.kind = Kind::kAnswer,
              .flags = kSynchronous,
              .routing = &answer,
              .dataLen = hasAnswer ? (*response)->dataLen : 0,
              .data = hasAnswer ? (*response)->data : nullptr,
              .platformResult = result},
             Refusal("OsMsgSynSend", result).Text());
    return result;
}

VESK_TRACED uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    const auto send = g_asynSend.Find(__builtin_return_address(0));
    if (send == nullptr)
        return kNoPlatform;
    if (envelope == nullptr)
        return send(envelope);
    const Kind kind = g_serves.load(std::memory_order_relaxed) ? Kind::kNotification : Kind::kRequest;
    const TracedExchange exchange = Begin({kind, kSent, envelope, envelope->dataLen, envelope->data});
    const uint32_t result = send(envelope);
    Continue(exchange, {.kind = Kind::kDone, .flags = kSent, .routing = envelope, .platformResult = result},
             Refusal("OsMsgAsynSend", result).Text());
    return result;
}

VESK_TRACED uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth,
                                  uint32_t (*msgProc)(OsMsgEnvelope*))
{
    const auto registerTask = g_regTask.Find(__builtin_return_address(0));
    if (registerTask == nullptr)
        return kNoPlatform;
    const auto handler = Wrap(msgProc);
    const uint32_t result = registerTask(taskName, queueDepth, handler);
    char text[128];
    const int length = std::snprintf(
        text, sizeof text, "task %.16s registered with depth %u%s: 0x%x",
        taskName != nullptr ? taskName : "(null)", queueDepth,
        handler == msgProc && msgProc != nullptr ? ", its messages are not recorded" : "", result);
    Note({text, static_cast<size_t>(length)});
    return result;
}

VESK_TRACED uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen)
{
    const auto reply = g_reply.Find(__builtin_return_address(0));
    if (reply == nullptr)
        return kNoPlatform;
    if (request == nullptr || request != t_inHand.message)
        return reply(request, data, dataLen);
    const DeferredRequest answered{t_inHand.exchange, *request};
    const uint32_t result = reply(request, data, dataLen);
    t_inHand.isAnswered = true;
    RecordAnswer(answered, data, dataLen, result, "HostMsgReply");
    return result;
}

VESK_TRACED HostMsgDeferred HostMsgDefer(OsMsgEnvelope* request)
{
    const auto defer = g_defer.Find(__builtin_return_address(0));
    if (defer == nullptr)
        return 0;
    const HostMsgDeferred deferred = defer(request);
    if (deferred != 0 && request == t_inHand.message) {
        t_inHand.isAnswered = true;
        Keep(deferred, {t_inHand.exchange, *request});
    }
    return deferred;
}

VESK_TRACED uint32_t HostMsgReplyDeferred(HostMsgDeferred deferred, const void* data, uint32_t dataLen)
{
    const auto reply = g_replyDeferred.Find(__builtin_return_address(0));
    if (reply == nullptr)
        return kNoPlatform;
    const DeferredRequest answered = Take(deferred);
    const uint32_t result = reply(deferred, data, dataLen);
    RecordAnswer(answered, data, dataLen, result, "HostMsgReplyDeferred");
    return result;
}

VESK_TRACED void HostMsgCloseDeferred(HostMsgDeferred deferred)
{
    const auto close = g_closeDeferred.Find(__builtin_return_address(0));
    if (close == nullptr)
        return;
    const DeferredRequest closed = Take(deferred);
    close(deferred);
    Continue(closed.exchange, {.kind = Kind::kDone, .flags = kSynchronous, .routing = &closed.request},
             "the connection was closed without an answer");
}
