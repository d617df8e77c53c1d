// All that is served.
#include "tools/web/site.h"

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
    if (path.starts_with("/api/")) {
        if (Route::Handler handle = api_.Find(request))
            return {std::move(handle), &asking_};
        return {[](const Request& asked) { return NotFound("there is no " + asked.path); }};
    }
    const Answer* const file = request.IsPost() ? nullptr : files_.Find(path);
    if (file == nullptr)
        return {};
    return {[file](const Request&) { return *file; }};
}

void Site::Finish()
{
    asking_.Finish();
    drawing_.Finish();
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
