/* The smallest application: asks the video service for the number of displays. The service must be running.
 */
#include <vesk_video/result_text.h>
#include <vesk_video/vesk_video.h>

#include <stdio.h>

int main(void)
{
    uint32_t displays = 0;
    uint32_t result = VeskVideoInit();
    if (result == VESK_VIDEO_OK)
        result = VeskVideoGetVoCount(&displays);
    if (result != VESK_VIDEO_OK) {
        const VeskVideoResultText text = VeskVideoGetResultText(result);
        fprintf(stderr, "the video service cannot be asked: %s: %s\n", text.name, text.meaning);
        return 1;
    }
    printf("%s: the service has %u displays\n", VeskVideoGetServiceName(), (unsigned)displays);
    return VeskVideoExit() != VESK_VIDEO_OK;
}
