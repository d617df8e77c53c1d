// Pictures and videos in files that come from anywhere.
#include "pictures/files.h"

#include "base/error.h"
#include "pictures/media_process.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <optional>

namespace vesk::pictures {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr off_t kMostBytes = off_t{4} << 30;
constexpr Size kLargest{kMostSide, kMostSide};

/// At most so many processes at once, and so many files and pixels that are remembered.
constexpr size_t kMostProcesses = 32;
constexpr size_t kMostFiles = 1024;
constexpr size_t kMostPixels = size_t{4} * kMostSide * kMostSide;

/// A file that cannot be shown is tried again after this time, or once it has changed.
constexpr auto kPause = std::chrono::seconds(5);

/// Time of a processor that a picture may take: one that others have to be decoded for, and one that follows.
/// By the clock it may be some times as much, so that on a busy machine the same pictures are drawn.
constexpr milliseconds kMostForFirst(3000);
constexpr milliseconds kMostForNext(500);
constexpr int kBusy = 5;
constexpr uint64_t kFarMs = 2000;

/// Tells whether a file is still the same and has the same contents.
struct Stamp {
    dev_t device = 0;
    ino_t number = 0;
    off_t bytes = 0;
    timespec modified{};
    timespec changed{};

    explicit Stamp(const struct stat& of)
        : device(of.st_dev), number(of.st_ino), bytes(of.st_size), modified(of.st_mtim), changed(of.st_ctim)
    {
    }
    bool operator==(const Stamp& other) const
    {
        const auto same = [](const timespec& a, const timespec& b) {
            return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
        };
        return device == other.device && number == other.number && bytes == other.bytes &&
               same(modified, other.modified) && same(changed, other.changed);
    }
};

Stamp Checked(const struct stat& file)
{
    if (!S_ISREG(file.st_mode))
        throw Error(S_ISDIR(file.st_mode) ? "is a folder" : "is no regular file");
    if (file.st_size == 0)
        throw Error("is empty");
    if (file.st_size > kMostBytes)
        throw Error("is larger than 4 GiB");
    return Stamp(file);
}

Stamp StampOf(const std::string& path)
{
    struct stat file {};
    if (stat(path.c_str(), &file) != 0)
        throw Error(std::strerror(errno));
    return Checked(file);
}

/// What is known of a file.
class OneFile {
public:
    uint64_t lastUse = 0;

    bool HasProcess() const { return process_.has_value(); }
    size_t Pixels() const { return frame_.picture ? frame_.picture->size.Pixels() : 0; }
    void EndProcess() { process_.reset(); }

    const Frame& At(const std::string& path, uint64_t atMs, const std::string& program)
    {
        try {
            // A device is not even opened, as that alone may do something to it.
            const Stamp now = StampOf(path);
            if (stamp_ != now)
                Forget(now);
            const bool isKnown = isOnly_ || (!frame_.problem.empty() && Clock::now() < retryAt_);
            if (!isKnown)
                Read(path, atMs, program);
        } catch (const Error& error) {
            Forget(stamp_);
            frame_.problem = error.what();
            retryAt_ = Clock::now() + kPause;
        }
        return frame_;
    }

private:
    void Forget(const std::optional<Stamp>& stamp)
    {
        process_.reset();
        pixels_.reset();
        frame_ = {};
        isOnly_ = false;
        stamp_ = stamp;
    }

    void Start(const std::string& path, const std::string& program)
    {
        const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat opened {};
        if (!file.IsOpen() || fstat(file.Get(), &opened) != 0)
            throw Error(std::strerror(errno));
        stamp_ = Checked(opened);
        process_.emplace(program, std::vector<std::string>{"read"}, file.Get(), kLargest);
    }

    void Read(const std::string& path, uint64_t atMs, const std::string& program)
    {
        const bool isNext = process_ && atMs >= atMs_ && atMs - atMs_ < kFarMs;
        if (!process_)
            Start(path, program);
        const milliseconds most = isNext ? kMostForNext : kMostForFirst;
        process_->Send({media::Task::kPicture, static_cast<uint32_t>(most.count()), atMs});
        Take(process_->Receive(most * kBusy));
        atMs_ = atMs;
    }

    void Take(const media::Answer& answer)
    {
        const Size size{answer.width, answer.height};
        if (size.IsEmpty() || size.width > kMostSide || size.height > kMostSide)
            throw Error("vesk-media told a size that cannot be");
        frame_.problem.clear();
        if (!pixels_ || frame_.number != answer.number) {
            // Pixels that nobody else has any more are used again.
            if (!pixels_ || frame_.picture.use_count() > 2 || pixels_->size != size)
                pixels_ = std::make_shared<Picture>(size);
            process_->CopyTo(*pixels_);
            frame_.picture = pixels_;
            frame_.number = answer.number;
        }
        isOnly_ = answer.isOnly != 0;
        if (isOnly_)
            process_.reset();
    }

    std::optional<Stamp> stamp_;
    std::optional<MediaProcess> process_;
    uint64_t atMs_ = 0; ///< When the process was asked last.
    std::shared_ptr<Picture> pixels_;
    Frame frame_;
    bool isOnly_ = false;
    Clock::time_point retryAt_;
};

} // namespace

class Files::Readers {
public:
    explicit Readers(std::string program) : program_(std::move(program)) {}

    Frame At(const std::string& path, uint64_t atMs)
    {
        OneFile& file = files_[path];
        file.lastUse = ++uses_;
        Frame frame = file.At(path, atMs, program_);
        Trim();
        return frame;
    }

private:
    /// Keeps within the limits by forgetting what has not been used for longest; never what was used last.
    void Trim()
    {
        for (;;) {
            size_t processes = 0;
            size_t pixels = 0;
            auto oldest = files_.end();
            auto oldestProcess = files_.end();
            for (auto file = files_.begin(); file != files_.end(); ++file) {
                const auto isOlder = [&](auto than) {
                    return file->second.lastUse != uses_ &&
                           (than == files_.end() || file->second.lastUse < than->second.lastUse);
                };
                pixels += file->second.Pixels();
                if (isOlder(oldest))
                    oldest = file;
                if (file->second.HasProcess() && isOlder(oldestProcess))
                    oldestProcess = file;
                processes += file->second.HasProcess() ? 1 : 0;
            }
            if (processes > kMostProcesses && oldestProcess != files_.end())
                oldestProcess->second.EndProcess();
            else if ((files_.size() > kMostFiles || pixels > kMostPixels) && oldest != files_.end())
                files_.erase(oldest);
            else
                return;
        }
    }

    std::string program_;
    std::map<std::string, OneFile> files_;
    uint64_t uses_ = 0;
};

Files::Files(std::string program) : readers_(std::make_unique<Readers>(std::move(program))) {}

Files::~Files() = default;

Frame Files::At(const std::string& path, uint64_t atMs)
{
    return readers_->At(path, atMs);
}

} // namespace vesk::pictures
