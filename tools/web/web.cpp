// The subcommand "web".
#include "tools/web/web.h"

namespace vesk::ctl {

int ServeWeb(Settings&, const WebOptions&)
{
    return 1;
}

} // namespace vesk::ctl
