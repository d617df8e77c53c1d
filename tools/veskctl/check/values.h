// Tests of the group "values" that are about numbers.
#pragma once

#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

void UnknownNumber(Trial& trial);
void FreedNumber(Trial& trial);
void HandedOutOnce(Trial& trial);
void OwnQueues(Trial& trial);

} // namespace vesk::ctl::check
