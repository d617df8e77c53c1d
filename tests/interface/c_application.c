/* The interface from C: functions that ignore their arguments take any, records have their names. */
#include "vesk_video/vesk_video.h"

#include <string.h>

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
    return VeskVideoVoSetParam(1, &param) == VESK_VIDEO_ERR_FAILURE ? 0 : 5; /* nobody serves */
}
