// This program as Wireshark runs it, by the name vesk-extcap: it lists what can be captured from, and
// captures into a pipe, which is what "device watch" and "decode --follow" do.
#include "base/words.h"
#include "decoder/filter.h"
#include "tools/recording/format.h"
#include "tools/veskctl/client.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/own_directory.h"
#include "tools/veskctl/program_text.h"
#include "vesk_host/message.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

namespace vesk::ctl {

namespace {

namespace fs = std::filesystem;

struct Options {
    bool listsInterfaces = false;
    bool listsDlts = false;
    bool listsArguments = false;
    bool captures = false;
    std::string interface;
    std::string wiresharkVersion; ///< All are told the same.
    std::optional<std::string> filter;
    std::string fifo;
    std::string file;
};

/// What interfaces are called: "vesk-file"; "vesk-VIDEO.VCTL" after the socket of a service, and
/// "vesk-VIDEO.VCTL@a1B2c3" if it is in the directory of that suffix that "with-device" has made.
constexpr char kFile[] = "vesk-file";
constexpr std::string_view kServicePrefix = "vesk-";

std::string DevicePath(const std::string& suffix)
{
    return TemporaryDirectory() + '/' + kOwnDirectory + suffix;
}

/// A part of a socket's name, in which bytes other than letters, digits, - and _ are "%2F".
std::string Unescaped(const std::string& text)
{
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isEscape = text[i] == '%';
        plain +=
            isEscape ? static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16)) : text[i];
        i += isEscape ? 2 : 0;
    }
    return plain;
}

/// "VIDEO/VCTL" from "VIDEO.VCTL". Nothing if that is no socket's name, or an application's.
std::optional<std::string> ServiceAt(const std::string& socketName)
{
    const size_t dot = socketName.find('.');
    if (dot == 0 || dot == socketName.npos || socketName.substr(dot + 1) == kOwnTaskName)
        return std::nullopt;
    return Unescaped(socketName.substr(0, dot)) + '/' + Unescaped(socketName.substr(dot + 1));
}

/// Whether a process listens. It does not notice: a socket of another type than its own is refused.
bool IsServed(const fs::path& socketFile)
{
    const Descriptor probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketFile.string().copy(address.sun_path, sizeof address.sun_path - 1);
    return connect(probe.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
           errno == EPROTOTYPE;
}

void PrintInterface(const std::string& name, std::string shown)
{
    std::replace(shown.begin(), shown.end(), '}', ')'); // which would end it
    PrintLine("interface {value=" + name + "}{display=" + shown + '}');
}

/// Prints the services of the runtime directory and returns where that is.
fs::path PrintServices(const std::string& nameEnd, const std::string& shownEnd)
{
    const Descriptor directory(HostMsgOpenRuntimeDir());
    if (!directory.IsOpen())
        return {};
    const fs::path path = "/proc/self/fd/" + std::to_string(directory.Get()); // short enough for an address
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        const std::string name = entry.path().filename().string();
        const std::optional<std::string> service = ServiceAt(name);
        if (service && IsServed(entry.path()))
            PrintInterface(std::string(kServicePrefix).append(name + nameEnd),
                           "Video service " + *service + shownEnd);
    }
    return fs::read_symlink(path);
}

void PrintInterfaces()
{
    OsMsgRegLogFunc([](uint32_t, const char*) {}); // others may have directories of such names
    PrintLine("extcap {version=" + std::string(kVersion) + '}');
    const fs::path own = PrintServices("", "");
    std::error_code error; // without such a directory there is no device in it
    for (const fs::directory_entry& entry : fs::directory_iterator(TemporaryDirectory(), error)) {
        const std::string name = entry.path().filename().string();
        std::error_code none; // without one of the two, they are not the same
        if (!name.starts_with(kOwnDirectory) || fs::equivalent(entry.path(), own, none))
            continue;
        setenv("VESK_RUNTIME_DIR", entry.path().c_str(), 1);
        PrintServices('@' + name.substr(sizeof kOwnDirectory - 1), " in " + entry.path().string());
    }
    PrintInterface(kFile, "Video service: a recording as it grows");
}

/// Wireshark shows what is printed as the error in the filter.
void CheckFilter(Settings& settings, const std::string& filter)
try {
    decoder::Filter(settings.Decoder(), SplitWords(filter));
} catch (const Error& error) {
    PrintLine(error.what());
}

int Capture(Settings& settings, const Options& options)
{
    std::vector<std::string> words;
    if (options.interface == kFile) {
        if (options.file.empty())
            throw Failure(kUsage, std::string(kFile) + ": no recording is chosen");
        words = {"decode", "--follow", options.file};
    } else {
        const size_t at = options.interface.find('@');
        const bool hasPrefix = options.interface.starts_with(kServicePrefix);
        const auto service =
            ServiceAt(hasPrefix ? options.interface.substr(0, at).substr(kServicePrefix.size()) : "");
        if (!service)
            throw Failure(kUsage,
                          "'" + options.interface + "' is no interface; expected one of --extcap-interfaces");
        if (at != options.interface.npos)
            setenv("VESK_RUNTIME_DIR", DevicePath(options.interface.substr(at + 1)).c_str(), 1);
        words = {"--service=" + *service, "device", "watch"};
    }
    words.push_back("--output=" + options.fifo);
    for (const std::string& term : SplitWords(options.filter.value_or("")))
        words.push_back("--match=" + term);
    return ParseWords(DescribeTool(settings), words)();
}

int RunExtcap(Settings& settings, const Options& options)
{
    if (options.captures && !options.fifo.empty())
        return Capture(settings, options);
    if (options.listsInterfaces)
        PrintInterfaces();
    else if (options.listsDlts)
        PrintLine("dlt {number=" + std::to_string(recording::kLinkType) +
                  "}{name=WIRESHARK_UPPER_PDU}{display=Messages of the video service}");
    else if (options.listsArguments && options.interface == kFile)
        PrintLine(
            "arg {number=0}{call=--file}{display=Recording}{type=fileselect}{mustexist=true}{required=true}"
            "{tooltip=What VESK_TRACE_FILE names, or 'veskctl trace -o' has written}");
    else if (options.filter)
        CheckFilter(settings, *options.filter);
    else if (!options.listsArguments)
        throw Failure(kUsage, "vesk-extcap is for Wireshark; see --help");
    return kDone;
}

} // namespace

CommandLine DescribeExtcap(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "vesk-extcap",
        .summary = "Lets Wireshark capture the messages between applications and the video service.",
        .footer = "Wireshark runs it from its folder for extcap programs. veskctl(1) says more.",
        .options =
            {
                {.name = "--extcap-interfaces",
                 .place = &options->listsInterfaces,
                 .help = "List the running services, and the interface that reads a recording"},
                {.name = "--extcap-version",
                 .place = &options->wiresharkVersion,
                 .help = "Version of Wireshark"},
                {.name = "--extcap-interface", .place = &options->interface, .help = "One of the interfaces"},
                {.name = "--extcap-dlts", .place = &options->listsDlts, .help = "Show its link type"},
                {.name = "--extcap-config", .place = &options->listsArguments, .help = "Show its options"},
                {.name = "--capture", .place = &options->captures, .help = "Capture from it"},
                {.name = "--fifo", .place = &options->fifo, .help = "Pipe to capture into"},
                {.name = "--extcap-capture-filter",
                 .place = &options->filter,
                 .help =
                     "Only these messages: terms as of 'veskctl device watch --match', with spaces between "
                     "them. Without --capture, the filter is checked"},
                {.name = "--file", .place = &options->file, .help = "Recording that vesk-file reads"},
            },
        .run = [options, &settings] { return RunExtcap(settings, *options); },
        .version = kVersion,
    };
}

} // namespace vesk::ctl
