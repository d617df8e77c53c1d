// The subcommand "device record".
#include "pictures/video_file.h"
#include "tools/pictures/commands.h"
#include "tools/pictures/drawing.h"
#include "tools/pictures/scene_source.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/progress.h"

#include <algorithm>
#include <cmath>

namespace vesk::ctl {

namespace {

constexpr uint64_t kMostUsualRate = 30;

/// The size of a video, in which colours have half as many pixels a side.
pictures::Size Even(pictures::Size size)
{
    return {size.width + size.width % 2, size.height + size.height % 2};
}

class Recorder {
public:
    Recorder(const Settings& settings, const RecordOptions& options)
        : settings_(settings), options_(options),
          progress_("device record", "pictures", !settings.json, std::chrono::milliseconds(500))
    {
        if (!settings_.steer)
            BeClient();
        scene_ = SceneOfDisplay(settings_, options_.display);
        const uint64_t usual = std::clamp<uint64_t>(scene_.fr, 1, kMostUsualRate);
        rate_ = options_.fr != 0 ? options_.fr : static_cast<uint32_t>(usual);
        size_ = Even(SizeFrom(options_.size, scene_));
        if (options_.seconds != 0)
            most_ = std::max(static_cast<uint64_t>(std::llround(options_.seconds * rate_)), uint64_t{1});
        file_.emplace(options_.file, size_, rate_);
    }

    int Run()
    {
        try {
            if (options_.isStepped)
                RecordSteps();
            else
                RecordAsTimePasses();
        } catch (const Failure&) { // of the service, or an interrupted session; what there is, is kept
            if (frames_ != 0)
                Finish();
            throw;
        }
        if (frames_ == 0)
            throw Failure(kFailed, "interrupted before the first picture");
        Finish();
        return kDone;
    }

private:
    /// One client for all that is asked, which notices signals.
    void BeClient()
    {
        client_.emplace(settings_.service, Client::Interrupt::kEndsWait);
        settings_.steer = [this](const Prepared& request) {
            Call call = Perform(*client_, settings_.Decoder(), request, VESK_VIDEO_SYNC_TIMEOUT);
            RequireOk(call);
            return call;
        };
    }

    /// Waits. False once the user wants no more.
    bool WaitUntil(Clock::time_point time)
    {
        if (!client_) {
            settings_.pause(time);
            return true;
        }
        client_->Next(time); // nothing arrives, as it is not announced
        return !client_->IsInterrupted();
    }

    /// When a picture is due, since the first one, in such parts of a second.
    uint64_t TimeOf(uint64_t frame, uint64_t parts) const { return frame * parts / rate_; }

    /// Draws what @ref scene_ shows.
    void Add(uint64_t atMs)
    {
        last_ = &drawing_.Draw(scene_, atMs, {.size = size_});
        Repeat();
    }

    /// Appends what was drawn last.
    void Repeat()
    {
        file_->Add(*last_);
        ++frames_;
        progress_(frames_, options_.seconds != 0 ? most_ : 0, frames_);
    }

    /// The recording moves the time, so each picture is of its own.
    void RecordSteps()
    {
        const uint64_t start = scene_.atMs;
        uint64_t now = MoveTime(settings_, 0);
        while (frames_ < most_ && WaitUntil(Clock::now())) {
            scene_ = SceneOfDisplay(settings_, options_.display);
            Add(start + TimeOf(frames_, 1000));
            const uint64_t next = start + TimeOf(frames_, 1000);
            now = MoveTime(settings_, next > now ? next - now : 0);
        }
    }

    /// The time moves by itself. While a picture takes longer than it lasts, it takes the places of those
    /// that should follow, so that the video is as long as the time.
    void RecordAsTimePasses()
    {
        const Clock::time_point start = Clock::now();
        const auto due = [&](uint64_t frame) {
            return start + std::chrono::nanoseconds(TimeOf(frame, 1000000000));
        };
        while (frames_ < most_ && WaitUntil(due(frames_))) {
            if (frames_ != 0)
                scene_ = SceneOfDisplay(settings_, options_.display);
            Add(scene_.atMs);
            const Clock::time_point now = Clock::now();
            for (; frames_ < most_ && due(frames_ + 1) <= now; ++repeated_)
                Repeat();
        }
    }

    void Finish()
    {
        file_->Finish();
        progress_.Erase();
        const double seconds = static_cast<double>(frames_) / rate_;
        if (settings_.json)
            PrintObject({{"file", options_.file},
                         {"width", size_.width},
                         {"height", size_.height},
                         {"fr", rate_},
                         {"frames", frames_},
                         {"repeated", repeated_},
                         {"seconds", seconds}});
        else
            PutFormatted(stdout, "%s: %s, %llu pictures, %.3g s%s", options_.file.c_str(),
                         TextOf(size_).c_str(), static_cast<unsigned long long>(frames_), seconds,
                         repeated_ == 0 ? ""
                                        : (", " + std::to_string(repeated_) + " of them repeated").c_str());
        Flush();
    }

    Settings settings_;
    const RecordOptions& options_;
    std::optional<Client> client_; ///< Nothing in a session, which has one.
    pictures::Scene scene_;
    pictures::Size size_;
    uint32_t rate_ = 0;
    uint64_t most_ = UINT64_MAX; ///< Pictures.
    Drawing drawing_;
    std::optional<pictures::VideoFile> file_;
    Progress progress_;
    const pictures::Picture* last_ = nullptr;
    uint64_t frames_ = 0;
    uint64_t repeated_ = 0;
};

} // namespace

int RecordDisplay(Settings& settings, const RecordOptions& options)
{
    if (options.file == "-")
        throw Failure(kUsage, "a video is written to a file, not to standard output");
    Usage([&] { return pictures::ContainerFor(options.file); });
    if (options.seconds == 0 && options.isStepped)
        throw Failure(kUsage, "--step needs --for, which says how far the device's time is moved");
    if (options.seconds == 0 && settings.steer)
        throw Failure(kUsage, "device record: a line of a session needs --for");
    return Recorder(settings, options).Run();
}

} // namespace vesk::ctl
