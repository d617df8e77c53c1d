// What requests have the service notify: each once, to the right client, in the right order.
#include "tools/veskctl/check/caused.h"

#include "base/words.h"
#include "decoder/text.h"
#include "tools/veskctl/check/told.h"

#include <algorithm>
#include <array>

namespace vesk::ctl::check {

namespace {

using namespace std::chrono_literals;

/// How long what need not come is waited for.
constexpr std::chrono::milliseconds kOptional = 1000ms;

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
     "CAMERA_CONTROL inEngNo=$inEngNo cmdType=0",
     kCameraResult,
     "viPort=$viPort camCtrlCmd=0",
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

    /// "DECODE_RECREATE_OK with decStmNo=4001"
    std::string Expected(const Cause& cause) const
    {
        std::string text = NameOf(cause.number);
        for (const auto& field : fields)
            text += (&field == fields.data() ? " with " : " ") + field.first + '=' +
                    std::to_string(static_cast<int64_t>(field.second));
        return text;
    }
};

/// All notifications of the cause's number that a client gets.
std::vector<Notified> Got(Trial& trial, const Cause& cause, const Owner& owner, const PortCounts& counts)
{
    const bool isVirtual = trial.TheSurvey().isVirtual;
    const auto isIts = [&](const Notified& one) { return one.Number() == cause.number && owner.IsIts(one); };
    std::vector<Notified> got;
    if (owner.isActing) {
        const auto one =
            owner.client->Await(isIts, isVirtual || IsStated(cause.number) ? kLongest : kOptional);
        if (one)
            got.push_back(*one);
    }
    for (Notified& one : TakeAllSoFar(*owner.client, counts))
        got.push_back(std::move(one));
    std::erase_if(got, [&](const Notified& one) { return one.Number() != cause.number; });
    for (const Notified& one : got)
        ExpectUsable(trial, one);
    return got;
}

void ExpectCaused(Trial& trial, const Cause& cause, const PortCounts& counts)
{
    const bool isVirtual = trial.TheSurvey().isVirtual;
    const bool hasFields = isVirtual && trial.TheBench().settings.peer == "virtual";
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
        if (hasFields)
            owner.Expects(cause.virtualFields);
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
        if (owner.isActing && its == 0) {
            const bool mayLack = IsOptional(cause.number) && got.empty() && !isVirtual;
            Require(trial, IsStated(cause.number) || !got.empty(), mayLack, expected, TextOf(trial, got));
            return;
        }
        if (hasFields || !owner.fields.empty()) // else it may be a late one of what came before
            trial.Expect(its < 2, expected + " once", TextOf(trial, got));
        std::vector<Notified> others = got;
        std::erase_if(others, [&](const Notified& one) {
            return owner.IsIts(one) || std::none_of(owners.begin(), owners.end(),
                                                    [&](const Owner& other) { return other.IsIts(one); });
        });
        Require(trial, false, others.empty(), "what is another client's to be notified to that one only",
                TextOf(trial, others));
    }
}

void ExpectEach(Trial& trial, std::span<const Cause> causes)
{
    const PortCounts counts = CountPorts(trial);
    for (const Cause& cause : causes) {
        if (trial.TheProfile().Sends(cause.number))
            trial.Case(NameOf(cause.number) + " after " + cause.request,
                       [&] { ExpectCaused(trial, cause, counts); });
    }
}

} // namespace

void ChannelsNotify(Trial& trial)
{
    ExpectEach(trial, kOfChannels);
}

void PicturesNotify(Trial& trial)
{
    ExpectEach(trial, kOfPictures);
}

void NotifiedInOrder(Trial& trial)
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
    TakeAllSoFar(client, counts);
    using Told = std::pair<uint32_t, uint64_t>;
    std::vector<Told> expected;
    for (int i = 0; i < kRounds; ++i) {
        client.Set("decStmNo", decoders[static_cast<size_t>(i) % decoders.size()]);
        client.Need(kChangeDecoder);
        expected.emplace_back(kRecreated, client.The("decStmNo"));
        client.Need(i % 2 == 0 ? kLoopOn : kLoopOff);
        expected.emplace_back(kLoopState, i % 2 == 0 ? 1 : 0);
    }
    std::erase_if(expected, [&](const Told& one) { return !trial.TheProfile().Sends(one.first); });
    std::vector<Told> told;
    const auto isOfTheseKinds = [](const Notified& one) {
        return one.Number() == kRecreated || one.Number() == kLoopState;
    };
    while (told.size() < expected.size()) {
        const auto one = client.Await(isOfTheseKinds, kLongest);
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
    if (!trial.TheSurvey().isVirtual) { // different parts of a device may tell at different times
        std::ranges::stable_sort(told, {}, &Told::first);
        std::ranges::stable_sort(expected, {}, &Told::first);
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

} // namespace vesk::ctl::check
