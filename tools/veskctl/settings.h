// The options that all subcommands share.
#pragma once

#include "decoder/decoder.h"

#include <memory>
#include <string>
#include <vector>

namespace vesk::ctl {

struct Settings {
    bool json = false;
    bool showsAllZeros = false;
    std::string peer = "virtual";
    std::vector<std::string> recordFiles;
    std::string service = "VIDEO/VCTL";

    /// Built when it is first asked for. @throw Failure if a file of records cannot be used
    const decoder::Decoder& Decoder();

private:
    std::shared_ptr<const decoder::Decoder> decoder_;
};

} // namespace vesk::ctl
