// Engines and channels whose queue is gone.
#include "service/lost_queues.h"

#include "service/log.h"
#include "service/service.h"

#include <exception>

namespace vesk::service {

void LostQueues::Look()
try {
    std::set<Loss> losses;
    const auto look = [&](const char* kind, auto& users, auto queue) {
        for (const auto& [number, user] : users.All()) {
            if (!service_.queues.IsGone(user.*queue))
                continue;
            const Loss loss(kind, number, user.*queue);
            losses.insert(loss);
            if (known_.count(loss) == 0)
                LOG(kError, "queue %u is gone, but %s %u of process %u uses it", user.*queue, kind, number,
                    HostProcessNumber(user.owner.process));
        }
    };
    look("input engine", service_.inputs.engines, &InputEngine::faceQueue);
    look("output engine", service_.outputs.engines, &OutputEngine::queHandle);
    look("encoder", service_.codecs.encoders, &EncoderChannel::queId);
    look("decoder", service_.codecs.decoders, &DecoderChannel::queId);
    look("mouse stream", service_.mice.remote, &RemoteMouse::queId);
    look("local mouse", service_.mice.local, &LocalMouse::queId);
    known_ = std::move(losses);
} catch (const std::exception& error) {
    LOG(kError, "queues that are gone are not looked for: %s", error.what());
}

} // namespace vesk::service
