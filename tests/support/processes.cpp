#include "support/processes.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#ifdef __SANITIZE_THREAD__
/// A process need not wait a second for its threads when it ends: hundreds of forks would do so.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
const char* __tsan_default_options()
{
    return "atexit_sleep_ms=0";
}
#endif

namespace processes {

RuntimeDir::RuntimeDir()
{
    if (mkdtemp(path.data()) == nullptr)
        std::abort();
    setenv("VESK_RUNTIME_DIR", path.c_str(), 1);
}

RuntimeDir::~RuntimeDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

Child::Child(const std::function<void()>& body, bool keepsOutput) noexcept
{
    int output[2];
    if (pipe(output) != 0)
        std::abort();
    std::fflush(nullptr);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (keepsOutput)
            dup2(output[1], STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        close(output[0]);
        close(output[1]);
        body();
        std::exit(testing::Test::HasFailure() ? 1 : 0);
    }
    close(output[1]);
    output_ = output[0];
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
    if (process_ != 0)
        Wait(SIGKILL);
    close(output_);
}

void Child::ExpectOutput(const std::string& text)
{
    char buffer[256];
    while (text_.find(text) == std::string::npos) {
        pollfd output{output_, POLLIN, 0};
        const ssize_t got = poll(&output, 1, 10000) > 0 ? read(output_, buffer, sizeof buffer) : 0;
        ASSERT_GT(got, 0) << "no '" << text << "' in what it wrote: " << text_;
        text_.append(buffer, static_cast<size_t>(got));
    }
}

int Child::Wait(int signal)
{
    int status = 0;
    kill(process_, signal);
    waitpid(std::exchange(process_, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Child Prepared(const std::function<void()>& prepare, const std::function<void()>& then)
{
    Child child([&] {
        prepare();
        std::puts(testing::Test::HasFailure() ? "failed" : "ready");
        then();
    });
    child.ExpectOutput("ready");
    return child;
}

Result Shell(const std::string& command)
{
    std::FILE* pipe = popen(("(" + command + ") 2>&1").c_str(), "r");
    Result result{};
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        result.output += static_cast<char>(c);
    result.status = WEXITSTATUS(pclose(pipe));
    return result;
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

std::multiset<std::string> OpenDescriptors()
{
    std::multiset<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code isClosed; // meanwhile, by another thread
        const std::string target = std::filesystem::read_symlink(entry, isClosed);
        if (!isClosed && target.find("anon_inode:[event") != 0 && target.find("/proc/") != 0 &&
            target.find("/process-") == target.npos)
            open.insert(target);
    }
    return open;
}

void InFork(const std::function<void()>& body)
{
    EXPECT_EQ(Child(body, false).Wait(), 0) << "of a fork";
}

void RunTest(const std::function<void()>& body)
{
    InFork([&] {
        const auto before = OpenDescriptors();
        body();
        Eventually([&] { return OpenDescriptors() == before; }); // what peers have left is closed in a moment
        EXPECT_EQ(OpenDescriptors(), before);
    });
}

} // namespace processes
