// A scenario: control messages that the service sends itself, at a time or when a message comes.
#pragma once

#include "service/match.h"
#include "service/timeline.h"

#include <functional>

namespace vesk::service {

class Scenario {
public:
    /// Executes a control message, given by its number and data block.
    using Execute = std::function<Result(uint32_t number, std::span<const std::byte> data)>;

    Scenario(Timeline& timeline, Execute execute) : timeline_(timeline), execute_(std::move(execute)) {}

    /// Replaces the scenario by that of a VESK_CONTROL_SCENARIO, unless that is malformed.
    Result Begin(std::span<const std::byte> steps);
    void Reset();

    /// Does the steps that wait for a message, which is about to be served or sent.
    void Happened(const MessageView& message);

    size_t Steps() const { return steps_.size(); }
    /// How many of them wait for a match.
    size_t Waiting() const { return waiting_.size(); }

private:
    struct Step {
        VeskControlStep when;
        Bytes message;
        uint64_t matches = 0;
    };

    static Result Read(std::span<const std::byte> bytes, std::vector<Step>& steps);
    void Do(size_t index);

    Timeline& timeline_;
    const Execute execute_;
    std::vector<Step> steps_;
    std::vector<size_t> waiting_; // of them, those that wait for a match
    int depth_ = 0;
};

} // namespace vesk::service
