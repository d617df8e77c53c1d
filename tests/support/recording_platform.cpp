#include "support/recording_platform.h"

#include "platform/os_log.h"
#include "platform/os_queue.h"
#include "platform/os_sysctrl.h"
#include "platform/secure_memory.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <semaphore>
#include <sstream>

namespace {

// The receive thread of the library and the test's own thread come here at once.
std::mutex g_lock;
std::counting_semaphore<> g_routineRuns(0);
constexpr uint32_t kThreshold = 77;
constexpr uint32_t kLogId = 88;

__attribute__((format(printf, 6, 0))) void Record(bool isExpected, char sink, uint32_t level,
                                                  const char* origin, uint32_t line, const char* format,
                                                  va_list values)
{
    if (Get().isQuiet)
        return;
    if (!isExpected || line == 0)
        std::abort();
    char text[8192];
    std::vsnprintf(text, sizeof text, format, values);
    const std::lock_guard guard(g_lock);
    Get().lines.push_back(sink + std::to_string(level) + ' ' + origin + ' ' + text);
    Get().formats.push_back(format);
    Get().sourceLines.push_back(line);
}

template <class... Arguments>
uint32_t Called(const char* function, const Arguments&... arguments)
{
    std::ostringstream call;
    call << function;
    ((call << ' ' << arguments), ...);
    const std::lock_guard guard(g_lock);
    Get().calls.push_back(call.str());
    const auto result = Get().results.find(function);
    return result != Get().results.end() ? result->second : 0;
}

void Keep(const OsMsgEnvelope& envelope, uint32_t timeout)
{
    const auto* data = static_cast<const std::byte*>(envelope.data);
    Get().sent.push_back({envelope, Bytes(data, data + envelope.dataLen), timeout});
}

/// An answer that the library holds, in a block of exactly its length, so that reading past it is seen.
struct Handed : OsMsgEnvelope {
    Bytes bytes;
};

} // namespace

Platform& Get()
{
    static auto& platform = *new Platform;
    return platform;
}

void Reset(uint16_t result, const Bytes& payload)
{
    const std::lock_guard guard(g_lock);
    Get() = Platform{};
    Get().answer = [=](const Sent&) { return Answer{0, Block({0, 0, result, 0, 0, 0}, payload)}; };
    Get().results["OsMsgAsynSend"] = result;
}

bool AwaitRoutine()
{
    return g_routineRuns.try_acquire_for(std::chrono::seconds(10));
}

size_t Times(const std::string& what)
{
    return size_t(std::ranges::count(Get().lines, what) + std::ranges::count(Get().calls, what));
}

Lines RequestLines()
{
    Lines lines = Get().lines;
    std::erase_if(lines, [](const std::string& line) {
        const std::string origin = line.substr(3, line.find(' ', 3) - 3);
        return origin.starts_with("VeskVideoSend") || origin.starts_with("VeskVideoH") ||
               origin == "zora_msg_adapt";
    });
    return lines;
}

Bytes Block(const VeskVideoMsgHead& head, const Bytes& payload)
{
    Bytes block = BytesOf(head);
    block.insert(block.end(), payload.begin(), payload.end());
    return block;
}

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
    va_list values;
    va_start(values, format);
    const bool isExpected = threshold == kThreshold && std::strcmp(module, "ZORA") == 0;
    Record(isExpected, 'T', level, function, line, format, values);
    va_end(values);
}

void VeskOmLogModuleLogRecord(uint32_t level, uint32_t logId, const char* source, uint32_t sourceLen,
                              uint32_t line, const char* format, ...)
{
    va_list values;
    va_start(values, format);
    const bool isExpected = logId == kLogId && std::strlen(source) == sourceLen;
    Record(isExpected, 'L', level, source, line, format, values);
    va_end(values);
}

uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs)
{
    if (Get().isQuiet)
        return 1;
    Keep(*envelope, timeoutMs);
    envelope->data = nullptr; // a platform may do so
    const Answer answer = Get().answer(Get().sent.back());
    if (answer.data) {
        auto* handed = new Handed{{}, *answer.data};
        handed->dataLen = answer.statedLength.value_or(handed->bytes.size());
        handed->data = handed->bytes.data();
        *response = handed;
        ++Get().unreleased;
    }
    return answer.sendResult;
}

void OsMsgSynRespFree(OsMsgEnvelope* response)
{
    --Get().unreleased;
    delete static_cast<Handed*>(response);
}

uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope)
{
    Keep(*envelope, 0);
    envelope->data = envelope; // or so
    return Called(__func__);
}

uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*))
{
    Get().handler = msgProc;
    return Called(__func__, taskName, queueDepth);
}

void OsMsgTaskRoutineByName(const char* taskName)
{
    Called(__func__, taskName);
    g_routineRuns.release();
}

void OsMsgSetLogLevel(uint32_t level)
{
    Called(__func__, level);
}
void OsMsgRegLogFunc(void (*logFunc)(uint32_t, const char*))
{
    Get().logFunction = logFunc;
}

int32_t OsSetProcessAffinity(uint32_t threadId, const cpu_set_t* cpuSet, uint32_t)
{
    return static_cast<int32_t>(Called(__func__, threadId, cpuSet->__bits[0]));
}

uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId)
{
    const uint32_t result = Called(__func__, request->name, request->id, request->cnt);
    if (const auto during = Get().duringCreateQueue)
        during();
    if (result == 0)
        *queueId = 500;
    return result;
}

uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName)
{
    return Called(__func__, queueId, peerProcName);
}

uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable)
{
    return Called(__func__, queueId, enable);
}

int memcpy_s(void* dest, size_t destMax, const void* src, size_t count)
{
    if (dest == nullptr || src == nullptr || count > destMax || --Get().failingCopy == 0)
        return -1;
    std::memcpy(dest, src, count);
    return 0;
}

int memset_s(void* dest, size_t destMax, int value, size_t count)
{
    if (dest == nullptr || count > destMax || --Get().failingSet == 0)
        return -1;
    std::memset(dest, value, count);
    return 0;
}
