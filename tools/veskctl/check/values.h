// Tests of the group "values" that are in sources of their own.
#pragma once

#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

void UnknownNumber(Trial& trial);
void FreedNumber(Trial& trial);
void HandedOutOnce(Trial& trial);
void OwnQueues(Trial& trial);

// Tests of what is set (values_kept.cpp)
void ReadBack(Trial& trial);
void FrameRate(Trial& trial);
void Preset(Trial& trial);
void Stays(Trial& trial);
void Windows(Trial& trial);

} // namespace vesk::ctl::check
