#include <gtest/gtest.h>

#include <cstring>

#include "app/feature_flags.h"
#include "app/version_numbers.h"

namespace {

ProcessState StateFor(const char *firmware, const char *user, uint32_t acl) {
    ProcessState state{};
    state.firmwareVersion = FirmwareVersionNumber(firmware);
    strncpy(state.userId, user, sizeof state.userId - 1);
    state.userAcl = acl;
    return state;
}

TEST(AppFeatureFlags, FirmwareThresholdsAreInclusive) {
    ProcessState state = StateFor("3.9.0.2", "alice", 0x80);
    SetFeatureFlags(&state, false);
    EXPECT_TRUE(state.fwAtLeast_3_9_0_0);
    EXPECT_TRUE(state.fwAtLeast_3_9_0_2);
    EXPECT_FALSE(state.fwAtLeast_3_10_0_0);
    EXPECT_FALSE(state.fwAtLeast_4_0_0_0);

    state = StateFor("5.0.32.0", "alice", 0x80);
    SetFeatureFlags(&state, true);
    EXPECT_TRUE(state.fwAtLeast_3_10_0_0);
    EXPECT_TRUE(state.fwAtLeast_5_0_11_0);
    EXPECT_TRUE(state.fwAtLeast_5_0_27_0);
    EXPECT_TRUE(state.fwAtLeast_5_0_32_0);
    EXPECT_TRUE(state.smartCardLibLoaded);
}

TEST(AppFeatureFlags, Firmware5_0_27NeedsAnOperatorOrAnEftDaemonUser) {
    ProcessState user = StateFor("5.0.30.0", "alice", 0x20);
    SetFeatureFlags(&user, false);
    EXPECT_FALSE(user.fwAtLeast_5_0_27_0);
    EXPECT_FALSE(user.eftDaemonUser);

    ProcessState daemon = StateFor("5.0.30.0", "eftd01", 0);
    SetFeatureFlags(&daemon, false);
    EXPECT_TRUE(daemon.eftDaemonUser);
    EXPECT_TRUE(daemon.fwAtLeast_5_0_27_0);

    ProcessState almost = StateFor("5.0.30.0", "eftd1", 0);
    SetFeatureFlags(&almost, false);
    EXPECT_FALSE(almost.eftDaemonUser);
}

}  // namespace
