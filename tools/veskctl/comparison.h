// A recording compared with a second run of it.
#pragma once

#include "decoder/filter.h"
#include "tools/veskctl/rerun.h"
#include "tools/veskctl/settings.h"

namespace vesk::ctl {

/// Has the requests of a conversation made again, and prints what has become different in messages that
/// match, and a summary. Returns the exit status.
///
/// @param wait  What a notification may take.
int Compare(Settings& settings, const recording::Conversation& conversation, Rerun& rerun,
            const decoder::Filter& filter, milliseconds wait);

} // namespace vesk::ctl
