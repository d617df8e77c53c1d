/* An application in C, built against an installed interface alone. */
#include <vesk_video/result_text.h>
#include <vesk_video/vesk_video.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    uint32_t displays = 0;
    if (VeskVideoInit() != VESK_VIDEO_OK || VeskVideoGetVoCount(&displays) != VESK_VIDEO_OK)
        return 1;
    if (strcmp(VeskVideoGetResultText(0x204).name, "VESK_SERVICE_ERR_BUSY") != 0)
        return 3;
    printf("%s has %u displays\n", VeskVideoGetServiceName(), displays);
    return VeskVideoExit() == VESK_VIDEO_OK ? 0 : 2;
}
