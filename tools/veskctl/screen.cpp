// A terminal whose lines are shown anew again and again.
#include "tools/veskctl/screen.h"

#include "tools/veskctl/output.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace vesk::ctl {

namespace {

// Another screen than the shell's, no cursor, and lines that are too long do not go on in the next.
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view kLeave = "\x1b[?7h\x1b[?25h\x1b[?1049l";
constexpr char kHome[] = "\x1b[H";
constexpr char kClearLine[] = "\x1b[K";
constexpr char kClearRest[] = "\x1b[J";

volatile std::sig_atomic_t g_isShown = 0;
volatile std::sig_atomic_t g_isEmpty = 0; // what was shown is gone

/// Also for a signal handler.
void Write(std::string_view sequence)
{
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, sequence.data(), sequence.size());
}

void Leave()
{
    if (g_isShown != 0)
        Write(kLeave);
    g_isShown = 0;
}

void Enter()
{
    Write(kEnter);
    g_isShown = 1;
    g_isEmpty = 1;
}

/// Of Ctrl-Z: the shell gets its screen, and what is shown next is ours again.
void OnStop(int)
{
    const int error = errno;
    Leave();
    raise(SIGSTOP);
    Enter();
    errno = error;
}

} // namespace

Screen::Screen()
{
    static char buffer[65536]; // what is shown is written at once
    std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
    std::at_quick_exit(Leave);
    struct sigaction action {};
    action.sa_handler = OnStop;
    action.sa_flags = SA_RESTART;
    sigaction(SIGTSTP, &action, nullptr);
    Enter();
}

Screen::~Screen()
{
    signal(SIGTSTP, SIG_DFL);
    Leave();
}

size_t Screen::Height()
{
    constexpr size_t kDefault = 24;
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row != 0;
    return (isKnown ? size.ws_row : kDefault) - 1; // the cursor's own line is left free
}

bool Screen::IsEmpty()
{
    return g_isEmpty != 0;
}

void Screen::Show(const std::vector<std::string>& lines)
{
    g_isEmpty = 0;
    std::fputs(kHome, stdout);
    for (size_t i = 0; i < std::min(lines.size(), Height()); ++i) {
        std::fputs(kClearLine, stdout);
        PutLine(stdout, lines[i]);
    }
    std::fputs(kClearRest, stdout);
    Flush();
}

} // namespace vesk::ctl
