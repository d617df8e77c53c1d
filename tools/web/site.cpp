// All that is served.
#include "tools/web/site.h"

#include "tools/web/metrics.h"
#include "tools/web/problem.h"

namespace vesk::web {

Site::Site(const ctl::Settings& settings, ctl::Client& client, const ctl::AwaitedSignals& signals)
    : device_(settings, client), messages_(device_, client), graph_(device_, signals)
{
}

Route Site::Find(const Request& request)
{
    const std::string& path = request.path;
    if (path == "/api/graph.svg" && !request.IsPost())
        return {[this](const Request&) { return Guarded([this] { return Drawing(); }); }, &drawing_};
    if (path == "/metrics" && !request.IsPost())
        return {[this](const Request&) { return Guarded([this] { return Numbers(); }); }, &asking_};
    if (path.starts_with("/displays/") && !request.IsPost()) {
        const bool isKept = path.ends_with(".png");
        Displays& displays = isKept ? kept_ : displays_;
        return {
            [&displays](const Request& asked) { return Guarded([&] { return displays.Picture(asked); }); },
            isKept ? &drawing_ : &showing_};
    }
    if (path.starts_with("/api/")) {
        if (Route::Handler handle = api_.Find(request))
            return {std::move(handle), &asking_};
        return {[](const Request& asked) { return NotFound("there is no " + asked.path); }};
    }
    const Answer* const file = request.IsPost() ? nullptr : files_.Find(path);
    if (file == nullptr)
        return {};
    return {[file](const Request&) { return *file; }, nullptr, /*isOpen=*/true};
}

void Site::Finish()
{
    asking_.Finish();
    showing_.Finish();
    drawing_.Finish();
}

Answer Site::Numbers()
{
    Document state;
    try {
        state = device_.State();
    } catch (const ctl::Failure& failure) {
        if (failure.status != ctl::kNoService && failure.status != ctl::kTimedOut)
            throw;
    }
    return {200, "text/plain; version=0.0.4; charset=utf-8",
            std::make_shared<const std::string>(Metrics(state.json.get())), ""};
}

Answer Site::Drawing()
{
    try {
        Body drawing = graph_.Drawing();
        std::string tag = TagOf(*drawing);
        return {200, "image/svg+xml", std::move(drawing), std::move(tag)};
    } catch (const ctl::Failure& failure) {
        if (failure.status == ctl::kNotFound)
            return NotFound(
                "the graph is drawn by dot, which is not installed; Debian's package graphviz has it");
        throw;
    }
}

} // namespace vesk::web
