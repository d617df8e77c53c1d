// What the page and other programs ask and tell the device by.
#include "tools/web/api.h"

#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/device_control.h"
#include "tools/web/graph.h"
#include "tools/web/problem.h"
#include "tools/web/steering.h"

namespace vesk::web {

using ctl::Failure;
using nlohmann::ordered_json;

namespace {

constexpr size_t kMostWords = 256;
constexpr char kScenes[] = "/api/scenes/";

Answer DocumentAnswer(const Document& document)
{
    return {200, "application/json", document.text, document.tag};
}

/// The words that a body consists of.
std::vector<std::string> WordsOf(const Request& request)
{
    return ctl::Usage([&] {
        const ordered_json json = decoder::ParseJson(request.body, "request");
        const auto words = json.is_object() ? json.find("words") : json.end();
        if (!json.is_object() || json.size() != 1 || words == json.end() || !words->is_array() ||
            words->size() > kMostWords)
            throw Error("expected {\"words\": [...]} of at most 256 words");
        std::vector<std::string> texts;
        for (const ordered_json& word : *words) {
            if (!word.is_string() || word.get_ref<const std::string&>().find('\0') != std::string::npos)
                throw Error("expected words that are texts, not " +
                            (word.is_structured() ? word.type_name() : decoder::Dump(word)));
            texts.push_back(word.get<std::string>());
        }
        return texts;
    });
}

Answer CompleteWords(const Request& request)
{
    return JsonAnswer(decoder::Dump(decoder::Object({{"completions", Complete(WordsOf(request))}})));
}

} // namespace

Answer Guarded(const std::function<Answer()>& answer)
{
    try {
        return answer();
    } catch (const Failure& failure) {
        return Problem(failure.status, failure.what());
    } catch (const std::exception& error) {
        return Problem(ctl::kFailed, error.what());
    }
}

uint64_t NumberFrom(const std::string& text, const std::string& what, uint64_t most)
{
    const bool isDecimal =
        !text.empty() && text.size() <= 20 && text.find_first_not_of("0123456789") == text.npos;
    const std::optional<uint64_t> number = isDecimal ? decoder::ParseNumber(text) : std::nullopt;
    if (!number || *number > most)
        throw Failure(ctl::kUsage, what + ' ' + text + ": expected a number up to " + std::to_string(most));
    return *number;
}

Answer Api::Scenes(const Request& request)
{
    return DocumentAnswer(
        device_.Scenes(NumberFrom(request.path.substr(std::strlen(kScenes)), "display", UINT32_MAX - 1)));
}

Answer Api::Steer(const Request& request)
{
    const Steered steered = web::Steer(device_, WordsOf(request));
    if (!steered.refusal.empty())
        return Problem(ctl::kRefused, steered.refusal, steered.result);
    return JsonAnswer("{\"answer\":" + steered.answer + '}');
}

Answer Api::MessagesAfter(const Request& request)
{
    constexpr uint64_t kMost = 1000;
    Messages::Wanted wanted{std::nullopt, {}, 200};
    for (const auto& [name, value] : request.arguments) {
        if (name == "after")
            wanted.after = NumberFrom(value, name, UINT64_MAX);
        else if (name == "limit")
            wanted.most = std::max<size_t>(NumberFrom(value, name, kMost), 1);
        else if (name == "match" && !value.empty())
            wanted.terms.push_back(value);
    }
    return JsonAnswer(messages_.After(wanted));
}

Route::Handler Api::Find(const Request& request)
{
    using Handler = Answer (*)(Api&, const Request&);
    struct Path {
        const char* path;
        bool isPost;
        Handler handle;
    };
    static constexpr Path kPaths[] = {
        {"/api/state", false, [](Api& api, const Request&) { return DocumentAnswer(api.device_.State()); }},
        {"/api/scenes", false, [](Api& api, const Request&) { return DocumentAnswer(api.device_.Scenes()); }},
        {kScenes, false, [](Api& api, const Request& asked) { return api.Scenes(asked); }},
        {"/api/faults", false, [](Api& api, const Request&) { return DocumentAnswer(api.device_.Faults()); }},
        {"/api/scenarios", false,
         [](Api&, const Request&) {
             Answer answer = JsonAnswer(ctl::ScenariosJson());
             answer.tag = TagOf(*answer.body);
             return answer;
         }},
        {"/api/graph", false,
         [](Api& api, const Request&) {
             const auto text = std::make_shared<const std::string>(Graph::Text(api.device_));
             return Answer{200, "text/vnd.graphviz; charset=utf-8", text, TagOf(*text)};
         }},
        {"/api/messages", false, [](Api& api, const Request& asked) { return api.MessagesAfter(asked); }},
        {"/api/device", true, [](Api& api, const Request& asked) { return api.Steer(asked); }},
        {"/api/complete", true, [](Api&, const Request& asked) { return CompleteWords(asked); }},
    };
    for (const Path& known : kPaths) {
        const bool isIt = std::string_view(known.path).ends_with('/') ? request.path.starts_with(known.path)
                                                                      : request.path == known.path;
        if (isIt && known.isPost == request.IsPost())
            return [this, handle = known.handle](const Request& asked) {
                return Guarded([&] { return handle(*this, asked); });
            };
        if (isIt)
            return [isPost = known.isPost](const Request&) {
                Answer answer =
                    Problem(ctl::kUsage, isPost ? "this is asked with POST" : "this is asked with GET");
                answer.status = 405;
                answer.headers = {{"Allow", isPost ? "POST" : "GET, HEAD"}};
                return answer;
            };
    }
    return nullptr;
}

} // namespace vesk::web
