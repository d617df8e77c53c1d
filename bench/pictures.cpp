// What it costs to draw displays, beside what compose test pictures of the same sizes.
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/table.h"
#include "pictures/painter.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <iostream>
#include <optional>

#include <sys/resource.h>
#include <sys/wait.h>

namespace vesk::bench {

namespace {

constexpr uint32_t kRate = 60;

/// A display with as many pictures in each column as in each row.
struct Wall {
    pictures::Size size;
    uint32_t columns;

    pictures::Size Cell() const { return {size.width / columns, size.height / columns}; }
    uint32_t Pictures() const { return columns * columns; }
    pictures::Rect Place(uint32_t i) const
    {
        const auto width = int32_t(Cell().width), height = int32_t(Cell().height);
        return {int32_t(i % columns) * width, int32_t(i / columns) * height, width, height};
    }
};

std::string Text(uint32_t number)
{
    return std::to_string(number);
}

double SecondsOf(const timeval& time)
{
    return double(time.tv_sec) + double(time.tv_usec) * 1e-6;
}

double OwnSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

/// The processor time of a process and its threads; nothing if it fails.
std::optional<double> SecondsOf(const std::vector<std::string>& command)
{
    const pid_t process = Start(command, {}, STDERR_FILENO);
    int status = 0;
    rusage usage{};
    if (wait4(process, &status, 0, &usage) != process || status != 0)
        return std::nullopt;
    return SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
}

using Command = std::vector<std::string> (*)(const Wall& wall, int frames);

std::vector<std::string> GStreamer(const Wall& wall, int frames)
{
    const auto caps = [](pictures::Size size) {
        return "video/x-raw,format=BGRx,width=" + Text(size.width) + ",height=" + Text(size.height) +
               ",framerate=" + Text(kRate) + "/1";
    };
    std::vector<std::string> command{"gst-launch-1.0", "-q", "compositor", "name=mix", "background=black"};
    for (uint32_t i = 0; i < wall.Pictures(); ++i) {
        const pictures::Rect place = wall.Place(i);
        command.push_back("sink_" + Text(i) + "::xpos=" + std::to_string(place.x));
        command.push_back("sink_" + Text(i) + "::ypos=" + std::to_string(place.y));
    }
    command.insert(command.end(), {"!", caps(wall.size), "!", "fakesink"});
    for (uint32_t i = 0; i < wall.Pictures(); ++i)
        command.insert(command.end(), {"videotestsrc", "num-buffers=" + std::to_string(frames), "!",
                                       caps(wall.Cell()), "!", "mix.sink_" + Text(i)});
    return command;
}

std::vector<std::string> FFmpeg(const Wall& wall, int frames)
{
    std::vector<std::string> command{
        "ffmpeg", "-v", "error", "-nostdin", "-filter_threads", "1", "-filter_complex_threads", "1"};
    std::string inputs, layout;
    for (uint32_t i = 0; i < wall.Pictures(); ++i) {
        const pictures::Rect place = wall.Place(i);
        command.insert(command.end(), {"-f", "lavfi", "-i",
                                       "testsrc2=rate=" + Text(kRate) + ":size=" + Text(wall.Cell().width) +
                                           'x' + Text(wall.Cell().height)});
        inputs += '[' + Text(i) + ']';
        layout += (i == 0 ? "" : "|") + std::to_string(place.x) + '_' + std::to_string(place.y);
    }
    const std::string stack = "xstack=inputs=" + Text(wall.Pictures()) + ":layout=" + layout;
    command.insert(command.end(), {"-filter_complex", inputs + (wall.Pictures() == 1 ? "null" : stack),
                                   "-frames:v", std::to_string(frames), "-f", "null", "-"});
    return command;
}

/// Frames in a second of processor time. What it takes to start is left out.
std::optional<double> RateOf(Command command, const Wall& wall, int frames, size_t rounds)
{
    const int few = frames / 6;
    std::vector<double> seconds;
    for (size_t round = 0; round < rounds; ++round) {
        const auto start = SecondsOf(command(wall, few)), all = SecondsOf(command(wall, frames));
        if (!start || !all)
            return std::nullopt;
        seconds.push_back((*all - *start) / (frames - few));
    }
    return 1 / Median(seconds);
}

pictures::Scene SceneOf(const Wall& wall)
{
    pictures::Scene scene;
    scene.canvas = wall.size;
    scene.showing = "live";
    for (uint32_t i = 0; i < wall.Pictures(); ++i) {
        pictures::Layer layer;
        layer.showing = layer.input.showing = "live";
        layer.input.viPort = i;
        layer.input.name = "CAMERA " + Text(i);
        layer.input.fr = kRate;
        layer.size = layer.input.size = wall.Cell();
        layer.part = {0, 0, int32_t(wall.Cell().width), int32_t(wall.Cell().height)};
        layer.window = layer.rect = wall.Place(i);
        scene.layers.push_back(layer);
    }
    return scene;
}

/// The same of a painter, with what its first picture takes.
struct Own {
    double rate, first;
};

Own OwnRate(const Wall& wall, int frames, size_t rounds)
{
    pictures::Files files;
    const pictures::Scene scene = SceneOf(wall);
    std::vector<double> first, each;
    for (size_t round = 0; round < rounds; ++round) {
        pictures::Painter painter(files);
        double begin = OwnSeconds();
        uint64_t version = painter.Draw(scene, 0).version;
        first.push_back(OwnSeconds() - begin);
        begin = OwnSeconds();
        for (int frame = 1; frame <= frames; ++frame) {
            const uint64_t before = version;
            version = painter.Draw(scene, (uint64_t(frame) * 1000 + kRate - 1) / kRate).version;
            if (version == before)
                Fail("a frame is as the one before");
        }
        each.push_back((OwnSeconds() - begin) / frames);
    }
    return {1 / Median(each), Median(first)};
}

} // namespace

Table PictureTable(bool quick)
{
    const OnCpu here(Cpus().front());
    const size_t rounds = quick ? 1 : 5;
    Table table{
        "Pictures of a display with live test pictures at 60 fps: frames in a second of processor time",
        {"display", "vesk", "GStreamer compositor", "FFmpeg xstack", "vesk/better of them",
         "vesk, first picture, ms"},
        {}};
    for (const Wall& wall :
         {Wall{{1920, 1080}, 1}, Wall{{1920, 1080}, 3}, Wall{{1920, 1080}, 5}, Wall{{3840, 2160}, 3}}) {
        const int frames = wall.size.width > 1920 ? 60 : 180;
        const Own own = OwnRate(wall, 3000, rounds);
        double best = 0;
        std::vector<Cell> row{Text(wall.size.width) + 'x' + Text(wall.size.height) + ", " +
                                  Text(wall.Pictures()) + (wall.Pictures() == 1 ? " picture" : " pictures"),
                              Rounded(own.rate, 0)};
        for (const auto& [name, command] :
             {std::pair<const char*, Command>("gst-launch-1.0", GStreamer), {"ffmpeg", FFmpeg}}) {
            const std::optional<double> rate = RateOf(command, wall, frames, rounds);
            if (!rate)
                std::cerr << name << " was left out: it is not there, or fails\n";
            row.push_back(rate ? Cell(Rounded(*rate, 0)) : Cell("-"));
            best = std::max(best, rate.value_or(0));
        }
        row.push_back(best > 0 ? Cell(Rounded(own.rate / best, 1)) : Cell("-"));
        row.emplace_back(Rounded(own.first * 1000, 1));
        table.rows.push_back(std::move(row));
    }
    return table;
}

} // namespace vesk::bench
