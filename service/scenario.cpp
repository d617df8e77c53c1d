// A scenario: control messages that the service sends itself, at a time or when a message comes.
#include "service/scenario.h"

#include "service/log.h"
#include "service/payload_check.h"
#include "vesk_service/control_list.h"

#include <cstring>
#include <exception>

namespace vesk::service {

namespace {

// A step may send what another one waits for, and so on.
constexpr int kMostNested = 16;

VeskVideoMsgHead HeadOf(std::span<const std::byte> message)
{
    VeskVideoMsgHead head;
    std::memcpy(&head, message.data(), sizeof head);
    return head;
}

/// Whether a control message, which is as long as its header at least, may be a step.
Result Check(std::span<const std::byte> message)
{
    const VeskVideoMsgHead head = HeadOf(message);
    const messages::Request* listed = messages::FindAnyRequest(head.msgId);
    if (listed == nullptr || !messages::IsControl(head.msgId))
        return VESK_SERVICE_ERR_VALUE;
    for (const uint32_t other :
         {VESK_CONTROL_SCENARIO, VESK_CONTROL_RESET, VESK_CONTROL_WATCH, VESK_CONTROL_TICK}) {
        if (head.msgId == other)
            return VESK_SERVICE_ERR_VALUE;
    }
    return Fits(listed->payload, head, message.subspan(sizeof head)) ? kOk : Result{VESK_SERVICE_ERR_LENGTH};
}

} // namespace

Result Scenario::Read(std::span<const std::byte> bytes, std::vector<Step>& steps)
{
    while (!bytes.empty()) {
        Step step;
        if (bytes.size() < sizeof step.when)
            return VESK_SERVICE_ERR_LENGTH;
        std::memcpy(&step.when, bytes.data(), sizeof step.when);
        bytes = bytes.subspan(sizeof step.when);
        const size_t length = step.when.dataLen;
        const size_t padded = (length + 7) / 8 * 8;
        if (length < sizeof(VeskVideoMsgHead) || padded > bytes.size())
            return VESK_SERVICE_ERR_LENGTH;
        const bool waits = step.when.trigger == VESK_CONTROL_AT_MATCH;
        if (step.when.trigger > VESK_CONTROL_AT_MATCH ||
            (waits && (step.when.nth == 0 || !IsValid(step.when.match))))
            return VESK_SERVICE_ERR_VALUE;
        if (const Result result = Check(bytes.first(length)); result != kOk)
            return result;
        if (steps.size() == VESK_CONTROL_MAX_STEPS)
            return VESK_SERVICE_ERR_ROOM;
        step.message.assign(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(length));
        steps.push_back(std::move(step));
        bytes = bytes.subspan(padded);
    }
    return kOk;
}

Result Scenario::Begin(std::span<const std::byte> bytes)
{
    std::vector<Step> steps;
    if (const Result result = Read(bytes, steps); result != kOk)
        return result;
    Reset();
    steps_ = std::move(steps);
    for (size_t i = 0; i < steps_.size(); ++i) {
        const VeskControlStep& when = steps_[i].when;
        if (when.trigger == VESK_CONTROL_AT_MATCH)
            waiting_.push_back(i);
        else
            timeline_.Add(Timeline::Kind::kStep, when.atMs, 0, [this, i] { Do(i); });
    }
    timeline_.RunDue(); // the steps at its very beginning
    return kOk;
}

void Scenario::Reset()
{
    timeline_.Drop(Timeline::Kind::kStep);
    waiting_.clear();
    steps_.clear();
}

// All steps count a message before one of them sends another.
void Scenario::Happened(const MessageView& message)
{
    if (waiting_.empty())
        return;
    std::vector<size_t> reached;
    reached.reserve(waiting_.size());
    std::erase_if(waiting_, [&](size_t index) {
        Step& step = steps_[index];
        const bool isReached = Matches(step.when.match, message) && ++step.matches == step.when.nth;
        if (isReached)
            reached.push_back(index);
        return isReached;
    });
    for (const size_t index : reached)
        Do(index);
}

void Scenario::Do(size_t index)
{
    const Bytes& message = steps_[index].message;
    const uint32_t number = HeadOf(message).msgId;
    const char* const name = messages::FindAnyRequest(number)->name;
    const size_t step = index + 1;
    if (depth_ == kMostNested) {
        LOG(kError, "step %zu of the scenario, %s, is left out: it follows from %d others", step, name,
            depth_);
        return;
    }
    ++depth_;
    try {
        const Result result = execute_(number, message);
        if (result == kOk)
            LOG(kInfo, "step %zu of the scenario: %s: 0", step, name);
        else
            LOG(kError, "step %zu of the scenario: %s: %u", step, name, result);
    } catch (const std::exception& error) {
        LOG(kError, "step %zu of the scenario: %s: %s", step, name, error.what());
    }
    --depth_;
}

} // namespace vesk::service
