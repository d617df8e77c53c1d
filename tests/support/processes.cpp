#include "support/processes.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace processes {

RuntimeDir::RuntimeDir()
{
    char path[] = "/tmp/vesk-test-XXXXXX";
    if (mkdtemp(path) == nullptr)
        std::abort();
    path_ = path;
    setenv("VESK_RUNTIME_DIR", path, 1);
}

RuntimeDir::~RuntimeDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Child Child::Fork(const std::function<void()>& body)
{
    int output[2];
    if (pipe(output) != 0)
        std::abort();
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(output[1], STDOUT_FILENO);
        close(output[0]);
        close(output[1]);
        body();
        std::fflush(nullptr);
        _exit(0);
    }
    close(output[1]);
    return {process, output[0]};
}

Child Child::Start(const std::string& program, const std::vector<std::string>& arguments)
{
    const std::string emulator = VESK_EMULATOR;
    std::vector<char*> argv;
    if (!emulator.empty())
        argv.push_back(const_cast<char*>(emulator.c_str()));
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    return Fork([&] {
        execv(argv[0], argv.data());
        _exit(127);
    });
}

Child::Child(Child&& other) noexcept
    : process_(std::exchange(other.process_, 0)), output_(std::exchange(other.output_, -1)),
      text_(std::move(other.text_))
{
}

Child& Child::operator=(Child&& other) noexcept
{
    std::swap(process_, other.process_);
    std::swap(output_, other.output_);
    std::swap(text_, other.text_);
    return *this;
}

Child::~Child()
{
    if (process_ > 0) {
        kill(process_, SIGKILL);
        Wait();
    }
    if (output_ >= 0)
        close(output_);
}

void Child::Signal(int signal) const
{
    if (process_ > 0)
        kill(process_, signal);
}

bool Child::AwaitOutput(const std::string& text)
{
    char buffer[256];
    while (text_.find(text) == std::string::npos) {
        pollfd output{output_, POLLIN, 0};
        const ssize_t got = poll(&output, 1, 10000) > 0 ? read(output_, buffer, sizeof buffer) : 0;
        if (got <= 0)
            return false;
        text_.append(buffer, static_cast<size_t>(got));
    }
    return true;
}

int Child::Wait()
{
    int status = 0;
    waitpid(std::exchange(process_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Child Prepared(const std::function<bool()>& prepare, const std::function<void()>& then)
{
    Child child = Child::Fork([&] {
        std::puts(prepare() ? "ready" : "failed");
        std::fflush(stdout);
        then();
    });
    EXPECT_TRUE(child.AwaitOutput("ready")) << child.Output();
    return child;
}

bool HoldsInFork(const std::function<bool()>& condition)
{
    return Child::Fork([&] { std::exit(condition() ? 42 : 1); }).Wait() == 42;
}

std::string Contents(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

bool Eventually(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::vector<std::string> OpenDescriptors()
{
    std::vector<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code isClosed; // the iterator's own
        const std::string target = std::filesystem::read_symlink(entry, isClosed);
        if (target != "anon_inode:[eventpoll]" && target.find("/proc/") != 0)
            open.push_back(target);
    }
    std::sort(open.begin(), open.end());
    return open;
}

void RunInFork(void (*body)() noexcept)
{
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const auto before = OpenDescriptors();
        body();
        Eventually([&] { return OpenDescriptors() == before; }); // what peers have left is closed in a moment
        EXPECT_EQ(OpenDescriptors(), before);
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0) << "of the process that ran the test";
}

} // namespace processes
