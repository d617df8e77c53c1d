// What a client can read of the device, to see whether something has changed it.
#pragma once

#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

/// The answers to all requests that only read: about the device, and about each thing that the client has.
/// These messages are in no report.
class Readings {
public:
    Readings(Trial& trial, Actor& actor);

    /// What is otherwise in later ones, each in a sentence, by the field that it is about.
    using Differences = std::map<std::string, std::string>;
    Differences To(const Readings& later) const;

    /// Expects that the client reads the same now, except for what changes without anything being sent.
    /// @param what  What must not have changed anything. @throw Unmet names a field
    void ExpectSame(Actor& actor, const std::string& what) const;

private:
    Trial* trial_;
    std::map<std::string, Reply> replies_; ///< By the request as a line.
};

} // namespace vesk::ctl::check
