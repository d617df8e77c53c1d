// What the service has done, for Prometheus.
#include "tools/web/metrics.h"

#include "decoder/names.h"
#include "tools/veskctl/state.h"

#include <nlohmann/json.hpp>

#include <initializer_list>

namespace vesk::web {

using nlohmann::ordered_json;

namespace {

using Labels = std::vector<std::pair<const char*, std::string>>;

/// A family of samples, of which it begins with what is known about all.
class Family {
public:
    Family(std::string& text, const char* name, const char* type, const char* help) : text_(text), name_(name)
    {
        text_ += std::string("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
    }

    /// @param end  Of the sample's name: "_bucket".
    void Add(const Labels& labels, const std::string& value, const char* end = "")
    {
        text_.append(name_).append(end);
        char before = '{';
        for (const auto& [name, label] : labels) {
            text_ += before + std::string(name) + "=\"" + Escaped(label) + '"';
            before = ',';
        }
        text_ += (labels.empty() ? " " : "} ") + value + '\n';
    }

private:
    static std::string Escaped(const std::string& label)
    {
        std::string escaped;
        for (const char c : label) {
            if (c == '\n')
                escaped += "\\n";
            else if (c == '"' || c == '\\')
                escaped += {'\\', c};
            else
                escaped += c;
        }
        return escaped;
    }

    std::string& text_;
    const char* name_;
};

std::string Seconds(uint64_t ns)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", static_cast<double>(ns) / 1e9);
    return text;
}

std::string ResultLabel(const ordered_json& result)
{
    const std::string_view name = decoder::ResultName(result.get<uint32_t>());
    return name.empty() ? result.dump() : std::string(name);
}

void AddRequests(std::string& text, const ordered_json& requests)
{
    Family family(text, "vesk_requests_total", "counter", "Requests that the service has answered.");
    for (const ordered_json& request : requests) {
        const auto name = request.at("name").get<std::string>();
        for (const ordered_json& result : request.at("results"))
            family.Add({{"name", name}, {"result", ResultLabel(result.at("result"))}},
                       result.at("count").dump());
        if (request.at("otherResults") != 0)
            family.Add({{"name", name}, {"result", "other"}}, request["otherResults"].dump());
    }
}

void AddDurations(std::string& text, const ordered_json& requests, const ordered_json& bounds)
{
    Family family(text, "vesk_request_duration_seconds", "histogram",
                  "Time from a request's arrival to its answer.");
    for (const ordered_json& request : requests) {
        const auto name = request.at("name").get<std::string>();
        const ordered_json& durations = request.at("durations");
        const auto counts = durations.at("counts").get<std::vector<uint64_t>>();
        uint64_t total = 0;
        for (size_t i = 0; i < counts.size(); ++i) {
            total += counts[i];
            family.Add(
                {{"name", name}, {"le", i < bounds.size() ? Seconds(bounds[i].get<uint64_t>()) : "+Inf"}},
                std::to_string(total), "_bucket");
        }
        family.Add({{"name", name}}, Seconds(durations.at("sumNs").get<uint64_t>()), "_sum");
        family.Add({{"name", name}}, std::to_string(total), "_count");
    }
}

void AddClients(std::string& text, const ordered_json& clients)
{
    Family(text, "vesk_clients", "gauge", "Applications that the service knows.")
        .Add({}, std::to_string(clients.size()));
    static constexpr struct {
        const char* name;
        const char* type;
        const char* help;
        const char* member;
    } kFamilies[] = {
        {"vesk_notifications_sent_total", "counter", "Notifications that were sent to a client.",
         "notificationsSent"},
        {"vesk_notifications_dropped_total", "counter",
         "Notifications that were not sent since the client did not read.", "notificationsDropped"},
        {"vesk_notifications_waiting", "gauge", "Notifications that wait to be sent to a client.",
         "notificationsWaiting"},
    };
    for (const auto& [name, type, help, member] : kFamilies) {
        Family family(text, name, type, help);
        for (const ordered_json& client : clients) {
            if (client.contains(member))
                family.Add({{"client", client.at("procName").get<std::string>()},
                            {"task", client.at("taskName").get<std::string>()},
                            {"process", client.at("process").dump()}},
                           client[member].dump());
        }
    }
}

} // namespace

std::string Metrics(const ordered_json* state)
{
    std::string text;
    Family(text, "vesk_service_up", "gauge", "Whether the service answers.")
        .Add({}, state != nullptr ? "1" : "0");
    if (state == nullptr)
        return text;
    ctl::ShowState([&] {
        const ordered_json& requests = state->at("requests");
        AddRequests(text, requests);
        if (state->contains("durationBoundsNs"))
            AddDurations(text, requests, state->at("durationBoundsNs"));
        AddClients(text, state->at("clients"));
        Family(text, "vesk_watchers", "gauge", "Programs to which the service shows all messages.")
            .Add({}, std::to_string(state->at("watchers").size()));
    });
    return text;
}

} // namespace vesk::web
