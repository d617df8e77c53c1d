// The functions that do nothing, whatever they are given.
#include "support/request_table.h"

#include <gtest/gtest.h>

TEST(Stubs, SendNothingAndLogNothing)
{
    Reset();
    for (const auto stub :
         {VeskVideoReplaceInput, VeskVideoGetOrientation, VeskVideoCamGetPreset, VeskVideoCamGetPosition,
          VeskVideoRemoteMouseSetIndependent, VeskVideoRemoteMouseAttach, VeskVideoRemoteMouseForwardEnable,
          VeskVideoLocalMouseSetShowArea})
        EXPECT_EQ(stub(1, "any", 2.0) + stub(), 0U);
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_TRUE(Get().lines.empty());
}
