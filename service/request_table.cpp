// The service's dispatch: number, name, and the function that serves the request. What a request and
// its answer carry is read off that function's arguments.
#include "service/request_table.h"

#include "service/service.h"
#include "vesk_video/messages.h"

#include <cstring>
#include <iterator>

namespace vesk::service {

namespace {

using Bytes = std::vector<std::byte>;

template <class Record>
void Append(Bytes& answer, std::span<const Record> records)
{
    const auto bytes = std::as_bytes(records);
    answer.insert(answer.end(), bytes.begin(), bytes.end());
}

// One overload for each shape of serving function: what it takes, what it gives.

template <class Part>
constexpr uint32_t PayloadSize(Result (Part::*)(const Request&))
{
    return 0;
}

template <class Part>
Result Call(Part& part, Result (Part::*serve)(const Request&), const Request& request, Bytes&)
{
    return (part.*serve)(request);
}

template <class Part, class Record>
constexpr uint32_t PayloadSize(Result (Part::*)(const Request&, const Record&))
{
    return sizeof(Record);
}

template <class Part, class Record>
Result Call(Part& part, Result (Part::*serve)(const Request&, const Record&), const Request& request, Bytes&)
{
    Record payload;
    std::memcpy(&payload, request.payload.data(), sizeof payload);
    return (part.*serve)(request, payload);
}

template <class Part, class Record>
constexpr uint32_t PayloadSize(Result (Part::*)(const Request&, Record*))
{
    return 0;
}

template <class Part, class Record>
Result Call(Part& part, Result (Part::*serve)(const Request&, Record*), const Request& request, Bytes& answer)
{
    Record record{};
    const Result result = (part.*serve)(request, &record);
    if (result == kOk)
        Append(answer, std::span<const Record>(&record, 1));
    return result;
}

template <class Part, class Record>
Result Call(Part& part, Result (Part::*serve)(const Request&, std::vector<Record>*), const Request& request,
            Bytes& answer)
{
    std::vector<Record> records;
    const Result result = (part.*serve)(request, &records);
    if (result == kOk)
        Append(answer, std::span<const Record>(records));
    return result;
}

/// One row: a request, the part of the service that serves it, and that part's function.
#define SERVED(request, part, function)                                                                      \
    {                                                                                                        \
        request, #request, PayloadSize(&function), [](Service& service, const Request& in, Bytes& answer) {  \
            return Call(part, &function, in, answer);                                                        \
        }                                                                                                    \
    }

constexpr ServedRequest kServed[] = {
    SERVED(VESK_VIDEO_MSG_INIT, service, Service::Init),
    SERVED(VESK_VIDEO_MSG_EXIT, service, Service::Exit),
    SERVED(VESK_VIDEO_MSG_GET_VO_COUNT, service.outputs, Outputs::GetCount),
    SERVED(VESK_VIDEO_MSG_GET_VO_PORT, service.outputs, Outputs::GetPorts),
    SERVED(VESK_VIDEO_MSG_OPEN_VO_PORT, service.outputs, Outputs::Open),
    SERVED(VESK_VIDEO_MSG_SET_VO_PARAM, service.outputs, Outputs::SetParam),
    SERVED(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE, service.outputs, Outputs::SetQueue),
    SERVED(VESK_VIDEO_MSG_GET_VO_PARAM, service.outputs, Outputs::GetParam),
    SERVED(VESK_VIDEO_MSG_SET_SCREEN_OFFSET, service.outputs, Outputs::SetOffset),
    SERVED(VESK_VIDEO_MSG_VO_START, service.outputs, Outputs::Start),
    SERVED(VESK_VIDEO_MSG_VO_STOP, service.outputs, Outputs::Stop),
    SERVED(VESK_VIDEO_MSG_VO_CLOSE, service.outputs, Outputs::Close),
    SERVED(VESK_VIDEO_MSG_VO_ENABLE, service.outputs, Outputs::Enable),
    SERVED(VESK_VIDEO_MSG_VO_DISABLE, service.outputs, Outputs::Disable),
    SERVED(VESK_VIDEO_MSG_SET_CALLBACK, service, Service::SetCallback),
};

} // namespace

const ServedRequest* FindRequest(uint32_t number)
{
    for (const ServedRequest& served : kServed) {
        if (served.number == number)
            return &served;
    }
    return nullptr;
}

} // namespace vesk::service
