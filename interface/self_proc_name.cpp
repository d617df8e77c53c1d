// The default process-name hook. It has a file of its own so that it is never inlined: an application's
// definition of the same name must take its place.
#include "vesk_video/lifecycle.h"

int GetSelfProcName(std::string&)
{
    return 1;
}
