/* A C application is known by the name of its program, cut to 15 characters. */
#include "vesk_video/vesk_video.h"

#include <string.h>

int main(void)
{
    if (VeskVideoInit() != VESK_VIDEO_ERR_FAILURE) /* nobody serves */
        return 1;
    return strcmp(VeskVideoGetServiceName(), "a_name_of_its_o") == 0 ? 0 : 2;
}
