// The subcommand "device top": what the virtual service has to do, by application and by message.
#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/load.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/screen.h"
#include "tools/veskctl/table.h"
#include "tools/veskctl/watch.h"
#include "vesk_service/control.h"

#include <algorithm>
#include <ctime>

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;
using recording::Kind;
using std::chrono::system_clock;

namespace {

struct Options {
    double interval = 1;
    uint64_t count = 0;
    std::string by;
    std::vector<std::string> terms;
};

/// The load of an interval.
struct Measured {
    Load load;
    double seconds = 0;
    system_clock::time_point end;
};

using Entry = Tallies::value_type;

/// The busiest first.
std::vector<const Entry*> Sorted(const Tallies& tallies)
{
    std::vector<const Entry*> entries;
    for (const Entry& entry : tallies)
        entries.push_back(&entry);
    std::stable_sort(entries.begin(), entries.end(), [](const Entry* a, const Entry* b) {
        return a->second.Messages() > b->second.Messages();
    });
    return entries;
}

/// A number that is aligned to the right.
std::string Right(int width, int decimals, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%*.*f", width, decimals, value);
    return text;
}

std::string Title(const Subject& subject)
{
    const std::string number = std::to_string(subject.number);
    if (subject.kind == Kind::kRequest)
        return subject.name.empty() ? number : subject.name;
    if (subject.kind == Kind::kNotification)
        return number + (subject.name.empty() ? "" : ' ' + subject.name);
    return subject.number == 0 ? subject.name : subject.name + '[' + number + ']';
}

/// "OK: 12, BUSY (0x204): 1, not answered: 1"
std::string AnswersText(const Tally& tally, uint64_t waiting)
{
    std::string text;
    const auto add = [&text](const std::string& what, uint64_t count) {
        if (count != 0)
            text += (text.empty() ? "" : ", ") + what + ": " + std::to_string(count);
    };
    for (const auto& [result, count] : tally.results)
        add(ResultText(result), count);
    add("others", tally.otherResults);
    add("not answered", tally.unanswered);
    add("waiting", waiting);
    return text;
}

/// A line of the table. What cannot be of a kind is left empty.
std::vector<std::string> Row(const std::string& title, Kind kind, const Tally& tally,
                             const Measured& measured, uint64_t waiting = 0)
{
    std::vector<std::string> row(7);
    row[0] = title;
    if (kind != Kind::kNotification)
        row[1] = Right(10, 1, static_cast<double>(tally.requests) / measured.seconds);
    if (tally.durations.Count() != 0) {
        row[2] = Right(9, 3, tally.durations.Percentile(50));
        row[3] = Right(9, 3, tally.durations.Percentile(99));
    }
    if (kind != Kind::kRequest) {
        row[4] = Right(8, 0, static_cast<double>(tally.sent));
        row[5] = Right(8, 0, static_cast<double>(tally.dropped));
    }
    row[6] = AnswersText(tally, waiting);
    return row;
}

/// One of the parts of the table, and how many lines it takes beside those of its entries.
struct Part {
    const char* name; ///< As in --by.
    Tallies Load::*tallies;
};
constexpr Part kParts[] = {{"application", &Load::applications}, {"message", &Load::messages}};
constexpr size_t kLinesOfPart = 2;

bool IsShown(const Part& part, const Options& options)
{
    return options.by.empty() || options.by == part.name;
}

/// Of @p lines that are left, how many each part gets: what it needs, and half of them if both need more.
std::vector<size_t> Shares(const Options& options, const Load& load, size_t lines)
{
    std::vector<size_t> needed;
    for (const Part& part : kParts)
        needed.push_back(IsShown(part, options) ? (load.*part.tallies).size() + kLinesOfPart : 0);
    const size_t half = lines / 2;
    const size_t first = std::min(needed[0], std::max(half, lines - std::min(lines, needed[1])));
    return {first, std::min(needed[1], lines - std::min(lines, first))};
}

void AddPart(Table& table, const Part& part, const Measured& measured, size_t lines)
{
    const std::vector<const Entry*> entries = Sorted(measured.load.*part.tallies);
    if (lines < kLinesOfPart)
        return;
    lines -= kLinesOfPart;
    table.Add({});
    table.Add({std::string("by ") + part.name});
    const size_t shown = entries.size() <= lines ? entries.size() : std::max<size_t>(lines, 1) - 1;
    for (size_t i = 0; i < shown; ++i) {
        const auto& [subject, tally] = *entries[i];
        table.Add(Row(Title(subject), subject.kind, tally, measured));
    }
    if (shown < entries.size())
        table.Add({"... and " + std::to_string(entries.size() - shown) + " more"});
}

/// The table, in @p most lines.
std::vector<std::string> Lines(const Settings& settings, const Options& options, const Measured& measured,
                               size_t most)
{
    const Load& load = measured.load;
    const std::time_t end = system_clock::to_time_t(measured.end);
    char time[16];
    std::tm local{};
    std::strftime(time, sizeof time, "%H:%M:%S", localtime_r(&end, &local));
    Table table;
    table.Add({settings.service + "  " + time, "requests/s", "median ms", "   99% ms", "    sent", " dropped",
               "answers"});
    table.Add(Row("all", Kind::kNote, load.all, measured, load.waiting));
    const size_t used = load.lost == 0 ? 2 : 3;
    const std::vector<size_t> shares = Shares(options, load, most - std::min(most, used));
    for (size_t i = 0; i < std::size(kParts); ++i)
        AddPart(table, kParts[i], measured, shares[i]);
    std::vector<std::string> lines = table.Lines();
    if (load.lost != 0)
        lines.insert(lines.begin(),
                     "-- " + std::to_string(load.lost) + " messages lost, which are not counted");
    return lines;
}

ordered_json TallyJson(const Tally& tally, double seconds)
{
    ordered_json results = ordered_json::array();
    for (const auto& [result, count] : tally.results)
        results.push_back(Object({{"code", result}, {"name", ResultName(result)}, {"count", count}}));
    return Object({{"requests", tally.requests},
                   {"requestsPerSecond", static_cast<double>(tally.requests) / seconds},
                   {"medianMs", tally.durations.Percentile(50)},
                   {"p99Ms", tally.durations.Percentile(99)},
                   {"results", results},
                   {"otherResults", tally.otherResults},
                   {"unanswered", tally.unanswered},
                   {"notificationsSent", tally.sent},
                   {"notificationsDropped", tally.dropped}});
}

ordered_json EntryJson(const Entry& entry, double seconds)
{
    const auto& [subject, tally] = entry;
    ordered_json json;
    if (subject.kind == Kind::kNote)
        json = Object({{"program", subject.name}, {"process", subject.number}});
    else
        json = Object({{"kind", subject.kind == Kind::kRequest ? "request" : "notification"},
                       {"number", subject.number},
                       {"name", subject.name}});
    json.update(TallyJson(tally, seconds));
    return json;
}

ordered_json MeasuredJson(const Options& options, const Measured& measured)
{
    const std::chrono::duration<double> end = measured.end.time_since_epoch();
    ordered_json json = Object({{"time", end.count()},
                                {"seconds", measured.seconds},
                                {"lost", measured.load.lost},
                                {"waiting", measured.load.waiting}});
    json.update(TallyJson(measured.load.all, measured.seconds));
    for (const Part& part : kParts) {
        if (!IsShown(part, options))
            continue;
        ordered_json& rows = json[std::string(part.name) + 's'] = ordered_json::array();
        for (const Entry* entry : Sorted(measured.load.*part.tallies))
            rows.push_back(EntryJson(*entry, measured.seconds));
    }
    return json;
}

class Top {
public:
    Top(Settings& settings, const Options& options)
        : settings_(settings), options_(options),
          meter_(Usage([&] { return LoadMeter(settings.Decoder(), options.terms); })),
          client_(settings.service, Client::Interrupt::kEndsWait), watch_(client_, settings)
    {
    }

    int Run()
    {
        if (settings_.json || !IsScreen(stdout)) {
            Repeat([this] { Print(); });
        } else {
            try {
                Screen screen;
                height_ = Screen::Height();
                Repeat([&] { screen.Show(Lines(settings_, options_, measured_, height_)); });
            } catch (const Error&) { // the last table stays
                Print();
                throw;
            }
            Print();
        }
        watch_.Stop();
        return kDone;
    }

private:
    /// Calls @p show after each interval, and when the terminal has another height.
    void Repeat(const std::function<void()>& show)
    {
        Clock::time_point begun = Clock::now();
        for (uint64_t shown = 0; options_.count == 0 || shown < options_.count; ++shown) {
            const auto end = begun + std::chrono::duration_cast<Clock::duration>(
                                         std::chrono::duration<double>(options_.interval));
            if (!Measure(end, show))
                return;
            const Clock::time_point now = Clock::now();
            measured_ = {meter_.Take(), std::chrono::duration<double>(now - begun).count(),
                         system_clock::now()};
            begun = now;
            show();
        }
    }

    /// Counts messages for an interval. False if the user interrupts it.
    bool Measure(Clock::time_point end, const std::function<void()>& show)
    {
        constexpr std::chrono::seconds kBetweenChecks(1);
        for (Clock::time_point now = Clock::now(); now < end;) {
            const Clock::time_point check = std::min(end, nextCheck_);
            for (; now < check; now = Clock::now()) {
                watch_.Next(
                    check, [&](recording::Event&& event) { meter_.Add(std::move(event)); },
                    [&](uint64_t lost) { meter_.AddLost(lost); });
                if (client_.IsInterrupted())
                    return false;
            }
            if (now >= nextCheck_) {
                if (!watch_.Renew())
                    throw Failure(kNoService, "the service " + settings_.service + " has ended");
                now = Clock::now();
                nextCheck_ = now + kBetweenChecks;
            }
            const bool isChanged = height_ != 0 && std::exchange(height_, Screen::Height()) != height_;
            if ((isChanged || Screen::IsEmpty()) && measured_.seconds != 0)
                show();
        }
        return true;
    }

    /// Prints the last table whole, if there has been one.
    void Print() const
    {
        if (measured_.seconds == 0)
            return;
        if (settings_.json) {
            PrintLine(Dump(MeasuredJson(options_, measured_)));
            return;
        }
        for (const std::string& line : Lines(settings_, options_, measured_, SIZE_MAX))
            PrintLine(line);
        PrintLine("");
    }

    Settings& settings_;
    const Options& options_;
    LoadMeter meter_;
    Client client_;
    Watch watch_;
    Measured measured_;
    Clock::time_point nextCheck_ = Clock::now(); ///< Whether the service is there.
    size_t height_ = 0;                          ///< Of the screen; 0: there is none.
};

} // namespace

CommandLine DeviceTopCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "top",
        .summary = "Show requests a second, durations, answers and notifications, by application and message",
        .footer = "Example:\n"
                  "  veskctl device top                       # until Ctrl-C\n"
                  "  veskctl device top --by application --interval 10\n"
                  "  veskctl device top --match 'VO_*' --count 1 --json",
        .options =
            {
                {.name = "--interval",
                 .place = &options->interval,
                 .help = "Seconds that are counted together",
                 .showsDefault = true,
                 .range = std::pair(0.05, 86400.0)},
                {.name = "--count",
                 .place = &options->count,
                 .help = "End after this many intervals",
                 .range = kCounts},
                {.name = "--by",
                 .place = &options->by,
                 .help = "One table: by application or by message; both by default",
                 .choices = {"application", "message"}},
                {.name = "--match",
                 .place = &options->terms,
                 .help = "Only messages of this name, pattern, number or FIELD=VALUE; may be repeated",
                 .isOneEach = true,
                 .names = Names::kMessage},
            },
        .run =
            [options, &settings] {
                RequireNoSession(settings, "top");
                return Top(settings, *options).Run();
            },
    };
}

} // namespace vesk::ctl
