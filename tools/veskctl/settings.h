// The options that all subcommands share.
#pragma once

#include "decoder/decoder.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vesk::ctl {

struct Call;
struct Prepared;

struct Settings {
    bool json = false;
    bool showsAllZeros = false;
    std::string peer = "virtual";
    std::vector<std::string> recordFiles;
    std::string service = "VIDEO/VCTL";

    /// How a line of a session sends the request of a command of "device"; null: it is no such line.
    std::function<Call(const Prepared& request)> steer;

    /// How such a line waits, while notifications arrive. @throw Failure if it is interrupted
    std::function<void(std::chrono::steady_clock::time_point until)> pause;

    /// Built when it is first asked for. @throw Failure if a file of records cannot be used
    const decoder::Decoder& Decoder();

private:
    std::shared_ptr<const decoder::Decoder> decoder_;
};

} // namespace vesk::ctl
