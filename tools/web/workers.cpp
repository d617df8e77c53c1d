// Threads that do one job after another.
#include "tools/web/workers.h"

#include <utility>

namespace vesk::web {

Workers::Workers(size_t threads)
{
    for (size_t i = 0; i < threads; ++i)
        threads_.emplace_back([this] { Work(); });
}

bool Workers::Do(std::function<void()> job)
{
    const std::lock_guard guard(lock_);
    if (isFinished_)
        return false;
    jobs_.push_back(std::move(job));
    changed_.notify_one();
    return true;
}

void Workers::Finish()
{
    {
        const std::lock_guard guard(lock_);
        isFinished_ = true;
        changed_.notify_all();
    }
    for (std::thread& thread : threads_) {
        if (thread.joinable())
            thread.join();
    }
}

void Workers::Work()
{
    std::unique_lock guard(lock_);
    while (true) {
        changed_.wait(guard, [this] { return !jobs_.empty() || isFinished_; });
        if (jobs_.empty())
            return;
        std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        guard.unlock();
        job();
        job = nullptr;
        guard.lock();
    }
}

} // namespace vesk::web
