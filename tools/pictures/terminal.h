// Pictures in terminals.
#pragma once

#include "pictures/picture.h"

namespace vesk::ctl {

/// Shows a picture on standard output, as wide as the terminal is, in the best form that the environment says
/// it knows: as a picture, or of coloured characters. @throw Failure if this was built without that
void ShowInTerminal(const pictures::Picture& picture);

} // namespace vesk::ctl
