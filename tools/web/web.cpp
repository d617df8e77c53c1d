// The subcommand "web".
#include "tools/web/web.h"

#include "tools/veskctl/output.h"
#include "tools/web/site.h"

#include <csignal>

namespace vesk::ctl {

namespace {

void SayAddress(const Settings& settings, const std::string& address, uint16_t port)
{
    if (settings.json)
        PrintObject({{"address", address}, {"port", uint64_t{port}}});
    else
        PrintLine(address);
}

/// Says so if it cannot be, since the page is there all the same.
void ShowInBrowser(std::optional<Program>& browser, const std::string& address, const AwaitedSignals& signals)
{
    try {
        browser.emplace(std::vector<std::string>{"xdg-open", address}, signals,
                        Program::Options{{}, STDERR_FILENO, /*isHelper=*/true});
    } catch (const Failure& failure) {
        PrintError(failure);
    }
}

} // namespace

int ServeWeb(Settings& settings, const WebOptions& options)
{
    const AwaitedSignals signals{SIGINT, SIGTERM, SIGCHLD}; // before the first thread
    std::signal(SIGPIPE, SIG_IGN);
    Client client(settings.service, Client::Interrupt::kEndsProgram);
    const web::Listener listener = web::Listener::At(static_cast<uint16_t>(options.port));
    const web::Access access(listener.port);
    web::Site site(settings, client, signals);
    web::Server server(listener, access, [&](const web::Request& request) { return site.Find(request); });
    SayAddress(settings, access.Address(), listener.port);
    std::optional<Program> browser;
    if (options.isOpened)
        ShowInBrowser(browser, access.Address(), signals);
    int signal = 0;
    while (signal != SIGINT && signal != SIGTERM) {
        signal = signals.Take(std::chrono::seconds(1)).si_signo;
        server.CloseSlow();
    }
    pthread_sigmask(SIG_SETMASK, &signals.Before(), nullptr); // who sends another one does not want to wait
    site.Finish();
    return kDone;
}

} // namespace vesk::ctl
