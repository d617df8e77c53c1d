// The group "notifications": what the service tells its clients, and when.
#include "tools/veskctl/check/ports.h"

#include "base/words.h"
#include "decoder/names.h"
#include "decoder/text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>

namespace vesk::ctl::check {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr milliseconds kQuiet = 300ms;
/// How long what need not come is waited for.
constexpr milliseconds kOptional = 1000ms;

std::string NameOf(uint32_t number)
{
    const messages::Notification* listed = messages::FindNotification(number);
    return listed == nullptr ? std::to_string(number) : std::string(decoder::ShortName(listed->name));
}

/// "DECODE_STATUS ..., ..." of messages; "none" without.
std::string TextOf(Trial& trial, const std::vector<Notified>& all)
{
    std::string text;
    for (const Notified& one : all)
        text += (text.empty() ? "" : "; ") + Line(trial.Decoder(), one.message);
    return text.empty() ? "none" : text;
}

/// An application must be able to use what arrives.
void ExpectUsable(Trial& trial, const Notified& one)
{
    const messages::Notification* listed = messages::FindNotification(one.Number());
    trial.Expect(listed != nullptr, "only notifications that are listed", "number " + NameOf(one.Number()));
    const size_t size = one.arrived.data.size();
    trial.Expect(size >= sizeof(VeskVideoMsgHead), "a notification to begin with a header of 24 bytes",
                 std::to_string(size) + " bytes");
    if (listed->payload.kind != messages::Kind::kRecord)
        return;
    const size_t payload = size - sizeof(VeskVideoMsgHead);
    const bool isExact = one.Number() == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY ||
                         one.Number() == VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY ||
                         one.Number() == VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY;
    trial.Expect(isExact ? payload == listed->payload.size : payload >= listed->payload.size,
                 NameOf(one.Number()) + " to have " + (isExact ? "" : "at least ") +
                     std::to_string(listed->payload.size) + " bytes after its header",
                 std::to_string(payload) + " bytes");
    if (one.Number() == VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY || !isExact)
        return;
    const auto name =
        one.arrived.data.begin() + sizeof(VeskVideoMsgHead) + offsetof(VeskVideoDisplayLink, portName);
    const auto end = name + sizeof(VeskVideoDisplayLink::portName);
    trial.Expect(std::find(name, end, std::byte{0}) != end, "portName to end within its field",
                 "64 characters without an end");
}

// What a service tells of its ports

/// All ports of one direction are told, each once and its state before its format.
void ExpectPorts(Trial& trial, const std::vector<Notified>& told, const PortKind& kind, size_t count)
{
    std::set<uint64_t> states;
    std::set<uint64_t> plugged;
    std::set<uint64_t> formats;
    for (const Notified& one : told) {
        const std::string port = "port " + std::to_string(one.Field("port").value_or(0));
        const uint64_t number = one.Field("port").value_or(0);
        if (one.Number() == kind.state) {
            trial.Expect(states.insert(number).second, NameOf(kind.state) + " once for " + port,
                         "a second one");
            if (one.Field("val").value_or(0) != 0)
                plugged.insert(number);
        } else if (one.Number() == kind.format) {
            trial.Expect(states.contains(number),
                         NameOf(kind.format) + " after " + NameOf(kind.state) + " of " + port, "it before");
            trial.Expect(formats.insert(number).second, NameOf(kind.format) + " once for " + port,
                         "a second one");
        }
    }
    if (trial.TheProfile().Sends(kind.state))
        trial.Expect(states.size() == count,
                     NameOf(kind.state) + " for each of the " + std::to_string(count) + " ports that " +
                         kind.counted + " tells of",
                     "for " + std::to_string(states.size()));
    if (trial.TheProfile().Sends(kind.format))
        trial.Expect(formats == plugged,
                     NameOf(kind.format) + " for each port that is plugged in, and no other",
                     "for " + std::to_string(formats.size()) + " ports, where " +
                         std::to_string(plugged.size()) + " are plugged in");
}

/// All that a client is told that announces itself now.
std::vector<Notified> ToldAfterInit(Trial& trial, Actor& client, const PortCounts& counts)
{
    client.Announce();
    std::vector<Notified> told = TakePorts(trial, client, counts);
    const std::vector<Notified> more = client.TakeAll(kQuiet);
    told.insert(told.end(), more.begin(), more.end());
    return told;
}

void AfterInit(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& watcher = AnnouncedClient(trial, counts);
    Actor& client = trial.NewProcess();
    for (int i = 0; i < 2; ++i) { // an application may begin again, with another callback
        const std::vector<Notified> told = ToldAfterInit(trial, client, counts);
        for (const Notified& one : told)
            ExpectUsable(trial, one);
        for (const PortKind& kind : kPortKinds)
            ExpectPorts(trial, told, kind, counts.*kind.count);
    }
    const std::vector<Notified> others = watcher.TakeAll(0ms);
    trial.Expect(others.empty(), "nothing for a client when another announces itself", TextOf(trial, others));
}

void OtherTask(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& client = trial.NewProcess();
    trial.ExpectOk(client.Send("INIT procName=" + client.Name() + " taskName=OTHER"));
    const std::vector<Notified> told = client.TakeAll(kQuiet);
    trial.Expect(told.empty(), "nothing to come to the task VAPI of a client that has named another one",
                 TextOf(trial, told));
    const std::vector<Notified> then = ToldAfterInit(trial, client, counts);
    trial.Expect(!then.empty() || counts.displays + counts.inputs == 0,
                 "the states of ports to come once the client has named its task VAPI", TextOf(trial, then));
}

// What requests cause

/// A request, and the notification that it causes. Lines are as Actor takes them.
struct Cause {
    std::array<const char*, 4> needs; ///< What comes before it.
    const char* request;
    uint32_t number;
    const char* fields;             ///< Of the notification, as the interface says,
    const char* virtualFields = ""; ///< and as the virtual service fills them in addition.
};

constexpr char kSetDecoder[] = "SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720";
constexpr char kStartDecoder[] = "DEC_START decStmNo=$decStmNo";
constexpr char kChangeDecoder[] = "SET_DEC_PARAMEX decStmNo=$decStmNo";
constexpr char kStopDecoder[] = "DEC_STOP decStmNo=$decStmNo";
constexpr char kSetEncoder[] = "SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=2000";
constexpr char kStartEncoder[] = "ENC_START encStmNo=$encStmNo";
constexpr char kLoopOn[] = "SET_LOOP_START loop=$loop enable=1";
constexpr char kLoopOff[] = "SET_LOOP_START loop=$loop enable=0";
constexpr char kShowInput[] =
    "SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$inEngNo subPic[0].winHandle=1";
constexpr char kShowDecoder[] =
    "SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$decStmNo subPic[0].decFlag=1";
constexpr char kStartInput[] = "VI_START inEngNo=$inEngNo";
constexpr char kStartDisplay[] = "VO_START outEngNo=$outEngNo";

constexpr uint32_t kLoopState = VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY;
constexpr uint32_t kRecreated = VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY;
constexpr uint32_t kDecodeState = VESK_VIDEO_ON_DECODE_STATUS_NOTIFY;
constexpr uint32_t kKeyFrame = VESK_VIDEO_ON_IFREAME_REQUEST;
constexpr uint32_t kWallpaper = VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY;
constexpr uint32_t kAnnotation = VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY;
constexpr uint32_t kFirstFrame = VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY;
constexpr uint32_t kCameraResult = VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY;
constexpr uint32_t kLinkGone = VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY;

constexpr char kInputLink[] = "viPort=$viPort isDec=0";
constexpr char kDecoderLink[] = "viPort=-1 isDec=1";
constexpr char kOfDisplay[] = "surfaceId=$outEngNo";
constexpr char kOfDisplayAndDecoder[] = "surfaceId=$outEngNo decStmNo=$decStmNo";
constexpr char kStopped[] = "decStmNo=$decStmNo state=0";

constexpr Cause kOfChannels[] = {
    {{}, kLoopOn, kLoopState, "action=1", "result=0"},
    {{kLoopOn}, kLoopOff, kLoopState, "action=0", "result=0"},
    {{kSetDecoder, kStartDecoder}, kChangeDecoder, kRecreated, "decStmNo=$decStmNo"},
    {{kSetDecoder}, kStartDecoder, kDecodeState, "", "decStmNo=$decStmNo state=1"},
    {{kSetDecoder, kStartDecoder}, kStopDecoder, kDecodeState, "", kStopped},
    {{kSetDecoder, kStartDecoder}, "DEC_DELETE decStmNo=$decStmNo", kDecodeState, "", kStopped},
    {{kSetEncoder, kStartEncoder, kSetDecoder, kLoopOn}, kStartDecoder, kKeyFrame, "encStmNo=$encStmNo"},
    {{kSetEncoder, kStartEncoder, kSetDecoder, kStartDecoder}, kLoopOn, kKeyFrame, "encStmNo=$encStmNo"},
};

constexpr Cause kOfPictures[] = {
    {{}, "SET_ANNOTATION_STATUS value1=0 value2=0 status=1", kAnnotation, ""},
    {{}, "SET_WALLPAPER_INFO", kWallpaper, ""},
    {{},
     "CAMERA_CONTROL inEngNo=$inEngNo cmdType=16",
     kCameraResult,
     "viPort=$viPort camCtrlCmd=16",
     "errCode=0"},
    {{kShowInput, kStartInput}, kStartDisplay, kFirstFrame, kInputLink, kOfDisplay},
    {{kShowInput, kStartDisplay}, kStartInput, kFirstFrame, kInputLink, kOfDisplay},
    {{kStartInput, kStartDisplay}, kShowInput, kFirstFrame, kInputLink, kOfDisplay},
    {{kSetDecoder, kShowDecoder, kStartDisplay},
     kStartDecoder,
     kFirstFrame,
     kDecoderLink,
     kOfDisplayAndDecoder},
    {{kSetDecoder, kShowDecoder, kStartDisplay, kStartDecoder},
     kStopDecoder,
     kLinkGone,
     kDecoderLink,
     kOfDisplayAndDecoder},
    {{kShowInput, kStartInput, kStartDisplay}, "VI_STOP inEngNo=$inEngNo", kLinkGone, kInputLink, kOfDisplay},
    {{kShowInput, kStartInput, kStartDisplay},
     "VO_STOP outEngNo=$outEngNo",
     kLinkGone,
     kInputLink,
     kOfDisplay},
    {{kShowInput, kStartInput, kStartDisplay},
     "VO_CLOSE outEngNo=$outEngNo",
     kLinkGone,
     kInputLink,
     kOfDisplay},
    {{kShowInput, kStartInput, kStartDisplay},
     "VO_WINDOW_DESTROY outEngNo=$outEngNo winHandle=1",
     kLinkGone,
     kInputLink,
     kOfDisplay},
};

/// Whether the interface says that it comes, and not only what it would say if it came.
bool IsStated(uint32_t number)
{
    return number == kLoopState || number == kAnnotation;
}

/// Nothing says that it always comes: a test has no wallpaper, and a camera's results "may" be notified.
bool IsOptional(uint32_t number)
{
    return number == kWallpaper || number == kCameraResult;
}

/// Only one client at a time can have the engine of a port.
bool IsOfPorts(const Cause& cause)
{
    const auto names = [](const char* line) {
        return line != nullptr && std::string_view(line).find("EngNo") != std::string_view::npos;
    };
    return names(cause.request) || std::any_of(cause.needs.begin(), cause.needs.end(), names);
}

/// A client, and the fields of the notification that it must get; one that only watches has none.
struct Owner {
    Actor* client;
    bool isActing = false;
    std::vector<std::pair<std::string, uint64_t>> fields{};

    /// Values are numbers, or those of the client's things and ports.
    void Expects(const std::string& text)
    {
        for (const std::string& word : SplitWords(text)) {
            const auto [path, value] = decoder::ParseAssignment(word);
            fields.emplace_back(path, value[0] == '$' ? client->The(value.substr(1))
                                                      : static_cast<uint64_t>(std::stoll(value)));
        }
    }

    bool IsIts(const Notified& one) const
    {
        return isActing && std::all_of(fields.begin(), fields.end(), [&](const auto& field) {
                   return one.Field(field.first) == field.second;
               });
    }

    /// "DECODE_RECREATE_OK with decStmNo=4001 after ..."
    std::string Expected(const Cause& cause) const
    {
        std::string text = NameOf(cause.number);
        for (const auto& field : fields)
            text += (&field == fields.data() ? " with " : " ") + field.first + '=' +
                    std::to_string(static_cast<int64_t>(field.second));
        return text + " after " + std::string(cause.request);
    }
};

/// What a device does that differs from the virtual one in what the interface leaves open is no failure.
void Require(Trial& trial, bool isStated, bool holds, const std::string& expected, const std::string& got)
{
    if (isStated || trial.TheBench().survey.isVirtual)
        trial.Expect(holds, expected, got);
    else
        trial.Advise(holds, expected, got);
}

/// All notifications of the cause's number that a client gets.
std::vector<Notified> Got(Trial& trial, const Cause& cause, const Owner& owner, const PortCounts& counts)
{
    const bool isVirtual = trial.TheBench().survey.isVirtual;
    const auto isIts = [&](const Notified& one) { return one.Number() == cause.number && owner.IsIts(one); };
    std::vector<Notified> got;
    if (owner.isActing) {
        const auto one =
            owner.client->Await(isIts, isVirtual || IsStated(cause.number) ? kLongest : kOptional);
        if (one)
            got.push_back(*one);
    }
    for (Notified& one : TakeAllSoFar(trial, *owner.client, counts))
        got.push_back(std::move(one));
    for (const Notified& one : got)
        ExpectUsable(trial, one);
    std::erase_if(got, [&](const Notified& one) { return one.Number() != cause.number; });
    return got;
}

void ExpectCaused(Trial& trial, const Cause& cause, const PortCounts& counts)
{
    const bool isVirtual = trial.TheBench().survey.isVirtual;
    std::vector<Owner> owners{{&AnnouncedClient(trial, counts), true},
                              {&AnnouncedClient(trial, counts), !IsOfPorts(cause)}};
    for (Owner& owner : owners) {
        if (!owner.isActing)
            continue;
        for (const char* line : cause.needs) {
            if (line != nullptr)
                owner.client->Need(line);
        }
        owner.client->Encode(cause.request); // so that all things that it needs are there
        owner.Expects(cause.fields);
        if (isVirtual && trial.TheBench().settings.peer == "virtual")
            owner.Expects(cause.virtualFields);
        TakeAllSoFar(trial, *owner.client, counts);
    }
    for (const Owner& owner : owners) {
        if (owner.isActing)
            owner.client->Need(cause.request);
    }
    for (const Owner& owner : owners) {
        const std::vector<Notified> got = Got(trial, cause, owner, counts);
        const auto its = static_cast<size_t>(
            std::count_if(got.begin(), got.end(), [&](const Notified& one) { return owner.IsIts(one); }));
        const std::string expected = owner.Expected(cause);
        if (owner.isActing && (isVirtual || !IsOptional(cause.number) || !got.empty()))
            Require(trial, IsStated(cause.number) || !got.empty(), its > 0, expected, TextOf(trial, got));
        if (isVirtual || !owner.fields.empty()) // else it may be a late one of what came before
            trial.Expect(its < 2, expected + " once", TextOf(trial, got));
        Require(trial, false, got.size() == its,
                "no " + NameOf(cause.number) + " for a client that is not the owner of what it is about",
                TextOf(trial, got));
    }
}

void Causes(Trial& trial, std::span<const Cause> causes)
{
    const PortCounts counts = CountPorts(trial);
    for (const Cause& cause : causes) {
        if (trial.TheProfile().Sends(cause.number))
            trial.Case(NameOf(cause.number) + " after " + cause.request,
                       [&] { ExpectCaused(trial, cause, counts); });
    }
}

/// A client changes its things in turns, and is told in the same order.
void InOrder(Trial& trial)
{
    constexpr int kRounds = 12;
    const PortCounts counts = CountPorts(trial);
    Actor& client = AnnouncedClient(trial, counts);
    std::vector<uint64_t> decoders;
    for (int i = 0; i < 3; ++i) {
        client.Forget("decStmNo");
        client.Need(kSetDecoder);
        client.Need(kStartDecoder);
        decoders.push_back(client.The("decStmNo"));
    }
    client.The("loop");
    TakeAllSoFar(trial, client, counts);
    using Told = std::pair<uint32_t, uint64_t>;
    std::vector<Told> expected;
    for (int i = 0; i < kRounds; ++i) {
        client.Set("decStmNo", decoders[static_cast<size_t>(i) % decoders.size()]);
        client.Need(kChangeDecoder);
        expected.emplace_back(kRecreated, client.The("decStmNo"));
        client.Need(i % 2 == 0 ? kLoopOn : kLoopOff);
        expected.emplace_back(kLoopState, i % 2 == 0 ? 1 : 0);
    }
    std::vector<Told> told;
    const auto isOfTheseKinds = [](const Notified& one) {
        return one.Number() == kRecreated || one.Number() == kLoopState;
    };
    const auto deadline = Clock::now() + kLongest;
    while (told.size() < expected.size()) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        const auto one = client.Await(isOfTheseKinds, left);
        if (!one)
            break;
        told.emplace_back(one->Number(),
                          one->Field(one->Number() == kRecreated ? "decStmNo" : "action").value_or(0));
    }
    // What a device does not notify at all is another test's matter.
    std::erase_if(expected, [&](const Told& one) {
        return std::none_of(told.begin(), told.end(),
                            [&](const Told& other) { return other.first == one.first; });
    });
    if (told.empty())
        trial.Skip("the service notifies of neither decoders nor loops");
    if (!trial.TheBench().survey.isVirtual) { // different parts of a device may tell at different times
        std::stable_sort(told.begin(), told.end(),
                         [](const Told& a, const Told& b) { return a.first < b.first; });
        std::stable_sort(expected.begin(), expected.end(),
                         [](const Told& a, const Told& b) { return a.first < b.first; });
    }
    const auto [first, other] = std::mismatch(expected.begin(), expected.end(), told.begin(), told.end());
    const auto describe = [](const auto& place, const auto& end) {
        return place == end
                   ? std::string("none")
                   : NameOf(place->first) + (place->first == kRecreated ? " decStmNo=" : " action=") +
                         std::to_string(place->second);
    };
    trial.Expect(first == expected.end() && other == told.end(),
                 "notifications in the order of their causes: " + describe(first, expected.end()) +
                     " as number " + std::to_string(first - expected.begin() + 1),
                 describe(other, told.end()));
}

/// Nothing comes to a client that has only announced itself, and to one that has left.
void Silence(Trial& trial)
{
    const PortCounts counts = CountPorts(trial);
    Actor& announced = AnnouncedClient(trial, counts);
    Actor& left = AnnouncedClient(trial, counts);
    left.Need(kSetDecoder);
    left.Need(kStartDecoder);
    left.The("loop");
    left.Send("EXIT");
    left.Send("GET_VI_COUNT"); // served after it
    left.TakeAll(0ms);
    // What belonged to it is gone, and what it does now is its own affair.
    for (const char* line : {kStopDecoder, kLoopOn, kLoopOff, "SET_ANNOTATION_STATUS"})
        left.Send(line);
    const std::vector<Notified> toAnnounced = announced.TakeAll(1000ms);
    Require(trial, false, toAnnounced.empty(), "nothing for a client that does nothing",
            TextOf(trial, toAnnounced));
    const std::vector<Notified> toLeft = left.TakeAll(0ms);
    trial.Expect(toLeft.empty(), "nothing for a client after its EXIT", TextOf(trial, toLeft));
}

constexpr Test kTests[] = {
    {"notifications.ports",
     "after INIT, each port is told once: its state, then its format if it is plugged in",
     "an application learns in no other way what it can show, and where", AfterInit},
    {"notifications.task", "what a client is told goes to the task that it has named in INIT",
     "another task of the process cannot know what to do with it", OtherTask},
    {"notifications.channels", "what decoders and loops do is notified once, to their owner",
     "an application waits for these notifications, and acts on each",
     [](Trial& trial) { Causes(trial, kOfChannels); }},
    {"notifications.pictures", "what cameras and displays do is notified once, to the owner of the engine",
     "an application waits for these notifications, and acts on each",
     [](Trial& trial) { Causes(trial, kOfPictures); }, kNoticed},
    {"notifications.order", "a client that changes many things is told in the same order",
     "the last notification is what holds, so an older one must not come after it", InOrder},
    {"notifications.silence", "for a second, nothing comes to a client that does nothing or has sent EXIT",
     "who has left, or has caused nothing, has no use for what is told", Silence, kLong},
};

} // namespace

std::span<const Test> NotificationTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
