// The process and task names that other processes of the device know by number.
#include "platform/secure_memory.h"
#include "transport/envelope.h"
#include "transport/log.h"
#include "vesk_video/task.h"

#include <string_view>

namespace {

struct ProcessName {
    uint32_t number;
    char name[VESK_VIDEO_NAME_SIZE];
};

struct TaskName {
    uint32_t number;
    char process[VESK_VIDEO_NAME_SIZE];
    char name[VESK_VIDEO_NAME_SIZE];
};

constexpr ProcessName kProcessNames[] = {{0, "VIDEO"}, {1, "VIDEO_API"}};
constexpr TaskName kTaskNames[] = {{1, "VIDEO_API", "VAPI"}};

enum class Lookup { kFound, kUnknown, kTooLong };

template <class Entry, size_t count>
Lookup Find(const Entry (&table)[count], uint32_t number, char* buffer, uint32_t bufferLen)
{
    for (const Entry& entry : table) {
        if (entry.number != number)
            continue;
        const std::string_view name(entry.name);
        const bool copied = memset_s(buffer, bufferLen, 0, bufferLen) == 0 &&
                            memcpy_s(buffer, bufferLen, name.data(), name.size()) == 0;
        return copied ? Lookup::kFound : Lookup::kTooLong;
    }
    return Lookup::kUnknown;
}

} // namespace

uint32_t VeskVideoSearchProcName(char* nameBuf, uint32_t procId, uint32_t nameBufLen)
{
    if (nameBuf == nullptr) {
        TRACE(kError, "proc name is nullptr");
        return VESK_VIDEO_ERR_FAILURE;
    }
    const Lookup lookup = Find(kProcessNames, procId, nameBuf, nameBufLen);
    if (lookup == Lookup::kTooLong)
        TRACE(kError, "search procname fail");
    return lookup == Lookup::kFound ? VESK_VIDEO_OK : VESK_VIDEO_ERR_FAILURE;
}

uint32_t VeskVideoSearchTaskName(char* nameBuf, uint32_t taskId, uint32_t nameBufLen)
{
    if (nameBuf == nullptr) {
        TRACE(kError, "task name is nullptr");
        return VESK_VIDEO_ERR_FAILURE;
    }
    const Lookup lookup = Find(kTaskNames, taskId, nameBuf, nameBufLen);
    if (lookup == Lookup::kTooLong)
        TRACE(kError, "search taskname fail");
    return lookup == Lookup::kFound ? VESK_VIDEO_OK : VESK_VIDEO_ERR_FAILURE;
}
