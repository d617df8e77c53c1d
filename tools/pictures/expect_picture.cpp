// The subcommand "run: expect-picture".
#include "tools/pictures/commands.h"

namespace vesk::ctl {

void ExpectPicture(Settings&, const ExpectedPicture&) {}

} // namespace vesk::ctl
