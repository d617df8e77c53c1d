// A profile as a run suggests it.
#pragma once

#include "tools/veskctl/check/report.h"
#include "tools/veskctl/check/trial.h"

namespace vesk::ctl::check {

/// The text of a profile with which the same device passes where it only lacks something: what the run's own
/// profile says, and what the run has seen.
std::string DraftProfile(const Bench& bench, const Summary& summary);

} // namespace vesk::ctl::check
