// The name of an application in C++.
#include "vesk_host/message.h"

#include <vesk_video/vesk_video.h>

int GetSelfProcName(std::string& name)
{
    name = "outside";
    return 0;
}
