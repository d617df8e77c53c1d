// The group "values": what is set and read back, numbers, bounds, ports and capabilities.
#include "tools/veskctl/check/values.h"

#include "decoder/text.h"
#include "tools/veskctl/check/readings.h"
#include "tools/veskctl/check/things.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace vesk::ctl::check {

using namespace decoder;
using messages::Kind;
using messages::Request;

namespace {

/// What the headers give bounds for: a request beyond them.
struct Bound {
    const char* line;
    const char* why;
};

constexpr Bound kBounds[] = {
    {"CAMERA_CONTROL inEngNo=$inEngNo cmdType=23", "the highest command is 22"},
    {"SET_VO_SRC outEngNo=$outEngNo picNum=26", "an output shows at most 25 pictures"},
    {"SET_VO_SRC outEngNo=$outEngNo picNum=2 subPic[0].inputId=$inEngNo subPic[1].inputId=4294967295",
     "there is no such input engine"},
    {"SET_DISPLAY_MODE displayMode=3", "the highest mode is 2"},
    {"SET_APP_CAPTURE_PARAM inEngNo=$inEngNo taskHandle=0", "the handle must not be 0"},
    {"GET_VI_PORT count=0", "it asks for nothing"},
    {"GET_VO_PORT count=0", "it asks for nothing"},
    {"QUERY_PRESET presetSelector=$inEngNo presetCount=0", "it asks for nothing"},
    {"GET_VI_PORT count=4294967295", "there are not so many ports"},
    {"GET_VO_PORT count=4294967295", "there are not so many ports"},
    {"QUERY_PRESET presetSelector=$inEngNo presetCount=4294967295", "no answer can be so long"},
};

void Bounds(Trial& trial)
{
    for (const Bound& bound : kBounds) {
        trial.Case(bound.line, [&] {
            Actor& client = trial.NewClient();
            const Prepared request = client.Encode(bound.line);
            const Request& listed = *messages::FindRequest(request.number);
            if (!trial.TheProfile().Has(request.number) || !trial.CanBeTried(listed))
                trial.Skip("the device has no such request, or no camera");
            const Readings before(trial, client);
            trial.ExpectRefused(client.Send(request.number, request.data), bound.why);
            before.ExpectSame(client, "a request that is refused");
        });
    }
}

void Ports(Trial& trial)
{
    struct Direction {
        const char* name;
        const char* count;
        const char* list;
        uint32_t notification;
    };
    for (const Direction& one :
         {Direction{"inputs", "GET_VI_COUNT", "GET_VI_PORT", VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY},
          Direction{"outputs", "GET_VO_COUNT", "GET_VO_PORT", VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY}}) {
        trial.Case(one.name, [&] {
            Actor& client = trial.NewClient();
            const Reply answer = client.Send(one.count);
            trial.ExpectOk(answer);
            const uint64_t count = answer.Number("count");
            const auto ask = [&](uint64_t entries) {
                return client.Send(one.list + std::string(" count=") + std::to_string(entries));
            };
            for (uint64_t wanted = 1; wanted <= count; ++wanted) {
                const Reply list = ask(wanted);
                trial.ExpectOk(list);
                const size_t entries =
                    list.Payload().size() / messages::FindRequest(list.request.number)->answer.size;
                trial.Expect(entries == wanted, std::to_string(wanted) + " entries", std::to_string(entries));
            }
            trial.ExpectRefused(ask(count + 1), "there are only " + std::to_string(count) + " ports");
            if (!trial.TheProfile().Sends(one.notification))
                return;
            std::set<uint64_t> ports;
            while (ports.size() < count) {
                const auto state = client.Await(one.notification, std::chrono::seconds(5));
                trial.Expect(state.has_value(), std::to_string(count) + " ports to be notified after INIT",
                             std::to_string(ports.size()) + " ports");
                ports.insert(state->Field("port").value_or(0));
            }
        });
    }
}

void EncodeCapability(Trial& trial)
{
    Actor& client = trial.NewClient();
    const Reply capability = client.Need("GET_ENCODE_CAPABILITY");
    for (int i = 0; i < VESK_VIDEO_CODEC_NUM; ++i) {
        const std::string codec = "codec[" + std::to_string(i) + "].";
        const auto value = [&](const char* name) { return capability.Number(codec + name); };
        if (value("support") == 0 || i == VESK_VIDEO_ENC_SVC_SW)
            continue;
        for (const std::string bound : {"min", "max"}) {
            std::string mode = "codcType=" + std::to_string(i);
            for (const auto& [field, name] : {std::pair(" w=", "Width"), {" h=", "Height"}})
                mode.append(field).append(std::to_string(value((bound + name).c_str())));
            const Reply reply = client.Send("SET_ENC_PARAM encStmNo=$encStmNo fr=30 br=2000 " + mode);
            trial.Advise(reply.IsOk(), "an encoder to take " + mode + ", as GET_ENCODE_CAPABILITY says",
                         reply.Text());
        }
    }
}

/// A channel more than the capabilities allow.
void Channels(Trial& trial)
{
    struct Row {
        const char* create;
        const char* capability;
    };
    for (const Row& row :
         {Row{"ENC_CREATE", "GET_ENCODE_CAPABILITY"}, Row{"DEC_CREATE", "GET_DECODE_CAPABILITY"}}) {
        trial.Case(row.create, [&] {
            Actor& client = trial.NewClient();
            const uint64_t most = client.Need(row.capability).Number("maxChannel");
            constexpr uint64_t kMany = 256;
            if (most > kMany)
                trial.Skip("there can be more than " + std::to_string(kMany));
            for (uint64_t i = 0; i <= most; ++i) {
                if (!client.Send(row.create).IsOk())
                    return;
            }
            trial.Expect(false, std::to_string(most) + " channels at most, as " + row.capability + " says",
                         "one more");
        });
    }
}

void Steady(Trial& trial)
{
    Actor& client = trial.NewClient();
    for (const Thing& thing : Things()) {
        try {
            client.The(std::string(thing.number));
        } catch (const NotTried&) {
            continue; // the device has none
        }
    }
    const Readings before(trial, client);
    const Readings::Differences differences = before.To(Readings(trial, client));
    trial.Advise(differences.empty(), "nothing to change while nothing is started",
                 differences.empty() ? "" : differences.begin()->second);
}

/// A request of zeros, if the device does not have what its example needs.
Bytes ExampleOrZeros(Actor& client, const Request& request)
{
    try {
        return client.Example(request);
    } catch (const NotTried&) {
        VeskVideoMsgHead head{};
        head.msgId = request.number;
        Bytes data(BytesOf(head).begin(), BytesOf(head).end());
        const bool isText = request.payload.kind == Kind::kText;
        const bool isRecord = request.payload.kind == Kind::kRecord;
        data.resize(data.size() + (isRecord ? request.payload.size : isText ? 1 : 0));
        return data;
    }
}

void Missing(Trial& trial)
{
    const Profile& profile = trial.TheProfile();
    if (profile.missing.empty())
        trial.Skip("the profile names no request that the device does not have");
    for (const auto& [number, code] : profile.missing) {
        const Request* request = messages::FindRequest(number);
        if (request == nullptr || request->answer.kind == Kind::kUnanswered)
            continue;
        trial.Case(std::string(ShortName(request->name)), [&, number = number, code = code] {
            Actor& client = trial.NewClient();
            const Reply reply = client.Send(number, ExampleOrZeros(client, *request));
            trial.ExpectRefused(reply, "the profile says that the device does not have it");
            trial.Expect(!code || reply.Result() == *code,
                         "the result that the profile names: " + ResultText(code.value_or(0)), reply.Text());
        });
    }
}

constexpr Test kTests[] = {
    {"values.read-back", "what one request sets, the one that reads it gives back, for each thing its own",
     "an application reads what is set to know what it may change", ReadBack, kNoticed},
    {"values.frame-rate", "ENC_MODIFY_FRAME_RATE changes what GET_ENC_PARAM reads",
     "the frame rate is one of the encoder's parameters", FrameRate},
    {"values.preset", "a preset that is stored is counted, and listed",
     "an application shows the presets that there are", Preset},
    {"values.stays", "what is set stays when its thing is started and stopped",
     "an application sets once, and starts and stops as it goes", Stays, kNoticed},
    {"values.windows", "a window is destroyed by its whole handle",
     "handles are addresses, of which two can have the same lower half", Windows, kNoticed},
    {"values.steady", "requests that only read answer the same when nothing has happened",
     "an application that asks twice must not see a difference that is none", Steady},
    {"values.unknown-number", "each request refuses the number of a port or thing that does not exist",
     "an application that mixes up numbers must learn it, and must not reach another's thing", UnknownNumber},
    {"values.freed-number", "each request refuses the number of a thing that is gone",
     "what is gone must not come back, nor be taken for what comes after it", FreedNumber},
    {"values.handed-out-once", "things that exist at the same time, of any client, have different numbers",
     "the number is all that tells them apart", HandedOutOnce},
    {"values.queues", "each input and overlay has a queue of its own, which stays the same",
     "frames of two sources in one queue cannot be told apart", OwnQueues, kNoticed},
    {"values.bounds", "what exceeds the bounds that the interface gives is refused",
     "an application that does not use the library sends what the library would refuse", Bounds},
    {"values.ports", "counts of ports agree with their lists and with the notifications after INIT",
     "an application asks for as many ports as it was told that there are", Ports},
    {"values.encode-capability", "an encoder takes the codecs and picture sizes that are capabilities",
     "an application offers its users what the device says it can", EncodeCapability},
    {"values.channels", "no more channels can be created than the capabilities say",
     "an application that relies on them would take a channel that does not work", Channels},
    {"values.profile", "requests that the profile says the device does not have are refused, as it says",
     "whoever reads the profile relies on it", Missing},
};

} // namespace

std::span<const Test> ValueTests()
{
    return kTests;
}

} // namespace vesk::ctl::check
