// Of the group "values": what is set is read back, and stays.
#include "decoder/text.h"
#include "tools/veskctl/check/things.h"
#include "tools/veskctl/check/values.h"

#include <algorithm>
#include <iterator>

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
    const Survey& survey = trial.TheSurvey();
    if (survey.inputs.size() > 1)
        client.Set("viPort", survey.inputs[1]);
    if (survey.outputs.size() > 1)
        client.Set("voPort", survey.outputs[1]);
}

/// Null if the request carries the number of none that can be started.
const Thing* StartableOf(Trial& trial, const Request& request)
{
    for (const HeaderArgument& argument :
         trial.Decoder().Describe(Direction::kRequest, request.number).arguments) {
        const Thing* thing = FindThing(argument.name);
        if (thing != nullptr && !thing->start.empty())
            return thing;
    }
    return nullptr;
}

} // namespace

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
    for (const unsigned rate : {25U, 15U}) {
        client.Need("ENC_MODIFY_FRAME_RATE encStmNo=$encStmNo frameRate=" + std::to_string(rate));
        const uint64_t read = client.Need("GET_ENC_PARAM encStmNo=$encStmNo").Number("fr");
        trial.Expect(read == rate, "the frame rate to be " + std::to_string(rate), std::to_string(read));
    }
}

void Preset(Trial& trial)
{
    if (!trial.TheSurvey().camera)
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
    for (uint64_t i = 0; i < presets.Payload().size() / sizeof(VeskVideoPresetInfo); ++i)
        isListed =
            isListed || presets.Number('[' + std::to_string(i) + "].presetId") == client.The("newPreset");
    trial.Advise(isListed || !trial.TheProfile().Has(VESK_VIDEO_MSG_QUERY_PRESET),
                 "the new preset to be listed for its camera's engine", presets.Text());
    client.Need("CLOSE_VI_PORT inEngNo=$inEngNo");
    client.Forget("inEngNo");
    client.The("inEngNo");
    trial.Expect(count() == now, "presets to stay when the engine is closed", std::to_string(count()));
}

void Stays(Trial& trial)
{
    const auto canStay = [&](const Request& request) {
        return ReaderOf(request) != nullptr && StartableOf(trial, request) != nullptr;
    };
    trial.EachRequest(canStay, [&](const Request& request) {
        Actor& client = trial.NewClient();
        const Thing& thing = *StartableOf(trial, request);
        for (const std::string& line : LinesOf(thing.configure))
            client.Need(line);
        Kept record(trial, client, request);
        record.Change(1);
        for (const std::string_view line : {thing.start, thing.stop}) {
            client.Need(std::string(line));
            record.ExpectKept();
        }
    });
}

void Windows(Trial& trial)
{
    Actor& client = trial.NewClient();
    client.Need("SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$inEngNo "
                "subPic[0].winHandle=4294967297");
    client.Send(
        "VO_WINDOW_DESTROY outEngNo=$outEngNo winHandle=1"); // another one, whether that is refused or not
    trial.ExpectOk(client.Send("VO_WINDOW_DESTROY outEngNo=$outEngNo winHandle=4294967297"));
}

} // namespace vesk::ctl::check
