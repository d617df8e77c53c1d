// Processes and runtime directories of a test.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <unistd.h>

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
    const std::string& Output() const { return text_; } ///< What AwaitOutput has read.

    /// Waits for a line of its standard output that contains @p text; false when it ends without, or
    /// after ten seconds.
    bool AwaitOutput(const std::string& text);

    /// Waits for its end: exit status, or 128 and the signal that ended it.
    int Wait();

private:
    Child(pid_t process, int output) : process_(process), output_(output) {}

    pid_t process_;
    int output_;
    std::string text_;
};

/// A process that has done @p prepare, which must return true, and does @p then until it is killed.
Child Prepared(
    const std::function<bool()>& prepare, const std::function<void()>& then = [] { pause(); });

/// Whether @p condition holds in a fork of this process.
bool HoldsInFork(const std::function<bool()>& condition);

/// Contents of a file.
std::string Contents(const std::string& path);

/// Waits until @p condition holds; false after ten seconds.
bool Eventually(const std::function<bool()>& condition);

/// What the descriptors of this process refer to, but for the message library's epoll, which stays.
std::vector<std::string> OpenDescriptors();

/// Runs @p body in a fork of this process, where its expectations must hold, and every descriptor that it
/// opens be closed again at its end.
void RunInFork(void (*body)() noexcept);

/// A test whose fixture and body live in a fork: no name, thread or connection stays for the next one, and
/// the leak sanitizer looks at the fork when it exits. @p fixture is a plain class.
#define FORKED_TEST(fixture, name)                                                                           \
    struct fixture##_##name : fixture {                                                                      \
        void Run();                                                                                          \
        class Test : public testing::Test {                                                                  \
            void TestBody() override                                                                         \
            {                                                                                                \
                processes::RunInFork([]() noexcept { fixture##_##name().Run(); });                           \
            }                                                                                                \
        };                                                                                                   \
    };                                                                                                       \
    [[maybe_unused]] const auto* const g_##fixture##name =                                                   \
        testing::RegisterTest(#fixture, #name, nullptr, nullptr, __FILE__, __LINE__,                         \
                              []() -> testing::Test* { return new fixture##_##name::Test; });                \
    void fixture##_##name::Run()

} // namespace processes
