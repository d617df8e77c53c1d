// The subcommand "device compare".
#include "tools/pictures/commands.h"

namespace vesk::ctl {

int ComparePictures(Settings&, const CompareOptions&)
{
    return 1;
}

} // namespace vesk::ctl
