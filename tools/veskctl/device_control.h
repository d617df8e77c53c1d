// What the virtual device answers the commands of "device" that send one control message each, as JSON.
#pragma once

#include "tools/veskctl/exchange.h"

namespace vesk::ctl {

/// Of a call that was answered with success. @throw Failure if the answer has another layout
std::string ControlAnswerJson(const decoder::Decoder& decoder, const Call& call);

/// The scenarios that are installed. @throw Failure if there are none, Error
std::string ScenariosJson();

} // namespace vesk::ctl
