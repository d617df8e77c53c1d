// Bounds-checked memory functions.
#include "platform/secure_memory.h"

#include <cstring>

int memcpy_s(void* dest, size_t destMax, const void* src, size_t count)
{
    if (dest == nullptr || src == nullptr || count > destMax)
        return -1;
    std::memmove(dest, src, count);
    return 0;
}

int memset_s(void* dest, size_t destMax, int value, size_t count)
{
    if (dest == nullptr || count > destMax)
        return -1;
    std::memset(dest, value, count);
    return 0;
}
