// veskctl: shows, sends and watches the messages between applications and the video service.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"

int main(int argc, char** argv)
try {
    vesk::HoldStandardStreams();
    vesk::ctl::Settings settings;
    vesk::CommandLine program = vesk::ctl::DescribeTool(settings);
#ifdef VESK_HOST_PLATFORM
    if (argc > 0 && std::string_view(argv[0]).ends_with("vesk-extcap"))
        program = vesk::ctl::DescribeExtcap(settings);
#endif
    const int status = vesk::ParseProgram(program, argc, argv)();
    vesk::Flush();
    return status;
} catch (const vesk::ctl::Failure& failure) {
    vesk::ctl::PrintError(failure);
    return failure.status;
} catch (const vesk::Error& error) {
    vesk::ctl::PrintError(error);
    return vesk::ctl::kFailed;
} catch (const std::exception& error) {
    vesk::ctl::PrintError(error.what());
    return vesk::ctl::kFailed;
}
