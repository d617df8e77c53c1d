/* The interface from C: functions that ignore their arguments take any, records and results have names. */
#include "vesk_service/virtual_service.h"
#include "vesk_video/result_text.h"

#include <string.h>

#define CODE(name) name, #name

static const struct {
    uint32_t code;
    const char* name;
} kCodes[] = {{CODE(VESK_VIDEO_OK)},
              {CODE(VESK_VIDEO_ERR_FAILURE)},
              {CODE(VESK_VIDEO_ERR_ARGUMENT)},
              {CODE(VESK_VIDEO_ERR_PORT_INVALID)},
              {CODE(VESK_VIDEO_ERR_UVC_STREAM)},
              {CODE(VESK_SERVICE_ERR_REQUEST)},
              {CODE(VESK_SERVICE_ERR_LENGTH)},
              {CODE(VESK_SERVICE_ERR_NUMBER)},
              {CODE(VESK_SERVICE_ERR_BUSY)},
              {CODE(VESK_SERVICE_ERR_STATE)},
              {CODE(VESK_SERVICE_ERR_DISABLED)},
              {CODE(VESK_SERVICE_ERR_VALUE)},
              {CODE(VESK_SERVICE_ERR_ROOM)},
              {CODE(VESK_SERVICE_ERR_UNPLUGGED)},
              {CODE(VESK_SERVICE_ERR_NOT_YET)},
              {CODE(VESK_SERVICE_ERR_UNREACHABLE)},
              {0x1234, "unknown result"}};

int main(void)
{
    char version[13];
    char name[VESK_VIDEO_NAME_SIZE];
    VeskVideoVoPortParam param = {0};
    if (VeskVideoGetOrientation() != 0 || VeskVideoGetOrientation(1, "two", 3.0) != 0)
        return 1;
    if (VeskVideoGetVersion(version, sizeof version) != VESK_VIDEO_OK || strcmp(version, "2.1.2.6.SP00") != 0)
        return 2;
    if (VeskVideoSearchTaskName(name, 1, sizeof name) != VESK_VIDEO_OK || strcmp(name, "VAPI") != 0)
        return 3;
    if (strcmp(NORTH_RECV_PROC_NAME, "VIDEO") != 0 || g_veskVideoCallBackPtr != NULL)
        return 4;
    if (VeskVideoGetServiceName()[0] != '\0') /* before VeskVideoInit */
        return 6;
    for (size_t i = 0; i < sizeof kCodes / sizeof kCodes[0]; ++i) {
        const VeskVideoResultText text = VeskVideoGetResultText(kCodes[i].code);
        if (strcmp(text.name, kCodes[i].name) != 0 || text.meaning[strlen(text.meaning) - 1] != '.')
            return 7;
    }
    return VeskVideoVoSetParam(1, &param) == VESK_VIDEO_ERR_FAILURE ? 0 : 5; /* nobody serves */
}
