// The sources that displays show, and the notifications of those that come and go.
#include "service/links.h"

#include "service/log.h"
#include "service/scene.h"
#include "service/service.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace vesk::service {

bool Links::Link::operator==(const Link& other) const
{
    return owner == other.owner && std::memcmp(&shown, &other.shown, sizeof shown) == 0;
}

std::vector<Links::Link> Links::Now() const
{
    std::vector<Link> links;
    for (const Display& display : service_.outputs.All()) {
        const OutputEngine* engine = service_.outputs.EngineOf(display);
        if (engine == nullptr || !engine->IsRunning())
            continue;
        const Scene scene = SceneOf(service_, display);
        for (const Layer& layer : scene.layers) {
            if (!layer.IsPicture() || !layer.Appears())
                continue;
            Link link{engine->owner.procName, {}};
            const bool isInput = layer.source == Layer::Source::kInput;
            link.shown.viPort = layer.viPort;
            link.shown.isDec = layer.source == Layer::Source::kDecoder ? 1 : 0;
            link.shown.decStmNo = link.shown.isDec != 0 ? layer.number : 0;
            link.shown.surfaceId = engine->number;
            (isInput ? layer.name : display.name).copy(link.shown.portName, sizeof link.shown.portName - 1);
            if (std::find(links.begin(), links.end(), link) == links.end())
                links.push_back(std::move(link));
        }
    }
    return links;
}

void Links::Notify()
try {
    std::vector<Link> links = Now();
    const auto notify = [this](uint32_t notifyId, const std::vector<Link>& some,
                               const std::vector<Link>& others) {
        for (const Link& link : some) {
            if (std::find(others.begin(), others.end(), link) == others.end())
                notifications_.Add(link.owner, notifyId, BytesOf(link.shown));
        }
    };
    notify(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, links_, links);
    notify(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, links, links_);
    links_ = std::move(links);
} catch (const std::exception& error) {
    LOG(kError, "what the displays show is not notified yet: %s", error.what());
}

} // namespace vesk::service
