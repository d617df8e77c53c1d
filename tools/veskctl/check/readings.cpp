// What a client can read of the device, to see whether something has changed it.
#include "tools/veskctl/check/readings.h"

#include "decoder/text.h"
#include "tools/veskctl/check/things.h"

#include <algorithm>
#include <iterator>
#include <thread>

namespace vesk::ctl::check {

using namespace decoder;
using messages::Kind;
using messages::Request;

namespace {

/// How many entries a list can have: what another request answers, in its only field.
struct Count {
    uint32_t list;
    uint32_t count;
};

constexpr Count kCounts[] = {
    {VESK_VIDEO_MSG_GET_VI_PORT, VESK_VIDEO_MSG_GET_VI_COUNT},
    {VESK_VIDEO_MSG_GET_VO_PORT, VESK_VIDEO_MSG_GET_VO_COUNT},
    {VESK_VIDEO_MSG_QUERY_PRESET, VESK_VIDEO_MSG_GET_PRESET_COUNT},
};

/// It answers something, but hands out no number, whether the answer is called like that or not.
bool IsReading(const Request& request)
{
    const Kind kind = request.answer.kind;
    return (kind == Kind::kRecord || kind == Kind::kArray || kind == Kind::kBytes) &&
           FindThing(request.answer.name) == nullptr &&
           request.number != VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM;
}

/// False if the request names a thing that the client does not have.
bool IsAboutWhatIsThere(const Actor& actor, const Request& request)
{
    const std::string fields = std::string(ExampleOf(request).fields) + ' ';
    return std::all_of(Things().begin(), Things().end(), [&](const Thing& thing) {
        const bool isNamed =
            fields.find('$' + std::string(thing.number) + ' ') != fields.npos ||
            std::any_of(std::begin(request.arguments), std::end(request.arguments),
                        [&](const messages::Argument& argument) { return thing.number == argument.Name(); });
        return !isNamed || actor.Has(std::string(thing.number));
    });
}

/// How many entries a list has, but one at least.
uint64_t CountOf(const Request& list, const std::map<uint32_t, uint64_t>& counts)
{
    const auto* row = std::find_if(std::begin(kCounts), std::end(kCounts),
                                   [&](const Count& one) { return one.list == list.number; });
    const auto found = row == std::end(kCounts) ? counts.end() : counts.find(row->count);
    return found == counts.end() ? 1 : std::max<uint64_t>(found->second, 1);
}

std::map<std::string, std::string> FieldTexts(const Decoder& decoder, const Reply& reply)
{
    std::map<std::string, std::string> texts;
    for (const Field& field : reply.answer ? reply.answer->fields : std::vector<Field>{})
        texts[field.path] = ValueText(decoder, field);
    return texts;
}

} // namespace

Readings::Readings(Trial& trial, Actor& actor) : trial_(&trial)
{
    trial.Quietly([&] {
        std::map<uint32_t, uint64_t> counts;
        for (const Request& request : messages::kRequests) {
            if (!IsReading(request) || !trial.TheProfile().Has(request.number) ||
                !IsAboutWhatIsThere(actor, request) || !trial.CanBeTried(request))
                continue;
            Bytes data = actor.Example(request);
            if (request.answer.kind == Kind::kArray)
                data = ForEntries(request, std::move(data), CountOf(request, counts));
            const Reply reply = actor.Send(request.number, data);
            counts[request.number] = reply.Number("count");
            replies_.emplace(Line(trial.Decoder(), reply.request), reply);
        }
    });
}

Readings::Differences Readings::To(const Readings& later) const
{
    Differences all;
    const Decoder& decoder = trial_->Decoder();
    for (const auto& [line, before] : replies_) {
        const auto found = later.replies_.find(line);
        if (found == later.replies_.end())
            continue; // of another length, as the count that is read tells
        const Reply& after = found->second;
        if (before.Result() != after.Result()) {
            all[line] = line + " came to " + before.Text() + ", and comes to " + after.Text();
        } else if (before.outcome.answer != after.outcome.answer) {
            std::map<std::string, std::string> then = FieldTexts(decoder, before);
            std::map<std::string, std::string> now = FieldTexts(decoder, after);
            for (const auto& texts : {then, now}) { // fields that are 0 may not be shown
                for (const auto& [path, text] : texts) {
                    then.try_emplace(path, "0");
                    now.try_emplace(path, "0");
                }
            }
            for (const auto& [path, value] : now) {
                const std::string& old = then[path];
                if (old == value)
                    continue;
                std::string field = line;
                field.append(" ").append(path);
                std::string text = line;
                text.append(": ").append(path).append(" was ").append(old).append(" and is ").append(value);
                all.emplace(std::move(field), std::move(text));
            }
        }
    }
    return all;
}

void Readings::ExpectSame(Actor& actor, const std::string& what) const
{
    Readings last(*trial_, actor);
    Differences differences = To(last);
    // What changes by itself, as statistics do, changes again soon.
    constexpr std::chrono::milliseconds kPause(100);
    constexpr int kPauses = 10;
    for (int i = 0; i < kPauses && !differences.empty(); ++i) {
        std::this_thread::sleep_for(kPause);
        Readings next(*trial_, actor);
        for (const auto& [field, sentence] : last.To(next))
            differences.erase(field);
        last = std::move(next);
    }
    if (differences.empty())
        return;
    const auto more = differences.size() - 1;
    trial_->Expect(false, "nothing to be changed by " + what,
                   differences.begin()->second +
                       (more == 0 ? "" : "; " + std::to_string(more) + " more are otherwise"));
}

} // namespace vesk::ctl::check
