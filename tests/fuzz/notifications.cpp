// Notifications at the dispatcher, with and without a callback, which reads all that it is given.
#include "fuzz.h"

#include "vesk_video/message_list.h"

#include <vector>

using namespace fuzz;

namespace {

uint32_t Read(uint32_t notifyId, void* data, uint32_t dataLen)
{
    // These two point to their parameter, whatever the length.
    if (notifyId == VESK_VIDEO_ON_IFREAME_REQUEST || notifyId == VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY)
        dataLen = sizeof(uint32_t);
    const std::string copy(static_cast<char*>(data), dataLen);
    CHECK(copy.size() == dataLen);
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    RuntimeDir();
    FuzzedDataProvider input(bytes, size);
    while (input.remaining_bytes() != 0) {
        g_veskVideoCallBackPtr = input.ConsumeBool() ? Read : nullptr;
        const auto& listed = input.PickValueInArray(vesk::messages::kNotifications);
        VeskVideoMsgHead head{};
        head.msgId =
            input.ConsumeBool() ? static_cast<uint16_t>(listed.number) : input.ConsumeIntegral<uint16_t>();
        head.ulParam1 = input.ConsumeIntegral<uint64_t>();
        head.ulParam2 = input.ConsumeIntegral<uint32_t>();
        const size_t length =
            input.ConsumeBool() ? listed.payload.size : input.ConsumeIntegralInRange<size_t>(0, 4096);
        std::vector<uint8_t> message(sizeof head + length); // allocated: nothing follows it
        std::memcpy(message.data(), &head, sizeof head);
        const size_t cut = input.ConsumeBool() ? input.ConsumeIntegralInRange<size_t>(0, message.size()) : 0;
        input.ConsumeData(message.data() + sizeof head, length);
        const std::vector<uint8_t> sent(message.begin(), message.end() - static_cast<ptrdiff_t>(cut));
        OsMsgEnvelope envelope{};
        envelope.msgId = head.msgId;
        envelope.dataLen = static_cast<uint32_t>(sent.size());
        envelope.data = sent.empty() ? nullptr : const_cast<uint8_t*>(sent.data());
        const uint32_t result = VeskProcDealToNorthInterfaceMsg(&envelope);
        CHECK((result == 0) == (sent.size() >= sizeof head));
    }
    VeskVideoCallbackInfo info{}; // delivers what is held
    info.notifyCallback = Read;
    VeskVideoSetCallback(&info);
    return 0;
}
