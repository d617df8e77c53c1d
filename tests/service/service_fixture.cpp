// The hook of this program: it stands in for the application's.
#include "service/service_fixture.h"

int GetSelfProcName(std::string& name)
{
    name = g_name;
    return 0;
}
