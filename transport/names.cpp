// The process and task names that other processes of the device know by number.
#include "platform/secure_memory.h"
#include "transport/log.h"
#include "vesk_video/task.h"

#include <string_view>

namespace {

struct NumberedName {
    uint32_t number;
    char name[VESK_VIDEO_NAME_SIZE];
};

constexpr NumberedName kProcessNames[] = {{0, "VIDEO"}, {1, "VIDEO_API"}};
constexpr NumberedName kTaskNames[] = {{1, "VAPI"}};

enum class Outcome { kFound, kUnknown, kNoBuffer, kTooLong };

template <size_t count>
Outcome Search(const NumberedName (&table)[count], uint32_t number, char* buffer, uint32_t bufferLen)
{
    if (buffer == nullptr)
        return Outcome::kNoBuffer;
    for (const NumberedName& entry : table) {
        if (entry.number != number)
            continue;
        const std::string_view name(entry.name);
        const bool isCopied = memset_s(buffer, bufferLen, 0, bufferLen) == 0 &&
                              memcpy_s(buffer, bufferLen, name.data(), name.size()) == 0;
        return isCopied ? Outcome::kFound : Outcome::kTooLong;
    }
    return Outcome::kUnknown;
}

uint32_t ResultOf(Outcome outcome)
{
    return outcome == Outcome::kFound ? VESK_VIDEO_OK : VESK_VIDEO_ERR_FAILURE;
}

} // namespace

uint32_t VeskVideoSearchProcName(char* nameBuf, uint32_t procId, uint32_t nameBufLen)
{
    const Outcome outcome = Search(kProcessNames, procId, nameBuf, nameBufLen);
    if (outcome == Outcome::kNoBuffer)
        TRACE(kError, "proc name is nullptr");
    if (outcome == Outcome::kTooLong)
        TRACE(kError, "search procname fail");
    return ResultOf(outcome);
}

uint32_t VeskVideoSearchTaskName(char* nameBuf, uint32_t taskId, uint32_t nameBufLen)
{
    const Outcome outcome = Search(kTaskNames, taskId, nameBuf, nameBufLen);
    if (outcome == Outcome::kNoBuffer)
        TRACE(kError, "task name is nullptr");
    if (outcome == Outcome::kTooLong)
        TRACE(kError, "search taskname fail");
    return ResultOf(outcome);
}
