// The virtual service with one thing wrong, for tests of what finds it: VESK_ALTER="skip VO_STOP OK". kWords
// lists what can be wrong. "--after N" at the end spares the first N messages of each number and client. It
// stands in front of the platform's functions that the service calls, so it sees requests, answers and
// notifications as they pass.
#include "base/envelope.h"
#include "base/error.h"
#include "base/output.h"
#include "base/words.h"
#include "decoder/decoder.h"
#include "vesk_host/message.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

using namespace vesk;
using messages::Kind;
using enum messages::HeaderField;

namespace {

#define NEXT(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);
constexpr uint32_t kNone = UINT32_MAX;
constexpr int64_t kAnyRefusal = -1;

/// What a word is about.
enum class Stage { kRequest, kAnswer, kAnswerOrNotification, kNotification, kTimer, kEnd };

struct Word {
    const char* name;
    const char* operands;
    Stage stage;
    void (*act)(const OsMsgEnvelope& message, Bytes& data);
};

struct Message {
    OsMsgEnvelope envelope;
    Bytes data;
    HostProcess sender;
};

struct Altered {
    const Word* word = nullptr;
    bool isNotification = false;
    std::optional<uint32_t> number; ///< None: any.
    uint32_t other = kNone;         ///< The second notification.
    size_t offset = 0, size = 0;    ///< Of the field, in the data block.
    std::vector<int64_t> values;    ///< Numbers and codes.
    uint64_t after = 0;

    std::recursive_mutex mutex; ///< Of all that follows.
    uint32_t (*handle)(OsMsgEnvelope*) = nullptr;
    void (*ended)(HostProcess) = nullptr;
    std::map<HostProcess, OsMsgEnvelope> clients; ///< Since INIT; the envelope of notifications to each.
    std::map<std::pair<std::string, uint32_t>, uint64_t> seen;
    std::map<uint32_t, Bytes> first; ///< By number.
    int64_t count = 0;
    bool isConcerned = false;        ///< The request in hand.
    std::optional<uint16_t> verdict; ///< What it is answered with, without being served.
    const Message* unseen = nullptr; ///< Is served without an answer.
    std::optional<Message> postponed;
    std::vector<Message> swapped;
};
Altered& g = *new Altered; // outlives the threads

VeskVideoMsgHead HeadOf(BytesView data)
{
    VeskVideoMsgHead head{};
    std::copy_n(data.data(), std::min(data.size(), kHeadSize), reinterpret_cast<std::byte*>(&head));
    return head;
}

Bytes DataOf(const void* data, size_t size)
{
    return {static_cast<const std::byte*>(data), static_cast<const std::byte*>(data) + size};
}

size_t ListedSize(const messages::Form& form, const VeskVideoMsgHead& head)
{
    const uint64_t count = form.kind == Kind::kArray ? ValueOf(head, form.count) : form.kind == Kind::kRecord;
    return count <= VESK_VIDEO_MAX_MESSAGE_SIZE / std::max<size_t>(form.size, 1) ? count * form.size : 0;
}

/// A message of zeros of the listed length; a refusal has no payload.
Bytes Zeros(uint32_t number, const messages::Form* form, int64_t code = 0, BytesView request = {})
{
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(number);
    head.uwSubMsgID = static_cast<uint16_t>(code);
    Bytes data = DataOf(&head, kHeadSize);
    if (form != nullptr && code == 0)
        data.resize(kHeadSize + ListedSize(*form, HeadOf(request)));
    return data;
}

Bytes AnswerTo(const OsMsgEnvelope& request, int64_t code)
{
    const auto* listed = messages::FindRequest(request.msgId);
    return Zeros(request.msgId, listed != nullptr ? &listed->answer : nullptr, code,
                 DataOf(request.data, request.dataLen));
}

uint32_t Send(OsMsgEnvelope envelope, uint32_t number, Bytes& data)
{
    static const auto next = NEXT(OsMsgAsynSend);
    envelope.msgId = number;
    envelope.data = data.data();
    envelope.dataLen = static_cast<uint32_t>(data.size());
    return next(&envelope);
}

void SendToAll(const OsMsgEnvelope& notification, Bytes& data)
{
    for (const auto& [process, client] : g.clients)
        Send(client, notification.msgId, data);
}

void Sleep(int64_t microseconds)
{
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

void Refuse(int64_t code)
{
    g.verdict = static_cast<uint16_t>(code);
}

void Serve(OsMsgEnvelope& request, Bytes& data)
{
    const OsMsgEnvelope original = request;
    request.data = data.data();
    request.dataLen = static_cast<uint32_t>(data.size());
    g.handle(&request);
    request = original;
}

void ServeUnseen(Message message)
{
    message.envelope.type = OS_MSG_ASYNCHRONOUS;
    g.unseen = &message;
    Serve(message.envelope, message.data);
    g.unseen = nullptr;
}

/// The payload is cut or padded, an array has as many entries as there are, a text ends at its first NUL.
void Fit(const OsMsgEnvelope& request, Bytes& data)
{
    const auto* listed = messages::FindRequest(request.msgId);
    if (listed == nullptr || listed->payload.kind == Kind::kBytes)
        return;
    const messages::Form& form = listed->payload;
    VeskVideoMsgHead head = HeadOf(data);
    data.resize(std::max(data.size(), kHeadSize));
    if (form.kind == Kind::kText) {
        const auto end = std::find(data.begin() + kHeadSize, data.end(), std::byte{0});
        data.resize(std::min(static_cast<size_t>(end - data.begin()), kHeadSize + form.size - 1));
        data.push_back(std::byte{0});
        return;
    }
    const size_t count = form.kind == Kind::kArray ? (data.size() - kHeadSize) / form.size : 0;
    if (form.kind == Kind::kArray && form.count == kParam1)
        head.ulParam1 = count;
    else if (form.kind == Kind::kArray)
        head.ulParam2 = static_cast<uint32_t>(count);
    std::memcpy(data.data(), &head, kHeadSize);
    data.resize(kHeadSize + ListedSize(form, head));
}

bool IsNoisy(const OsMsgEnvelope& request, BytesView data)
{
    const auto* listed = messages::FindRequest(request.msgId);
    const VeskVideoMsgHead head = HeadOf(data);
    bool isNoisy = head.ulReserved != 0 || head.padding != 0 || head.msgId != request.msgId;
    for (const messages::HeaderField field : {kSubMsgID, kParam1, kParam2})
        isNoisy |= listed != nullptr && !listed->At(field).IsUsed() && ValueOf(head, field) != 0;
    return isNoisy;
}

/// @param from  Empty: zeros.
void Overwrite(Bytes& data, const Bytes& from)
{
    const size_t end = g.size < data.size() ? std::min(g.offset + g.size, data.size()) : data.size();
    for (size_t i = g.offset; i < end; ++i)
        data[i] = i < from.size() ? from[i] : std::byte{0};
}

/// The envelope of notifications to the client that an INIT announces.
OsMsgEnvelope ClientOf(const OsMsgEnvelope& request, BytesView data)
{
    VeskVideoInitInfo info{};
    if (request.msgId == VESK_VIDEO_MSG_INIT && data.size() == kHeadSize + sizeof info)
        std::memcpy(&info, &data[kHeadSize], sizeof info);
    return MakeEnvelope(0, {TextIn(request.recvProcName), TextIn(request.recvTaskName)},
                        {TextIn(info.procName), TextIn(info.taskName)}, {});
}

bool IsTo(const OsMsgEnvelope& envelope, const OsMsgEnvelope& other)
{
    return TextIn(envelope.recvProcName) == TextIn(other.recvProcName);
}

// A "*" is any request or notification, or any refusal's code. The FIELD "@N" is all from the Nth byte on;
// the payload begins at 24.
constexpr Word kWords[] = {
    // Not served, but answered; OK with a payload of zeros
    {"skip", "REQUEST|* CODE", Stage::kRequest, [](auto&, auto&) { Refuse(g.values[0]); }},
    // A field is 0, or as in the first such request, whatever is sent
    {"ignore", "REQUEST FIELD", Stage::kRequest, [](auto&, auto& data) { Overwrite(data, {}); }},
    {"freeze", "REQUEST FIELD", Stage::kRequest,
     [](auto& request, auto& data) {
         Overwrite(data, g.first.try_emplace(request.msgId, data).first->second);
     }},
    // A payload of a wrong length is made to fit, or is served and then refused
    {"fit", "REQUEST|*", Stage::kRequest, Fit},
    {"refuse-late", "REQUEST|*", Stage::kRequest,
     [](auto& request, auto& data) {
         const Bytes before = data;
         Fit(request, data);
         if (data == before)
             return;
         ServeUnseen({request, data, HostMsgSender(&request)});
         Refuse(VESK_SERVICE_ERR_LENGTH);
     }},
    // Fields of the header that carry nothing are not 0
    {"refuse-noise", "REQUEST|* CODE", Stage::kRequest,
     [](auto& request, auto& data) {
         if (IsNoisy(request, data))
             Refuse(g.values[0]);
     }},
    // Answered OK, but served after the message that follows
    {"postpone", "REQUEST|*", Stage::kRequest,
     [](auto& request, auto& data) {
         g.postponed = {request, data, HostMsgSender(&request)};
         Refuse(0);
     }},
    // Nobody is served for so many milliseconds; for so many microseconds more each time
    {"slow", "REQUEST|* NUMBER", Stage::kRequest, [](auto&, auto&) { Sleep(g.values[0] * 1000); }},
    {"growing", "REQUEST|* NUMBER", Stage::kRequest, [](auto&, auto&) { Sleep(g.values[0] * ++g.count); }},
    // What other clients have is freed
    {"free-others", "REQUEST|*", Stage::kRequest,
     [](auto& request, auto&) {
         for (const auto& [process, client] : g.clients) {
             if (process != HostMsgSender(&request))
                 g.ended(process);
         }
     }},
    // Refused: before INIT and after EXIT; one client more than so many; a second client of a name
    {"needs-init", "REQUEST|* CODE", Stage::kRequest,
     [](auto& request, auto&) {
         if (request.msgId != VESK_VIDEO_MSG_INIT && g.clients.count(HostMsgSender(&request)) == 0)
             Refuse(g.values[0]);
     }},
    {"limit-clients", "NUMBER CODE", Stage::kRequest,
     [](auto& request, auto&) {
         const bool isNew =
             request.msgId == VESK_VIDEO_MSG_INIT && g.clients.count(HostMsgSender(&request)) == 0;
         if (isNew && std::ssize(g.clients) >= g.values[0])
             Refuse(g.values[1]);
     }},
    {"unique-names", "CODE", Stage::kRequest,
     [](auto& request, auto& data) {
         const OsMsgEnvelope asked = ClientOf(request, data);
         for (const auto& [process, client] : g.clients) {
             if (process != HostMsgSender(&request) && IsTo(client, asked))
                 Refuse(g.values[0]);
         }
     }},
    // What has been answered with the first code gets the second; OK with a payload of zeros
    {"answer", "REQUEST|* CODE|* CODE", Stage::kAnswer,
     [](auto& request, auto& data) {
         const uint16_t code = HeadOf(data).uwSubMsgID;
         if (g.values[0] == kAnyRefusal ? code != 0 : code == g.values[0])
             data = AnswerTo(request, g.values[1]);
     }},
    // Served, but the connection is closed
    {"unanswered", "REQUEST|*", Stage::kAnswer, [](auto&, auto& data) { data.clear(); }},
    // The first answer of that length for ever
    {"stale", "REQUEST|*", Stage::kAnswer,
     [](auto& request, auto& data) {
         const Bytes& first = g.first.try_emplace(request.msgId, data).first->second;
         if (first.size() == data.size())
             data = first;
     }},
    // The field's lowest bit is another; so many bytes more, or less if negative
    {"flip", "MESSAGE FIELD", Stage::kAnswerOrNotification,
     [](auto&, auto& data) {
         if (g.offset < data.size())
             data[g.offset] ^= std::byte{1};
     }},
    {"length", "MESSAGE NUMBER", Stage::kAnswerOrNotification,
     [](auto&, auto& data) {
         data.resize(static_cast<size_t>(std::max<int64_t>(0, std::ssize(data) + g.values[0])));
     }},
    {"drop", "NOTIFICATION|*", Stage::kNotification, [](auto&, auto&) {}},
    {"twice", "NOTIFICATION|*", Stage::kNotification,
     [](auto& notification, auto& data) {
         Send(notification, notification.msgId, data);
         Send(notification, notification.msgId, data);
     }},
    // So many milliseconds late; the others come in time
    {"late", "NOTIFICATION|* NUMBER", Stage::kNotification,
     [](auto& notification, auto& data) {
         std::thread([envelope = notification, late = data]() mutable {
             Sleep(g.values[0] * 1000);
             Send(envelope, envelope.msgId, late);
         }).detach();
     }},
    // The first comes after the second
    {"swap", "NOTIFICATION NOTIFICATION", Stage::kNotification,
     [](auto& notification, auto& data) {
         g.swapped.push_back({notification, data, 0});
     }},
    {"to-everyone", "NOTIFICATION|*", Stage::kNotification, SendToAll},
    {"to-others", "NOTIFICATION|*", Stage::kNotification, // only
     [](auto& notification, auto& data) {
         for (const auto& [process, client] : g.clients) {
             if (!IsTo(client, notification))
                 Send(client, notification.msgId, data);
         }
     }},
    // A client that does not read is waited for
    {"block-on-full", "NOTIFICATION|*", Stage::kNotification,
     [](auto& notification, auto& data) {
         while (Send(notification, notification.msgId, data) == HOST_MSG_ERR_FULL)
             Sleep(20'000);
     }},
    // Zeros to all clients every so many milliseconds
    {"uncaused", "NOTIFICATION NUMBER", Stage::kTimer, SendToAll},
    // What processes had that have ended stays theirs; the service ends with a client
    {"keep-ended", "", Stage::kEnd, [](auto&, auto&) {}},
    {"die-with-client", "", Stage::kEnd, [](auto&, auto&) { _exit(3); }},
};

void ReadMessage(const std::string& kind, const std::string& text)
{
    if (text == "*" && kind.ends_with('*'))
        return;
    g.isNotification |= kind == "MESSAGE" && decoder::FindNotification(text) != nullptr;
    const uint32_t number =
        g.isNotification ? decoder::NotificationNamed(text).number : decoder::RequestNamed(text).number;
    (g.number ? g.other : g.number.emplace()) = number;
}

void ReadField(const std::string& path)
{
    using enum decoder::Direction;
    g.size = SIZE_MAX;
    const auto direction = g.isNotification                   ? kNotification
                           : g.word->stage == Stage::kRequest ? kRequest
                                                              : kAnswer;
    if (const auto offset = decoder::ParseNumber(path.substr(1)); path[0] == '@' && offset) {
        g.offset = *offset;
        return;
    }
    const decoder::Decoder decoder;
    const decoder::Place place = decoder.Locate(decoder.Describe(direction, g.number.value_or(kNone)), path);
    if (!place.problem.empty())
        throw Error(place.problem);
    g.offset = place.offset;
    if (!place.isOpen)
        g.size = place.size;
}

int64_t NumberIn(const std::string& kind, const std::string& text)
{
    std::optional<int64_t> value = decoder::ParseSigned(text);
    if (kind == "CODE|*" && text == "*")
        value = kAnyRefusal;
    else if (kind.starts_with("CODE"))
        value = decoder::FindResult(text);
    if (!value)
        throw Error(text + ": expected a " + kind);
    return *value;
}

/// @throw Error
void Read(const std::string& text)
{
    std::vector<std::string> words = SplitWords(text);
    if (words.size() > 2 && words.end()[-2] == "--after") {
        g.after = static_cast<uint64_t>(NumberIn("NUMBER", words.back()));
        words.resize(words.size() - 2);
    }
    if (words.empty())
        return;
    g.word =
        std::find_if(std::begin(kWords), std::end(kWords), [&](auto& word) { return word.name == words[0]; });
    if (g.word == std::end(kWords))
        throw Error("there is no alteration '" + words[0] + "'");
    g.isNotification = g.word->stage == Stage::kNotification || g.word->stage == Stage::kTimer;
    const std::vector<std::string> operands = SplitWords(g.word->operands);
    if (words.size() != operands.size() + 1)
        throw Error(text + ": expected " + g.word->name + ' ' + g.word->operands);
    for (size_t i = 0; i < operands.size(); ++i) {
        if (operands[i] == "FIELD")
            ReadField(words[i + 1]);
        else if (operands[i].starts_with("CODE") || operands[i] == "NUMBER")
            g.values.push_back(NumberIn(operands[i], words[i + 1]));
        else
            ReadMessage(operands[i], words[i + 1]);
    }
}

bool IsConcerned(bool isNotification, uint32_t number, const std::string& client)
{
    return g.word != nullptr && g.isNotification == isNotification && g.number.value_or(number) == number &&
           ++g.seen[{client, number}] > g.after;
}

/// Returns whether the word is about this stage.
bool Act(Stage stage, const OsMsgEnvelope& message, Bytes& data)
{
    const bool isIts = g.word != nullptr && g.word->stage == stage;
    if (isIts)
        g.word->act(message, data);
    return isIts;
}

uint32_t OnMessage(OsMsgEnvelope* message)
{
    const std::lock_guard lock(g.mutex);
    OsMsgEnvelope& request = *message;
    g.isConcerned = false;
    if (messages::IsControl(request.msgId))
        return g.handle(message);
    const HostProcess sender = HostMsgSender(message);
    const std::optional<Message> postponed = std::exchange(g.postponed, std::nullopt);
    Bytes data = DataOf(request.data, request.dataLen);
    g.verdict.reset();
    g.isConcerned = IsConcerned(false, request.msgId, std::to_string(sender));
    if (g.isConcerned)
        Act(Stage::kRequest, request, data);
    if (g.verdict) {
        const Bytes answer = AnswerTo(request, *g.verdict);
        if (request.type == OS_MSG_SYNCHRONOUS)
            HostMsgReply(message, answer.data(), static_cast<uint32_t>(answer.size()));
    } else {
        if (request.msgId == VESK_VIDEO_MSG_INIT)
            g.clients[sender] = ClientOf(request, data);
        else if (request.msgId == VESK_VIDEO_MSG_EXIT)
            g.clients.erase(sender);
        Serve(request, data);
    }
    if (postponed)
        ServeUnseen(*postponed);
    return 0;
}

void OnEnd(HostProcess process)
{
    const std::lock_guard lock(g.mutex);
    g.clients.erase(process);
    Bytes none;
    if (!Act(Stage::kEnd, {}, none))
        g.ended(process);
}

void RunTimer()
{
    while (true) {
        Sleep(g.values[0] * 1000);
        const std::lock_guard lock(g.mutex);
        Bytes data = Zeros(*g.number, &messages::FindNotification(*g.number)->payload);
        Act(Stage::kTimer, MakeEnvelope(*g.number, {}, {}, data), data);
    }
}

} // namespace

uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*))
{
    const char* text = std::getenv("VESK_ALTER");
    try {
        Read(text != nullptr ? text : "");
    } catch (const Error& error) {
        PutError("altered_service", std::string("VESK_ALTER: ") + error.what());
        _exit(2);
    }
    g.handle = msgProc;
    if (g.word != nullptr && g.word->stage == Stage::kTimer)
        std::thread(RunTimer).detach();
    return NEXT(OsMsgRegTask)(taskName, queueDepth, OnMessage);
}

uint32_t HostMsgOnProcessEnd(const char* taskName, void (*ended)(HostProcess process))
{
    g.ended = ended;
    return NEXT(HostMsgOnProcessEnd)(taskName, OnEnd);
}

int HostProcessIsAlive(HostProcess process)
{
    static const auto next = NEXT(HostProcessIsAlive);
    return g.word != nullptr && g.word->stage == Stage::kEnd ? 1 : next(process);
}

HostProcess HostMsgSender(const OsMsgEnvelope* message)
{
    static const auto next = NEXT(HostMsgSender);
    return g.unseen != nullptr && message == &g.unseen->envelope ? g.unseen->sender : next(message);
}

uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen)
{
    static const auto next = NEXT(HostMsgReply);
    Bytes answer = DataOf(data, dataLen);
    if (g.isConcerned && !Act(Stage::kAnswer, *request, answer))
        Act(Stage::kAnswerOrNotification, *request, answer);
    if (answer.empty())
        return HOST_MSG_ERR_BROKEN;
    return next(request, answer.data(), static_cast<uint32_t>(answer.size()));
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    const uint32_t number = envelope->msgId;
    Bytes data = DataOf(envelope->data, envelope->dataLen);
    if (messages::IsControl(number))
        return Send(*envelope, number, data);
    const std::lock_guard lock(g.mutex);
    const bool isConcerned = IsConcerned(true, number, std::string(TextIn(envelope->recvProcName)));
    if (isConcerned)
        Act(Stage::kAnswerOrNotification, *envelope, data);
    const bool isSent = isConcerned && Act(Stage::kNotification, *envelope, data);
    const uint32_t ret = isSent ? 0 : Send(*envelope, number, data);
    std::erase_if(g.swapped, [&](Message& first) {
        return number == g.other && IsTo(first.envelope, *envelope) &&
               (Send(first.envelope, first.envelope.msgId, first.data), true);
    });
    return ret;
}
