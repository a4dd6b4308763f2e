#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "device/device_session.h"
#include "device/owned_handle.h"

namespace {

std::vector<int> gReleased;

struct RecordRelease {
    void operator()(int handle) const { gReleased.push_back(handle); }
};
using Owned = OwnedHandle<int, RecordRelease>;

class AppOwnedHandle : public ::testing::Test {
  protected:
    void SetUp() override { gReleased.clear(); }
};

TEST_F(AppOwnedHandle, ReleasesExactlyOnceAndNeverWhenEmpty) {
    { Owned empty; }
    EXPECT_TRUE(gReleased.empty());
    {
        Owned held(7);
        Owned moved(std::move(held));
        EXPECT_FALSE(held);
        Owned assigned;
        assigned = std::move(moved);
        EXPECT_EQ(assigned.Get(), 7);
    }
    EXPECT_EQ(gReleased, std::vector<int>{7});
}

TEST_F(AppOwnedHandle, OutReleasesThePreviousHandleAndReleaseGivesUpOwnership) {
    Owned held(3);
    *held.Out() = 4;
    EXPECT_EQ(gReleased, std::vector<int>{3});
    EXPECT_EQ(held.Release(), 4);
    held.Reset();
    Owned other(5);
    other = Owned(6);
    EXPECT_EQ(gReleased, (std::vector<int>{3, 5}));
}

TEST(AppDeviceSession, FlagsFromTheTwoSwitches) {
    EXPECT_EQ(DeviceSession::ComputeFlags(true, false, false), 1u);
    EXPECT_EQ(DeviceSession::ComputeFlags(false, false, false), 4u);
    EXPECT_EQ(DeviceSession::ComputeFlags(true, true, false), 9u);
    EXPECT_EQ(DeviceSession::ComputeFlags(false, true, false), 12u);
    EXPECT_EQ(DeviceSession::ComputeFlags(false, true, true), 28u);
    EXPECT_EQ(DeviceSession::ComputeFlags(true, false, true), 17u);
}

}  // namespace
