// The group "values": what is set, and bounds.
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

/// The request that reads the record which this one sets; null if there is none.
const Request* ReaderOf(const Request& setter)
{
    const auto* found =
        std::find_if(std::begin(messages::kRequests), std::end(messages::kRequests), [&](const Request& one) {
            return setter.payload.kind == Kind::kRecord && one.payload.kind == Kind::kNone &&
                   one.answer.kind == Kind::kRecord &&
                   std::string_view(one.answer.type) == setter.payload.type;
        });
    return found == std::end(messages::kRequests) ? nullptr : found;
}

/// A record of one thing, which is set and read.
class Kept {
public:
    Kept(Trial& trial, Actor& client, const Request& setter)
        : trial_(trial), client_(client), setter_(setter), reader_(*ReaderOf(setter)),
          example_(client.Example(setter)), question_(client.Example(reader_)), kept_(example_)
    {
    }

    /// Sets what surely succeeds, then another value in every field, so far as the device takes it: @p more
    /// than before. Each time, what is read must be what was set last.
    void Change(unsigned more)
    {
        const Reply reply = client_.Send(setter_.number, example_);
        trial_.ExpectOk(reply);
        ExpectKept();
        fields_ = reply.request.fields;
        std::erase_if(fields_, [](const Field& field) {
            return !field.IsPayload() || field.LastName().starts_with("padding");
        });
        for (const Reach reach : {Reach::kLowest, Reach::kEvery}) {
            Bytes all = kept_;
            for (const Field& field : fields_)
                Raise(all, field, more, reach);
            if (Set(all))
                continue;
            for (const Field& field : fields_) {
                Bytes one = kept_;
                Raise(one, field, more, reach);
                Set(one);
            }
        }
    }

    /// False if the device takes only one value.
    bool HasChanged() const { return kept_ != example_; }

    /// True if it is the same thing.
    bool IsThatOf(const Kept& other) const
    {
        return std::equal(example_.begin(), example_.begin() + sizeof(VeskVideoMsgHead),
                          other.example_.begin());
    }

    void ExpectKept()
    {
        const Reply reply = client_.Send(reader_.number, question_);
        trial_.ExpectOk(reply);
        Bytes read(kept_.begin(), kept_.begin() + sizeof(VeskVideoMsgHead));
        read.insert(read.end(), reply.Payload().begin(), reply.Payload().end());
        trial_.Expect(read.size() == kept_.size(), "the record that was set", reply.Text());
        const Decoder& decoder = trial_.Decoder();
        const Decoded set = decoder.Decode({Direction::kRequest, setter_.number, kept_});
        const Decoded got = decoder.Decode({Direction::kRequest, setter_.number, read});
        for (const Field& field : fields_) {
            const auto text = [&](const Decoded& message) {
                const auto found = std::find_if(message.fields.begin(), message.fields.end(),
                                                [&](const Field& one) { return one.path == field.path; });
                return field.path + '=' + ValueText(decoder, *found);
            };
            const auto begin = static_cast<std::ptrdiff_t>(field.offset);
            const auto end = begin + static_cast<std::ptrdiff_t>(field.size);
            if (!std::equal(kept_.begin() + begin, kept_.begin() + end, read.begin() + begin))
                trial_.Expect(false, "what was set last to be read, " + text(set), text(got));
        }
    }

private:
    bool Set(const Bytes& data)
    {
        const bool isTaken = client_.Send(setter_.number, data).IsOk();
        if (isTaken)
            kept_ = data;
        ExpectKept();
        return isTaken;
    }

    /// Which bytes of a number are raised.
    enum class Reach { kLowest, kEvery };

    /// Each byte is so much more; of a text only the first, and of a fraction the lowest.
    static void Raise(Bytes& data, const Field& field, unsigned more, Reach reach)
    {
        const bool isWhole =
            std::holds_alternative<uint64_t>(field.value) || std::holds_alternative<int64_t>(field.value);
        const bool isEvery =
            std::holds_alternative<Bytes>(field.value) || (isWhole && reach == Reach::kEvery);
        const size_t count = isEvery ? field.size : 1;
        for (size_t i = field.offset; i < field.offset + count; ++i)
            data[i] = std::byte(std::to_integer<unsigned>(data[i]) + more);
    }

    Trial& trial_;
    Actor& client_;
    const Request& setter_;
    const Request& reader_;
    Bytes example_;
    Bytes question_;
    Bytes kept_;
    std::vector<Field> fields_;
};

/// What the client asks for next is another thing, or another port if there is one.
void TakeOthers(Trial& trial, Actor& client)
{
    for (const Thing& thing : Things())
        client.Forget(std::string(thing.number));
    const Survey& survey = trial.TheBench().survey;
    if (survey.inputs.size() > 1)
        client.Set("viPort", survey.inputs[1]);
    if (survey.outputs.size() > 1)
        client.Set("voPort", survey.outputs[1]);
}

void ReadBack(Trial& trial)
{
    const auto isRead = [&](const Request& request) {
        const Request* reader = ReaderOf(request);
        return reader != nullptr && trial.TheProfile().Has(reader->number);
    };
    trial.EachRequest(isRead, [&](const Request& request) {
        Actor& client = trial.NewClient();
        Kept one(trial, client, request);
        one.Change(1);
        if (!one.HasChanged())
            trial.Skip("the device takes only one value");
        TakeOthers(trial, client);
        std::optional<Kept> other;
        try {
            other.emplace(trial, client, request);
        } catch (const NotTried&) {
            return; // there is no other
        }
        if (other->IsThatOf(one))
            return;
        other->Change(2);
        one.ExpectKept();
        other->ExpectKept();
    });
}

void FrameRate(Trial& trial)
{
    Actor& client = trial.NewClient();
    client.Need("SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=2000");
    for (const unsigned rate : {25, 15}) {
        client.Need("ENC_MODIFY_FRAME_RATE encStmNo=$encStmNo frameRate=" + std::to_string(rate));
        const uint64_t read = client.Need("GET_ENC_PARAM encStmNo=$encStmNo").Number("fr");
        trial.Expect(read == rate, "the frame rate to be " + std::to_string(rate), std::to_string(read));
    }
}

void Preset(Trial& trial)
{
    if (!trial.TheBench().survey.camera)
        trial.Skip("there is no camera");
    Actor& client = trial.NewClient();
    const auto count = [&] { return client.Need("GET_PRESET_COUNT").Number("count"); };
    const uint64_t before = count();
    client.Need("SET_PRESET inEngNo=$inEngNo isValid=1 presetId=$newPreset");
    const uint64_t now = count();
    trial.Expect(now == before + 1, "the number of presets to be " + std::to_string(before + 1),
                 std::to_string(now));
    const Reply presets =
        client.Send("QUERY_PRESET presetSelector=$inEngNo presetCount=" + std::to_string(before + 1));
    bool isListed = false;
    for (uint64_t i = 0; i <= before; ++i)
        isListed =
            isListed || presets.Number('[' + std::to_string(i) + "].presetId") == client.The("newPreset");
    trial.Advise(isListed, "the new preset to be listed for its camera's engine", presets.Text());
}

/// What the headers give bounds for: a request beyond them.
struct Bound {
    const char* line;
    const char* why;
};

constexpr Bound kBounds[] = {
    {"CAMERA_CONTROL inEngNo=$inEngNo cmdType=23", "the highest command is 22"},
    {"SET_VO_SRC outEngNo=$outEngNo picNum=26", "an output shows at most 25 pictures"},
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
            const std::string width = std::to_string(value((bound + "Width").c_str()));
            const std::string height = std::to_string(value((bound + "Height").c_str()));
            const Reply reply =
                client.Send("SET_ENC_PARAM encStmNo=$encStmNo fr=30 br=2000 codcType=" + std::to_string(i) +
                            " w=" + width + " h=" + height);
            trial.Advise(reply.IsOk(),
                         "codec " + std::to_string(i) + " to take " + width + 'x' + height +
                             ", as GET_ENCODE_CAPABILITY says",
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

void Missing(Trial& trial)
{
    const Profile& profile = trial.TheProfile();
    if (profile.missing.empty())
        trial.Skip("the profile names no request that the device does not have");
    for (const auto& [number, code] : profile.missing) {
        const Request* request = messages::FindRequest(number);
        if (request == nullptr || request->answer.kind == Kind::kUnanswered)
            continue;
        trial.Case(std::string(ShortName(request->name)), [&, code = code] {
            Actor& client = trial.NewClient();
            const bool isRecord = request->payload.kind == Kind::kRecord;
            VeskVideoMsgHead head{};
            head.msgId = request->number;
            Bytes data(BytesOf(head).begin(), BytesOf(head).end());
            data.resize(data.size() + (isRecord                               ? request->payload.size
                                       : request->payload.kind == Kind::kText ? 1
                                                                              : 0));
            const Reply reply = client.Send(number, data);
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
