// What the device and its codecs can do; codec capabilities are logged entry by entry.
#include "vesk_video/capability.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

namespace {

/// Flags as a list: "[1,0,1]".
template <size_t count>
class FlagText {
public:
    explicit FlagText(const uint8_t (&flags)[count])
    {
        for (size_t i = 0; i < count; ++i) {
            text_[2 * i] = i == 0 ? '[' : ',';
            text_[2 * i + 1] = flags[i] != 0 ? '1' : '0';
        }
        text_[2 * count] = ']';
    }

    const char* Text() const { return text_; }

private:
    char text_[2 * count + 2] = {};
};

void PrintVeskVideoEncodeCapability(const VeskVideoEncodeCapability* capability)
{
    LOG(kInfo, "%s: maxChannel=%u", __func__, capability->maxChannel);
    for (uint32_t i = 0; i < VESK_VIDEO_CODEC_NUM; ++i) {
        const VeskVideoEncCodecCapability& c = capability->codec[i];
        if (c.support == 0)
            continue;
        LOG(kInfo,
            "%s:Codec %u: support=%d, blocksPs=%u, blockspf=%u, maxWidth=%u, minWidth=%u, maxHeight=%u, "
            "minHeight=%u, maxBandWidth=%u, h264MaxLevel=%u, h265MaxLevel=%u, isSvc=%d, profiles=%s, fecs=%s",
            __func__, i, c.support, c.blocksPs, c.blockspf, c.maxWidth, c.minWidth, c.maxHeight, c.minHeight,
            c.maxBandWidth, c.h264MaxLevel, c.h265MaxLevel, c.isSvc, FlagText(c.profiles).Text(),
            FlagText(c.fecs).Text());
    }
}

void PrintVeskVideoDecodeCapability(const VeskVideoDecodeCapability* capability)
{
    LOG(kInfo, "%s: maxChannel=%u", __func__, capability->maxChannel);
    for (uint32_t i = 0; i < VESK_VIDEO_CODEC_NUM; ++i) {
        const VeskVideoDecCodecCapability& c = capability->codec[i];
        if (c.support == 0)
            continue;
        LOG(kInfo,
            "%s: Codec %u: support=%d, blocksPs=%u, maxWidth=%u, minWidth=%u, maxHeight=%u, minHeight=%u, "
            "isSvc=%d, isTile=%d, profiles=%s, fecs=%s",
            __func__, i, c.support, c.blocksPs, c.maxWidth, c.minWidth, c.maxHeight, c.minHeight, c.isSvc,
            c.isTile, FlagText(c.profiles).Text(), FlagText(c.fecs).Text());
    }
}

} // namespace

uint32_t VeskVideoGetEncodeCapability(VeskVideoEncodeCapability* encodeCapability)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY));
    LOG(kInfo, "Get encode capability start");
    if (IS_NULL(encodeCapability))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY>({}, encodeCapability);
    if (ret != VESK_VIDEO_OK)
        return MESSAGE_FAILED(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, ret);
    const uint32_t done = DONE(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY);
    PrintVeskVideoEncodeCapability(encodeCapability);
    return done;
}

uint32_t VeskVideoGetDecodeCapability(VeskVideoDecodeCapability* decodeCapability)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY));
    LOG(kInfo, "Get decode capability start");
    if (IS_NULL(decodeCapability))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_DECODE_CAPABILITY>({}, decodeCapability);
    if (ret == VESK_VIDEO_OK)
        PrintVeskVideoDecodeCapability(decodeCapability);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY, ret);
}

uint32_t VeskVideoGetCapability(uint32_t capabilityType, VeskVideoCapability* capability)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_CAPABILITY));
    if (IS_NULL(capability))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_CAPABILITY>({.ulParam2 = capabilityType}, capability);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_CAPABILITY)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_CAPABILITY, ret);
}
