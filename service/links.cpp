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
    return owner.process == other.owner.process && owner.procName == other.owner.procName &&
           std::memcmp(&shown, &other.shown, sizeof shown) == 0;
}

bool Links::IsKnown(const Sender& owner) const
{
    return service_.clients.ProcessOf(owner.procName) == owner.process;
}

std::vector<Links::Link> Links::Now() const
{
    std::vector<Link> links;
    for (const Display& display : service_.outputs.All()) {
        const OutputEngine* engine = service_.outputs.EngineOf(display);
        // A process that is not known by the name of its engine's owner hears nothing.
        if (engine == nullptr || !engine->IsRunning() || !IsKnown(engine->owner))
            continue;
        const Scene scene = PicturesOf(service_, display);
        for (const Layer& layer : scene.layers) {
            if (!layer.IsPicture() || !layer.Appears())
                continue;
            Link link{engine->owner, {}};
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
            if (IsKnown(link.owner) && std::find(others.begin(), others.end(), link) == others.end())
                notifications_.Add(link.owner.procName, notifyId, BytesOf(link.shown));
        }
    };
    notify(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, links_, links);
    notify(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, links, links_);
    links_ = std::move(links);
} catch (const std::exception& error) {
    LOG(kError, "what the displays show is not notified yet: %s", error.what());
}

} // namespace vesk::service
