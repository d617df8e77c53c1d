// Threads that do one job after another.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vesk::web {

class Workers {
public:
    explicit Workers(size_t threads);
    /// Ends after the jobs that wait.
    ~Workers() { Finish(); }
    Workers(const Workers&) = delete;

    /// Has a job, which throws nothing, done. False if no more are taken.
    bool Do(std::function<void()> job);

    /// Takes no more jobs, and waits for those that there are.
    void Finish();

private:
    void Work();

    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> jobs_;
    bool isFinished_ = false;
    std::vector<std::thread> threads_; ///< The last, since they use the others.
};

} // namespace vesk::web
