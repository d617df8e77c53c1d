// The virtual service with one thing wrong, for tests of what finds it: VESK_ALTER="skip VO_STOP OK". kWords
// lists what can be wrong. "--after N" at the end spares the first N such messages of each client. It is in
// front of the platform's functions that the service calls, so it sees requests, answers and notifications as
// they pass.
#include "base/envelope.h"
#include "base/error.h"
#include "base/nearest.h"
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
#include <set>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

using namespace vesk;
using messages::Kind;

namespace {

#define NEXT(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);
constexpr uint32_t kNone = UINT32_MAX;
constexpr int64_t kAnyRefusal = -1;

/// A word, and what it does to messages that it is about.
struct Word {
    const char* name;
    const char* operands;
    void (*arrived)(const OsMsgEnvelope& request, Bytes& data) = nullptr;
    void (*change)(const OsMsgEnvelope& message, Bytes& data) = nullptr; ///< Of an answer or a notification.
    void (*send)(const OsMsgEnvelope& notification, Bytes& data) = nullptr;
    void (*ended)(HostProcess process) = nullptr;
};

/// A message that is kept.
struct Kept {
    OsMsgEnvelope envelope{};
    Bytes data;
    HostProcess sender = 0;
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
    bool isConcerned = false;                     ///< The request in hand.
    bool wasUnfit = false;                        ///< Its length.
    std::optional<uint16_t> verdict;              ///< What it is answered with, without being served.
    std::map<HostProcess, OsMsgEnvelope> clients; ///< Since INIT; a notification's envelope for each.
    std::set<HostProcess> senders;
    std::map<std::pair<std::string, uint32_t>, uint64_t> seen; ///< Messages of a client.
    std::map<uint32_t, Bytes> first;                           ///< By number.
    std::vector<Kept> swapped;
    std::optional<Kept> postponed;
    const Kept* served = nullptr; ///< Was postponed.
    int64_t count = 0;
};
Altered& g = *new Altered; // outlives the threads

VeskVideoMsgHead HeadOf(BytesView data)
{
    VeskVideoMsgHead head{};
    std::copy_n(data.data(), std::min(data.size(), sizeof head), reinterpret_cast<std::byte*>(&head));
    return head;
}

Bytes DataOf(const OsMsgEnvelope& message)
{
    const auto* data = static_cast<const std::byte*>(message.data);
    return {data, data + message.dataLen};
}

size_t ListedSize(const messages::Form& form, const VeskVideoMsgHead& head)
{
    const uint64_t count = form.kind == Kind::kArray    ? ValueOf(head, form.count)
                           : form.kind == Kind::kRecord ? 1
                                                        : 0;
    return count <= VESK_VIDEO_MAX_MESSAGE_SIZE / std::max<size_t>(form.size, 1) ? count * form.size : 0;
}

/// An answer of the listed length, whose payload is 0; a refusal has none.
Bytes AnswerTo(const OsMsgEnvelope& request, int64_t code)
{
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(request.msgId);
    head.uwSubMsgID = static_cast<uint16_t>(code);
    Bytes answer(BytesOf(head).begin(), BytesOf(head).end());
    if (const auto* listed = messages::FindRequest(request.msgId); listed != nullptr && code == 0)
        answer.resize(kHeadSize + ListedSize(listed->answer, HeadOf(DataOf(request))));
    return answer;
}

uint32_t Send(const OsMsgEnvelope& message, Bytes& data)
{
    static const auto next = NEXT(OsMsgAsynSend);
    OsMsgEnvelope envelope = message;
    envelope.data = data.data();
    envelope.dataLen = static_cast<uint32_t>(data.size());
    return next(&envelope);
}

void SendTo(OsMsgEnvelope client, uint32_t number, Bytes& data)
{
    client.msgId = number;
    Send(client, data);
}

void Sleep(int64_t microseconds)
{
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

void Refuse(int64_t code)
{
    g.verdict = static_cast<uint16_t>(code);
}

/// Makes a payload fit into what is listed: it is cut or padded, an array has as many entries as there are,
/// and a text ends at its first NUL.
void Fit(const OsMsgEnvelope& request, Bytes& data)
{
    const size_t before = data.size();
    VeskVideoMsgHead head = HeadOf(data);
    const auto* listed = messages::FindRequest(request.msgId);
    if (listed == nullptr || listed->payload.kind == Kind::kBytes)
        return;
    const messages::Form& form = listed->payload;
    data.resize(std::max(before, kHeadSize));
    if (form.kind == Kind::kText) {
        const auto end = std::find(data.begin() + kHeadSize, data.end(), std::byte{0});
        data.resize(std::min(static_cast<size_t>(end - data.begin()), kHeadSize + form.size - 1));
        data.push_back(std::byte{0});
    } else {
        const size_t count = form.kind == Kind::kArray ? (data.size() - kHeadSize) / form.size : 0;
        if (form.kind == Kind::kArray && form.count == messages::HeaderField::kParam1)
            head.ulParam1 = count;
        else if (form.kind == Kind::kArray)
            head.ulParam2 = static_cast<uint32_t>(count);
        data.resize(kHeadSize + ListedSize(form, head));
        std::memcpy(data.data(), &head, sizeof head);
    }
    g.wasUnfit = data.size() != before;
}

void RefuseNoise(const OsMsgEnvelope& request, Bytes& data)
{
    const VeskVideoMsgHead head = HeadOf(data);
    bool isNoisy = head.ulReserved != 0 || head.padding != 0 || head.msgId != request.msgId;
    using enum messages::HeaderField;
    const auto* listed = messages::FindRequest(request.msgId);
    for (const messages::HeaderField field : {kSubMsgID, kParam1, kParam2})
        isNoisy |= listed != nullptr && !listed->At(field).IsUsed() && ValueOf(head, field) != 0;
    if (isNoisy)
        Refuse(g.values[0]);
}

/// @param from  Empty: zeros.
void Overwrite(Bytes& data, const Bytes& from)
{
    const size_t end = std::min(data.size(), g.offset + std::min(g.size, data.size()));
    for (size_t i = g.offset; i < end; ++i)
        data[i] = i < from.size() ? from[i] : std::byte{0};
}

void Postpone(const OsMsgEnvelope& request, Bytes& data)
{
    g.postponed = {request, data, HostMsgSender(&request)};
    g.postponed->envelope.type = OS_MSG_ASYNCHRONOUS;
    Refuse(0);
}

bool IsClient(const OsMsgEnvelope& request)
{
    return g.clients.count(HostMsgSender(&request)) != 0;
}

/// The envelope of notifications to the client that an INIT announces; addressed to nobody if @p data is
/// none.
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

void SendLate(const OsMsgEnvelope& notification, Bytes& data)
{
    std::thread([notification, data]() mutable {
        Sleep(g.values[0] * 1000);
        Send(notification, data);
    }).detach();
}

/// Sends a notification of zeros to all clients for ever.
[[noreturn]] void SendUncaused()
{
    while (true) {
        Sleep(g.values[0] * 1000);
        const std::lock_guard lock(g.mutex);
        VeskVideoMsgHead head{};
        head.msgId = static_cast<uint16_t>(*g.number);
        Bytes data(BytesOf(head).begin(), BytesOf(head).end());
        data.resize(kHeadSize + ListedSize(messages::FindNotification(*g.number)->payload, head));
        for (const auto& [process, client] : g.clients)
            SendTo(client, *g.number, data);
    }
}

// The operands are words that Read reads; a "*" stands for any REQUEST, NOTIFICATION or refusal's CODE.
constexpr Word kWords[] = {
    // Requests before they are served
    {"skip", "REQUEST CODE", [](auto&, auto&) { Refuse(g.values[0]); }},
    // The field is 0, whatever is sent. "@N" is all from the Nth byte on.
    {"ignore", "REQUEST FIELD", [](auto&, auto& data) { Overwrite(data, {}); }},
    {"freeze", "REQUEST FIELD", // it stays as in the first such request
     [](auto& request, auto& data) {
         Overwrite(data, g.first.try_emplace(request.msgId, data).first->second);
     }},
    {"fit", "REQUEST", Fit},
    {"refuse-late", "REQUEST", Fit, // what does not fit is served, and then refused
     [](auto& request, auto& data) {
         if (g.wasUnfit)
             data = AnswerTo(request, VESK_SERVICE_ERR_LENGTH);
     }},
    {"refuse-noise", "REQUEST CODE", RefuseNoise}, // in fields of the header that carry nothing
    {"postpone", "REQUEST", Postpone},             // answered OK, but served after the message that follows
    // So many milliseconds, in which nobody is served
    {"slow", "REQUEST NUMBER", [](auto&, auto&) { Sleep(g.values[0] * 1000); }},
    // So many microseconds more than the one before
    {"growing", "REQUEST NUMBER", [](auto&, auto&) { Sleep(g.values[0] * ++g.count); }},
    {"free-others", "REQUEST", // all that other processes have
     [](auto& request, auto&) {
         for (const HostProcess process : g.senders) {
             if (process != HostMsgSender(&request))
                 g.ended(process);
         }
     }},
    {"needs-init", "REQUEST CODE", // refused before INIT and after EXIT
     [](auto& request, auto&) {
         if (request.msgId != VESK_VIDEO_MSG_INIT && !IsClient(request))
             Refuse(g.values[0]);
     }},
    {"limit-clients", "NUMBER CODE", // refuses those that are too many
     [](auto& request, auto&) {
         if (request.msgId == VESK_VIDEO_MSG_INIT && !IsClient(request) &&
             std::ssize(g.clients) >= g.values[0])
             Refuse(g.values[1]);
     }},
    {"unique-names", "CODE", // refuses a second client of a name
     [](auto& request, auto& data) {
         const OsMsgEnvelope asked = ClientOf(request, data);
         for (const auto& [process, client] : g.clients) {
             if (process != HostMsgSender(&request) && IsTo(client, asked))
                 Refuse(g.values[0]);
         }
     }},
    // Answers
    {"answer", "REQUEST CODE CODE",
     nullptr, // the second code in place of the first; OK with a payload of zeros
     [](auto& request, auto& data) {
         const uint16_t code = HeadOf(data).uwSubMsgID;
         if (g.values[0] == kAnyRefusal ? code != 0 : code == g.values[0])
             data = AnswerTo(request, g.values[1]);
     }},
    {"unanswered", "REQUEST", nullptr, [](auto&, auto& data) { data.clear(); }}, // the connection is closed
    {"stale", "REQUEST", nullptr, // the first answer of that length for ever
     [](auto& request, auto& data) {
         const Bytes& first = g.first.try_emplace(request.msgId, data).first->second;
         if (first.size() == data.size())
             data = first;
     }},
    // Answers or notifications
    {"flip", "MESSAGE FIELD", nullptr, // its lowest bit
     [](auto&, auto& data) {
         if (g.offset < data.size())
             data[g.offset] ^= std::byte{1};
     }},
    {"length", "MESSAGE NUMBER", nullptr, // of bytes more; of bytes less if negative
     [](auto&, auto& data) {
         data.resize(static_cast<size_t>(std::max<int64_t>(0, std::ssize(data) + g.values[0])));
     }},
    // Notifications
    {"drop", "NOTIFICATION", nullptr, nullptr, [](auto&, auto&) {}},
    {"twice", "NOTIFICATION", nullptr, nullptr,
     [](auto& notification, auto& data) {
         Send(notification, data);
         Send(notification, data);
     }},
    {"late", "NOTIFICATION NUMBER", nullptr, nullptr, SendLate}, // by so many milliseconds
    {"swap", "NOTIFICATION NOTIFICATION", nullptr, nullptr,      // the first comes after the second
     [](auto& notification, auto& data) {
         g.swapped.push_back({notification, data});
     }},
    {"to-everyone", "NOTIFICATION", nullptr, nullptr,
     [](auto& notification, auto& data) {
         for (const auto& [process, client] : g.clients)
             SendTo(client, notification.msgId, data);
     }},
    {"to-others", "NOTIFICATION", nullptr, nullptr, // and not to whom it is for
     [](auto& notification, auto& data) {
         for (const auto& [process, client] : g.clients) {
             if (!IsTo(client, notification))
                 SendTo(client, notification.msgId, data);
         }
     }},
    {"block-on-full", "NOTIFICATION", nullptr, nullptr, // waits for a client that does not read
     [](auto& notification, auto& data) {
         while (Send(notification, data) == HOST_MSG_ERR_FULL)
             Sleep(20'000);
     }},
    {"uncaused", "NOTIFICATION NUMBER"}, // to all clients every so many milliseconds
    // Ends of processes
    {"keep-ended", "", nullptr, nullptr, nullptr, [](HostProcess) {}}, // what they had stays theirs
    {"die-with-client", "", nullptr, nullptr, nullptr, [](HostProcess) { _exit(3); }},
};

void ReadMessage(const std::string& kind, const std::string& text)
{
    if (text == "*" && kind != "MESSAGE")
        return;
    g.isNotification =
        kind == "NOTIFICATION" || (kind == "MESSAGE" && decoder::FindNotification(text) != nullptr);
    const uint32_t number =
        g.isNotification ? decoder::NotificationNamed(text).number : decoder::RequestNamed(text).number;
    if (g.number)
        g.other = number;
    else
        g.number = number;
}

void ReadField(const std::string& path)
{
    g.size = SIZE_MAX;
    if (const auto offset = decoder::ParseNumber(path.substr(1)); path[0] == '@' && offset) {
        g.offset = *offset;
        return;
    }
    const decoder::Decoder decoder;
    using enum decoder::Direction;
    const decoder::Direction direction = g.isNotification ? kNotification
                                         : g.word->change ? kAnswer
                                                          : kRequest;
    const decoder::Place place = decoder.Locate(decoder.Describe(direction, g.number.value_or(kNone)), path);
    if (!place.problem.empty())
        throw Error(place.problem);
    g.offset = place.offset;
    if (!place.isOpen)
        g.size = place.size;
}

void ReadNumber(const std::string& kind, const std::string& text)
{
    std::optional<int64_t> value = decoder::ParseSigned(text);
    if (kind == "CODE" && text == "*")
        value = kAnyRefusal;
    else if (kind == "CODE")
        value = decoder::FindResult(text);
    if (!value)
        throw Error(text + ": expected a " + kind);
    g.values.push_back(*value);
}

/// @throw Error
void Read(const std::string& text)
{
    std::vector<std::string> words = SplitWords(text);
    if (words.size() > 2 && words.end()[-2] == "--after") {
        ReadNumber("NUMBER", words.back());
        g.after = static_cast<uint64_t>(std::exchange(g.values, {})[0]);
        words.resize(words.size() - 2);
    }
    if (words.empty())
        return;
    g.word =
        std::find_if(std::begin(kWords), std::end(kWords), [&](auto& word) { return word.name == words[0]; });
    if (g.word == std::end(kWords)) {
        std::vector<std::string_view> names;
        for (const Word& word : kWords)
            names.emplace_back(word.name);
        throw Error("there is no alteration '" + words[0] + "'" + Nearest(words[0], names));
    }
    const std::vector<std::string> operands = SplitWords(g.word->operands);
    if (words.size() != operands.size() + 1)
        throw Error(text + ": expected " + g.word->name + ' ' + g.word->operands);
    for (size_t i = 0; i < operands.size(); ++i) {
        if (operands[i] == "FIELD")
            ReadField(words[i + 1]);
        else if (operands[i] == "CODE" || operands[i] == "NUMBER")
            ReadNumber(operands[i], words[i + 1]);
        else
            ReadMessage(operands[i], words[i + 1]);
    }
}

bool IsConcerned(bool isNotification, uint32_t number, const std::string& client)
{
    return g.word != nullptr && g.isNotification == isNotification && g.number.value_or(number) == number &&
           ++g.seen[{client, number}] > g.after;
}

void Serve(OsMsgEnvelope& request, Bytes& data)
{
    const OsMsgEnvelope original = request;
    request.data = data.data();
    request.dataLen = static_cast<uint32_t>(data.size());
    g.handle(&request);
    request = original;
}

uint32_t OnMessage(OsMsgEnvelope* message)
{
    const std::lock_guard lock(g.mutex);
    OsMsgEnvelope& request = *message;
    g.isConcerned = false;
    if (messages::IsControl(request.msgId))
        return g.handle(message);
    const HostProcess sender = HostMsgSender(message);
    std::optional<Kept> postponed = std::exchange(g.postponed, std::nullopt);
    Bytes data = DataOf(request);
    g.isConcerned = IsConcerned(false, request.msgId, std::to_string(sender));
    g.verdict.reset();
    g.senders.insert(sender);
    if (g.isConcerned && g.word->arrived != nullptr)
        g.word->arrived(request, data);
    if (!g.verdict) {
        if (request.msgId == VESK_VIDEO_MSG_INIT)
            g.clients[sender] = ClientOf(request, data);
        else if (request.msgId == VESK_VIDEO_MSG_EXIT)
            g.clients.erase(sender);
        Serve(request, data);
    } else if (request.type == OS_MSG_SYNCHRONOUS) {
        const Bytes answer = AnswerTo(request, *g.verdict);
        HostMsgReply(message, answer.data(), static_cast<uint32_t>(answer.size()));
    }
    if (postponed) {
        g.served = &*postponed;
        Serve(postponed->envelope, postponed->data);
        g.served = nullptr;
    }
    return 0;
}

void OnEnd(HostProcess process)
{
    const std::lock_guard lock(g.mutex);
    g.clients.erase(process);
    g.senders.erase(process);
    (g.word != nullptr && g.word->ended != nullptr ? g.word->ended : g.ended)(process);
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
    if (g.word != nullptr && std::string_view(g.word->name) == "uncaused")
        std::thread(SendUncaused).detach();
    return NEXT(OsMsgRegTask)(taskName, queueDepth, OnMessage);
}

uint32_t HostMsgOnProcessEnd(const char* taskName, void (*ended)(HostProcess process))
{
    g.ended = ended;
    return NEXT(HostMsgOnProcessEnd)(taskName, OnEnd);
}

HostProcess HostMsgSender(const OsMsgEnvelope* message)
{
    static const auto next = NEXT(HostMsgSender);
    return g.served != nullptr && message == &g.served->envelope ? g.served->sender : next(message);
}

uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen)
{
    static const auto next = NEXT(HostMsgReply);
    if (!g.isConcerned || g.word->change == nullptr)
        return next(request, data, dataLen);
    Bytes answer(static_cast<const std::byte*>(data), static_cast<const std::byte*>(data) + dataLen);
    g.word->change(*request, answer);
    if (answer.empty())
        return HOST_MSG_ERR_BROKEN;
    return next(request, answer.data(), static_cast<uint32_t>(answer.size()));
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    Bytes data = DataOf(*envelope);
    if (messages::IsControl(envelope->msgId))
        return Send(*envelope, data);
    const std::lock_guard lock(g.mutex);
    const bool isConcerned = IsConcerned(true, envelope->msgId, std::string(TextIn(envelope->recvProcName)));
    if (isConcerned && g.word->change != nullptr)
        g.word->change(*envelope, data);
    uint32_t ret = 0;
    if (isConcerned && g.word->send != nullptr)
        g.word->send(*envelope, data);
    else
        ret = Send(*envelope, data);
    if (envelope->msgId == g.other)
        std::erase_if(g.swapped, [&](Kept& kept) {
            return IsTo(kept.envelope, *envelope) && (Send(kept.envelope, kept.data), true);
        });
    return ret;
}
