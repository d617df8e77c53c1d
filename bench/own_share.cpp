// The library's own share of a call: the time of an exported function less that of the platform's send.
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/table.h"
#include "platform/os_msg.h"
#include "vesk_video/vesk_video.h"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

void Expect(uint32_t result)
{
    if (result != 0)
        Fail("a call over the instant platform returned " + std::to_string(result));
}

void CallPlatform(OsMsgEnvelope& envelope)
{
    OsMsgEnvelope* response = nullptr;
    Expect(OsMsgSynSend(&envelope, &response, VESK_VIDEO_SYNC_TIMEOUT));
    OsMsgSynRespFree(response);
}

} // namespace

Table MeasureOwnShare(bool quick)
{
    static VeskVideoVoMultiPicParam composition{};
    const struct {
        const char* text;
        uint32_t msgId;
        void (*call)();
    } cases[] = {
        {"VeskVideoVoStart, 24/24", VESK_VIDEO_MSG_VO_START, [] { Expect(VeskVideoVoStart(1)); }},
        {"VeskVideoGetVoCount, 24/28", VESK_VIDEO_MSG_GET_VO_COUNT,
         [] {
             uint32_t count = 0;
             Expect(VeskVideoGetVoCount(&count));
         }},
        {"VeskVideoVoSetSrc, 4632/24", VESK_VIDEO_MSG_SET_VO_SRC,
         [] { Expect(VeskVideoVoSetSrc(1, &composition)); }},
    };
    constexpr int kCalls = 10000;
    Table table{"The library's own share of a call, over a platform that answers at once, in ns",
                {"call, request/answer bytes", "whole call", "platform alone", "library"},
                {}};
    for (const auto& row : cases) {
        OsMsgEnvelope envelope{};
        envelope.msgId = row.msgId;
        const auto seconds = Interleave({[&] {
                                             for (int i = 0; i < kCalls; ++i)
                                                 row.call();
                                         },
                                         [&] {
                                             for (int i = 0; i < kCalls; ++i)
                                                 CallPlatform(envelope);
                                         }},
                                        quick ? 15 : 101);
        const double call = Median(seconds[0]) / kCalls * 1e9, platform = Median(seconds[1]) / kCalls * 1e9;
        table.rows.push_back({row.text, Rounded(call, 1), Rounded(platform, 1), Rounded(call - platform, 1)});
    }
    return table;
}

Table OwnShareTable(bool quick)
{
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    std::vector<std::string> command{"env", "LD_PRELOAD=" + (folder / VESK_INSTANT_PLATFORM).string(), "self",
                                     "own-share"};
    if (quick)
        command.emplace_back("--quick");
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        Fail("no pipe");
    const pid_t process = Start(command, {}, ends[1]);
    close(ends[1]);
    std::string text;
    char part[4096];
    for (ssize_t size = 0; (size = read(ends[0], part, sizeof part)) > 0;)
        text.append(part, static_cast<size_t>(size));
    close(ends[0]);
    Join(process);
    return ParseJson(text).front();
}

} // namespace vesk::bench
