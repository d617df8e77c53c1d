// Writes pictures to a video.
#include "pictures/video_file.h"

#include "base/error.h"
#include "base/replacement.h"
#include "base/text.h"
#include "pictures/media_process.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace vesk::pictures {

namespace {

using media::Task;

/// An encoder may keep many pictures until the end.
constexpr std::chrono::minutes kMost(2);
constexpr uint32_t kMostFramesPerSecond = 1000;

} // namespace

std::string ContainerFor(const std::string& path)
{
    if (path == "-")
        return "matroska";
    constexpr std::pair<const char*, const char*> kContainers[] = {
        {".mp4", "mp4"}, {".mkv", "matroska"}, {".webm", "webm"}};
    const std::string extension = std::filesystem::path(path).extension();
    const auto* const container =
        std::find_if(std::begin(kContainers), std::end(kContainers),
                     [&](const auto& one) { return SameText(extension, one.first); });
    if (container == std::end(kContainers))
        throw Error(path + ": expected the name of a video, which ends with .mp4, .mkv or .webm");
    return container->second;
}

class VideoFile::Writer {
public:
    Writer(const std::string& path, Size size, uint32_t framesPerSecond, const std::string& program)
        : path_(path), size_(size), container_(ContainerFor(path)), target_(path),
          process_(program,
                   {"write", container_, std::to_string(size.width), std::to_string(size.height),
                    std::to_string(framesPerSecond)},
                   target_.Get(), size)
    {
        Ask(Task::kBegin);
    }

    void Add(const Picture& picture)
    {
        if (picture.size != size_)
            throw Error(path_ + ": expected a picture of " + TextOf(size_) + ", got " + TextOf(picture.size));
        process_.CopyFrom(picture);
        Ask(Task::kPicture);
    }

    void Finish()
    {
        Ask(Task::kEnd);
        target_.Keep();
    }

private:
    void Ask(Task task)
    {
        try {
            process_.Send({.task = task, .processorMs = 0, .atMs = 0});
            process_.Receive(kMost);
        } catch (const Error& error) {
            throw Error(path_ + ": " + error.what());
        }
    }

    std::string path_;
    Size size_;
    std::string container_;
    Replacement target_;
    MediaProcess process_;
};

VideoFile::VideoFile(const std::string& path, Size size, uint32_t framesPerSecond, const std::string& program)
{
    if (size.IsEmpty() || size.width > kMostSide || size.height > kMostSide)
        throw Error(path + ": a video is at least 1x1 and at most 8192x8192 pixels large");
    if (framesPerSecond == 0 || framesPerSecond > kMostFramesPerSecond)
        throw Error(path + ": expected 1 to 1000 frames per second, got " + std::to_string(framesPerSecond));
    writer_ = std::make_unique<Writer>(path, size, framesPerSecond, program);
}

VideoFile::~VideoFile() = default;

void VideoFile::Add(const Picture& picture)
{
    writer_->Add(picture);
}

void VideoFile::Finish()
{
    writer_->Finish();
}

} // namespace vesk::pictures
