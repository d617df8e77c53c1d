// The host's bounds-checked memory functions.
#include "platform/secure_memory.h"

#include <gtest/gtest.h>

#include <string>

TEST(HostMemory, CountsAreHeldToTheCapacity)
{
    char buffer[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(memcpy_s(buffer, 2, "xyz", 2), 0);
    EXPECT_NE(memcpy_s(buffer, 2, "123", 3), 0);
    EXPECT_NE(memcpy_s(nullptr, 2, "1", 1), 0);
    EXPECT_NE(memcpy_s(buffer, 2, nullptr, 1), 0);
    EXPECT_EQ(std::string(buffer, 4), "xycd");
    EXPECT_EQ(memset_s(buffer, 4, '-', 4), 0);
    EXPECT_NE(memset_s(buffer, 4, '+', 5), 0);
    EXPECT_NE(memset_s(nullptr, 4, '+', 1), 0);
    EXPECT_EQ(std::string(buffer, 4), "----");
}
