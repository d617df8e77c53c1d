// How pictures run through the device, drawn.
#include "tools/web/graph.h"

#include "base/descriptor.h"
#include "tools/veskctl/output_file.h"
#include "tools/veskctl/state.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vesk::web {

using ctl::Failure;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kMostTime(2);
constexpr size_t kMostDrawn = size_t{8} << 20U;

/// What comes out of a pipe until its other end is closed.
std::string ReadAll(const Descriptor& pipe, Clock::time_point deadline)
{
    std::string text;
    std::array<char, 16384> part;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd awaited{pipe.Get(), POLLIN, 0};
        const int ready = poll(&awaited, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            throw Failure(ctl::kTimedOut, "dot did not draw the graph within 2 s");
        const ssize_t size = read(pipe.Get(), part.data(), part.size());
        if (size <= 0)
            return text;
        text.append(part.data(), static_cast<size_t>(size));
        if (text.size() > kMostDrawn)
            throw Failure(ctl::kFailed, "dot has drawn too much");
    }
}

} // namespace

std::string Graph::Text(Device& device)
{
    const Document state = device.State();
    std::string text;
    ctl::ShowState([&] { text = ctl::GraphText(*state.json); });
    return text;
}

Body Graph::Drawing()
{
    const std::string text = Text(device_);
    if (drawing_ == nullptr || text != text_) {
        drawing_ = std::make_shared<const std::string>(Draw(text));
        text_ = text;
    }
    return drawing_;
}

std::string Graph::Draw(const std::string& text) const
{
    const ctl::MemoryFile input(text);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw Failure(ctl::kFailed, std::string("no pipe for a graph: ") + std::strerror(errno));
    const Descriptor output(ends[0]);
    std::optional<Descriptor> childs(ends[1]);
    // Quiet, since it shares its output with what it would complain about.
    ctl::Program dot({"dot", "-q2", "-Tsvg", input.Path()}, signals_,
                     {{}, childs->Get(), /*isHelper=*/true, SIGKILL});
    childs.reset();
    std::string drawing = ReadAll(output, Clock::now() + kMostTime);
    // The output is closed a moment before the program ends.
    for (int i = 0; i < 100 && !dot.Status(); ++i)
        usleep(1000);
    if (dot.Status() != 0)
        throw Failure(ctl::kFailed, "dot cannot draw the graph");
    return drawing;
}

} // namespace vesk::web
