// All that is served.
#pragma once

#include "tools/web/api.h"
#include "tools/web/displays.h"
#include "tools/web/graph.h"
#include "tools/web/page_files.h"

namespace vesk::web {

class Site {
public:
    /// @param client, signals  Outlive the site.
    Site(const ctl::Settings& settings, ctl::Client& client, const ctl::AwaitedSignals& signals);
    /// After what asks it; see Finish.
    ~Site() = default;
    Site(const Site&) = delete;

    Route Find(const Request& request);

    /// Answers what waits, and nothing more.
    void Finish();

private:
    Answer Drawing();
    Answer Numbers();

    PageFiles files_;
    Device device_;
    Messages messages_;
    Graph graph_;
    Displays displays_{device_};
    Displays kept_{device_}; ///< Pictures that are kept take longer.
    Api api_{device_, messages_};
    Workers asking_{4};  ///< What waits for the device, which may be silent.
    Workers showing_{1}; ///< What displays show.
    Workers drawing_{1}; ///< What takes long.
};

} // namespace vesk::web
