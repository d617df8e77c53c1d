#include "support/recording_platform.h"

#include "platform/os_log.h"
#include "platform/os_sysctrl.h"
#include "platform/secure_memory.h"

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace recording {

namespace {

// The receive thread of the library and the test's own thread come here at once.
std::mutex g_lock;
std::string g_routine; // the task whose loop was run last
std::condition_variable g_routineRuns;
constexpr uint32_t kThreshold = 77;
constexpr uint32_t kLogId = 88;

__attribute__((format(printf, 3, 0))) void Record(const std::string& origin, uint32_t line,
                                                  const char* format, va_list values)
{
    char text[8192];
    std::vsnprintf(text, sizeof text, format, values);
    const std::lock_guard guard(g_lock);
    Get().lines.push_back(origin + text);
    Get().formats.push_back(format);
    Get().sourceLines.push_back(line);
}

Sent Copy(const OsMsgEnvelope& envelope)
{
    Sent sent;
    sent.envelope = envelope;
    const auto* data = static_cast<const std::byte*>(envelope.data);
    sent.data.assign(data, data + envelope.dataLen);
    return sent;
}

bool Fails(int& countdown)
{
    return countdown > 0 && --countdown == 0;
}

} // namespace

Platform& Get()
{
    static auto& platform = *new Platform;
    return platform;
}

void Reset()
{
    const std::lock_guard guard(g_lock);
    Get() = Platform{};
    g_routine.clear();
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(0)}; };
}

std::string AwaitRoutine()
{
    std::unique_lock guard(g_lock);
    g_routineRuns.wait_for(guard, std::chrono::seconds(10), [] { return !g_routine.empty(); });
    return g_routine;
}

std::vector<std::string> RequestLines()
{
    std::vector<std::string> lines;
    for (const std::string& line : Get().lines) {
        const std::string origin = line.substr(3, line.find(' ', 3) - 3);
        if (!origin.starts_with("VeskVideoSend") && !origin.starts_with("VeskVideoH") &&
            origin != "zora_msg_adapt")
            lines.push_back(line);
    }
    return lines;
}

VeskVideoMsgHead Sent::Head() const
{
    VeskVideoMsgHead head;
    std::memcpy(&head, data.data(), sizeof head);
    return head;
}

Bytes AnswerBytes(uint16_t result, const Bytes& payload)
{
    VeskVideoMsgHead head{};
    head.uwSubMsgID = result;
    Bytes bytes = BytesOf(head);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

} // namespace recording

using namespace recording;

uint32_t ZORA_GetVideoTracLevel(void)
{
    return kThreshold;
}
uint32_t VeskVideoGetPrivateLogId(uint32_t index)
{
    return kLogId + index;
}

void ZORA_Trace(uint32_t threshold, uint32_t level, const char* module, const char* function, uint32_t line,
                const char* format, ...)
{
    if (Get().isQuiet)
        return;
    if (threshold != kThreshold || std::strcmp(module, "ZORA") != 0 || line == 0)
        std::abort();
    va_list values;
    va_start(values, format);
    Record('T' + std::to_string(level) + ' ' + function + ' ', line, format, values);
    va_end(values);
}

void VeskOmLogModuleLogRecord(uint32_t level, uint32_t logId, const char* source, uint32_t sourceLen,
                              uint32_t line, const char* format, ...)
{
    if (Get().isQuiet)
        return;
    if (logId != kLogId || std::strlen(source) != sourceLen || line == 0)
        std::abort();
    va_list values;
    va_start(values, format);
    Record('L' + std::to_string(level) + ' ' + source + ' ', line, format, values);
    va_end(values);
}

uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs)
{
    if (Get().isQuiet)
        return 1;
    Sent sent = Copy(*envelope);
    sent.isSynchronous = true;
    sent.timeout = timeoutMs;
    Get().sent.push_back(sent);
    const Answer answer = Get().answer(sent);
    if (answer.data || answer.statedLength) {
        auto* handed = static_cast<OsMsgEnvelope*>(std::calloc(1, sizeof(OsMsgEnvelope)));
        handed->dataLen = answer.statedLength.value_or(answer.data ? uint32_t(answer.data->size()) : 0);
        if (answer.data) {
            handed->data = std::malloc(std::max<size_t>(answer.data->size(), 1)); // reading past it is seen
            std::copy(answer.data->begin(), answer.data->end(), static_cast<std::byte*>(handed->data));
        }
        *response = handed;
        ++Get().unreleased;
    }
    return answer.sendResult;
}

void OsMsgSynRespFree(OsMsgEnvelope* response)
{
    --Get().unreleased;
    std::free(response->data);
    std::free(response);
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    Get().sent.push_back(Copy(*envelope));
    return Get().asynResult;
}

uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*))
{
    Get().tasks.push_back({taskName, queueDepth, msgProc});
    return Get().regTaskResult;
}

void OsMsgTaskRoutineByName(const char* taskName)
{
    const std::lock_guard guard(g_lock);
    g_routine = taskName;
    g_routineRuns.notify_all();
}

void OsMsgSetLogLevel(uint32_t level)
{
    Get().logLevel = level;
}
void OsMsgRegLogFunc(void (*logFunc)(uint32_t, const char*))
{
    Get().logFunction = logFunc;
}

int32_t OsSetProcessAffinity(uint32_t threadId, const cpu_set_t* cpuSet, uint32_t)
{
    Get().affinities.emplace_back(threadId, *cpuSet);
    return Get().affinityResult;
}

uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId)
{
    Get().createdQueues.push_back(*request);
    if (const auto during = Get().duringCreateQueue)
        during();
    if (Get().createQueueResult == 0)
        *queueId = 500;
    return Get().createQueueResult;
}

uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName)
{
    Get().initialisedQueues.emplace_back(queueId, peerProcName);
    return Get().initQueueResult;
}

uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable)
{
    Get().activatedQueues.emplace_back(queueId, enable);
    return Get().activateQueueResult;
}

int memcpy_s(void* dest, size_t destMax, const void* src, size_t count)
{
    if (dest == nullptr || src == nullptr || count > destMax || Fails(Get().failingCopy))
        return -1;
    std::memcpy(dest, src, count);
    return 0;
}

int memset_s(void* dest, size_t destMax, int value, size_t count)
{
    if (dest == nullptr || count > destMax || Fails(Get().failingSet))
        return -1;
    std::memset(dest, value, count);
    return 0;
}
