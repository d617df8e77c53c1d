// An application in C++, built against an installed interface alone; it names itself.
#include "vesk_host/message.h"

#include <vesk_video/vesk_video.h>

#include <cstdio>
#include <cstring>

int GetSelfProcName(std::string& name)
{
    name = "outside";
    return 0;
}

int main()
{
    uint32_t inputs = 0;
    if (VeskVideoInit() != VESK_VIDEO_OK || VeskVideoGetViCount(&inputs) != VESK_VIDEO_OK)
        return 1;
    std::printf("C++: %u inputs, known as %s\n", inputs, VeskVideoGetServiceName());
    return inputs == 3 && std::strcmp(VeskVideoGetServiceName(), "outside") == 0 ? 0 : 2;
}
