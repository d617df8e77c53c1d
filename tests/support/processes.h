// Processes and runtime directories of a test.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include <sys/types.h>
#include <unistd.h>

namespace processes {

/// False under sanitizers whose own locks may stay locked in the child of a process with threads.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kThreadsMayFork = false;
#else
inline constexpr bool kThreadsMayFork = *VESK_EMULATOR == '\0'; // whose own threads do not outlive a fork
#endif

/// A runtime directory of its own, named to this process and all that it starts; removed at the end.
struct RuntimeDir {
    std::string path = "/tmp/vesk-test-XXXXXX";

    RuntimeDir();
    RuntimeDir(RuntimeDir&&) = delete;
    ~RuntimeDir();
    std::string File(const std::string& name) const { return path + '/' + name; }
};

/// A child process; killed at the end if it is still there.
class Child {
public:
    /// Runs @p body in a fork of this process, which must not have started threads, and exits with 1 when
    /// an expectation does not hold. Its standard output is this process's, or kept for ExpectOutput.
    explicit Child(const std::function<void()>& body, bool keepsOutput = true) noexcept;
    Child(Child&& other) noexcept { *this = std::move(other); }
    Child& operator=(Child&& other) noexcept;
    ~Child();

    pid_t Process() const { return process_; }

    /// Waits until its standard output contains @p text, for ten seconds.
    void ExpectOutput(const std::string& text);

    /// Sends it @p signal, if any, and waits for its end: exit status, or 128 and the signal that ended it.
    int Wait(int signal = 0);

private:
    pid_t process_ = 0;
    int output_ = -1;
    std::string text_;
};

/// Starts a program, with C strings as its arguments.
template <class... Words>
Child Start(const char* program, Words... arguments)
{
    return Child([=] {
        if (*VESK_EMULATOR != '\0')
            execl(VESK_EMULATOR, VESK_EMULATOR, program, arguments..., nullptr);
        execl(program, program, arguments..., nullptr);
        _exit(127);
    });
}

/// A process that has done @p prepare, in which all expectations hold, and does @p then until it is killed.
Child Prepared(
    const std::function<void()>& prepare, const std::function<void()>& then = [] { pause(); });

/// What came of a command.
struct Result {
    int status;
    std::string output; ///< Standard output and standard error.
};

/// Runs a shell's command.
Result Shell(const std::string& command);

/// Contents of a file.
std::string Contents(const std::string& path);

/// Waits until @p condition holds; false after ten seconds.
bool Eventually(const std::function<bool()>& condition);

/// What the descriptors of this process refer to, but for what a task waits with and the file of this
/// process's queues, which stay.
std::multiset<std::string> OpenDescriptors();

/// Runs @p body in a fork of this process, where its expectations must hold.
void InFork(const std::function<void()>& body);

/// The same, and every descriptor that it opens must be closed again at its end.
void RunTest(const std::function<void()>& body);

/// A test whose fixture and body live in a fork: no name, thread or connection stays for the next one, and
/// the leak sanitizer looks at the fork when it exits. @p fixture is a plain class.
#define FORKED_TEST(fixture, name)                                                                           \
    struct fixture##_##name : fixture {                                                                      \
        void Run();                                                                                          \
    };                                                                                                       \
    TEST(fixture, name)                                                                                      \
    {                                                                                                        \
        processes::RunTest([] { fixture##_##name().Run(); });                                                \
    }                                                                                                        \
    void fixture##_##name::Run()

} // namespace processes
