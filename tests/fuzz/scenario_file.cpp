// Any text as a scenario; the rules of one that is read must be made by their own words again.
#include "steering/scenario_file.h"
#include "base/error.h"
#include "base/words.h"
#include "steering/commands.h"
#include "steering/fault.h"

#include <cstdlib>
#include <cstring>

using namespace vesk;
using namespace vesk::steering;
using namespace vesk::decoder;

namespace {

void CheckFault(const Decoder& decoder, BytesView message)
{
    VeskControlFault fault;
    std::memcpy(&fault, &message[sizeof(VeskVideoMsgHead)], sizeof fault);
    const Bytes again = ControlMessageOf(decoder, SplitWords("fault add " + FaultText(decoder, fault))).data;
    if (!std::equal(again.begin(), again.end(), message.begin(), message.end()))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
try {
    static const Decoder& decoder = *new Decoder;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find("scenario") != text.npos) // words that open files
        return 0;
    const Bytes scenario = ScenarioOf(decoder, text, "scenario").data;
    for (BytesView rest = BytesView(scenario).subspan(sizeof(VeskVideoMsgHead)); !rest.empty();) {
        VeskControlStep step;
        std::memcpy(&step, rest.data(), sizeof step);
        const BytesView message = rest.subspan(sizeof step, step.dataLen);
        VeskVideoMsgHead head;
        std::memcpy(&head, message.data(), sizeof head);
        if (head.msgId == VESK_CONTROL_FAULT_ADD)
            CheckFault(decoder, message);
        rest = rest.subspan(sizeof step + (step.dataLen + 7U) / 8 * 8);
    }
    return 0;
} catch (const Error&) {
    return 0;
}
