// The default of the process-name hook, in a file of its own so that no caller can have it inlined: an
// application's definition of the same name must take its place.
#include "vesk_video/lifecycle.h"

int GetSelfProcName(std::string&)
{
    return 1;
}
