// Any contents of the file of the service's clients: it is read, its clients are told, and it is replaced.
#include "fuzz.h"

#include "service/clients.h"

#include <fstream>

using namespace fuzz;
using namespace vesk::service;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string path = RuntimeDir() + "/VIDEO.VCTL.clients";
    FuzzedDataProvider input(bytes, size);
    std::string text;
    while (input.remaining_bytes() != 0) { // lines that are nearly right
        text += input.ConsumeRandomLengthString(20);
        text += input.PickValueInArray(
            {"\t", "\n", "\tVAPI\t1\n", "\tVAPI\t-1\n", "\tVAPI\t99999999999999999999\n"});
    }
    std::ofstream(path, std::ios::binary) << text;
    const Identity self{"VIDEO", "VCTL"};
    Watchers watchers(self);
    Clients read(self, watchers);
    read.Restore();
    for (const std::string& name : read.Names())
        read.Send(name, VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, vesk::BytesOf(VeskVideoMsgHead{}));
    CHECK(!read.IsKnown(""));
    const Result added = read.Add("added", "VAPI", HostProcessSelf());
    CHECK(added == kOk || added == VESK_SERVICE_ERR_BUSY || added == VESK_SERVICE_ERR_ROOM);
    Clients again(self, watchers);
    again.Restore();
    CHECK(added == VESK_SERVICE_ERR_ROOM || again.IsKnown("added"));
    return 0;
}
