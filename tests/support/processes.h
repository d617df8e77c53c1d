// Processes and runtime directories of a test.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace processes {

/// A runtime directory of its own, named to this process and all that it starts; removed at the end.
class RuntimeDir {
public:
    RuntimeDir();
    ~RuntimeDir();
    RuntimeDir(const RuntimeDir&) = delete;
    RuntimeDir& operator=(const RuntimeDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + '/' + name; }

private:
    std::string path_;
};

/// A child process; killed at the end if it is still there.
class Child {
public:
    /// Runs @p body in a fork of this process, which must not have started threads.
    static Child Fork(const std::function<void()>& body);
    static Child Start(const std::string& program, const std::vector<std::string>& arguments = {});

    Child(Child&& other) noexcept;
    Child& operator=(Child&& other) noexcept;
    ~Child();

    pid_t Process() const { return process_; }
    void Signal(int signal) const;

    /// Waits for a line of its standard output that contains @p text; false when it ends without.
    bool AwaitOutput(const std::string& text);

    /// Waits for its end: exit status, or 128 and the signal that ended it.
    int Wait();

private:
    Child(pid_t process, int output) : process_(process), output_(output) {}

    pid_t process_;
    int output_;
    std::string text_;
};

/// Waits until @p condition holds; false after ten seconds.
bool Eventually(const std::function<bool()>& condition);

} // namespace processes
