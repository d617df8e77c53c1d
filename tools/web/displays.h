// What displays show, as pictures.
#pragma once

#include "pictures/painter.h"
#include "tools/web/device.h"

#include <list>

namespace vesk::web {

/// Draws each display in each size once for all who ask. For one thread at a time.
class Displays {
public:
    explicit Displays(Device& device);

    /// What is asked for: "/displays/0.jpg?width=640&height=360&live-only=1", or "/displays/0.png", which is
    /// of the display's size. @throw Failure, Error
    Answer Picture(const Request& request);

private:
    struct Wanted {
        uint64_t display = 0;
        pictures::Size size;
        bool isLiveOnly = false;
        bool isFile = false; ///< To be kept, and without loss.

        bool operator==(const Wanted&) const = default;
    };
    struct Shown {
        Wanted wanted;
        uint64_t number; ///< No other has it.
        pictures::Painter painter;
        std::string scenes{}; ///< Tag of the document that is shown.
        uint64_t version = 0;
        Body encoded{};

        Shown(const Wanted& of, uint64_t its, pictures::Files& files)
            : wanted(of), number(its), painter(files)
        {
        }
    };

    const pictures::Scene& SceneOf(uint64_t display);
    Shown& Find(const Wanted& wanted);
    void Refresh(Shown& shown, const pictures::Scene& scene);
    std::string Tag(const Shown& shown) const;

    Device& device_;
    const std::string begun_; ///< Tells tags from those of another server.
    pictures::Files files_;
    std::vector<pictures::Scene> scenes_;
    std::string scenesTag_;  ///< Of the document that they are from.
    std::list<Shown> shown_; ///< The one that was asked for last comes first.
    uint64_t lastNumber_ = 0;
};

} // namespace vesk::web
