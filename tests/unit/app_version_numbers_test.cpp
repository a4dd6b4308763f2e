#include <gtest/gtest.h>

#include <cstring>

#include "app/process_state.h"
#include "app/version_numbers.h"

namespace {

TEST(AppVersionNumbers, FirmwareVersionNumberGivesThreeDigitsPerPart) {
    EXPECT_EQ(FirmwareVersionNumber("5.0.27.0"), 5000027000ULL);
    EXPECT_EQ(FirmwareVersionNumber("3.10.0.0"), 3010000000ULL);
    EXPECT_EQ(FirmwareVersionNumber("5.0.34.99"), 5000034099ULL);
    EXPECT_EQ(FirmwareVersionNumber("4.0.0.0"), 4000000000ULL);
    EXPECT_EQ(FirmwareVersionNumber(""), 0ULL);
    EXPECT_LT(FirmwareVersionNumber("3.9.0.2"), FirmwareVersionNumber("3.10.0.0"));
    // Far too many digits must not index past the table of powers.
    EXPECT_GT(FirmwareVersionNumber("1.2.3.4.5.6.7.8"), 0ULL);
}

TEST(AppVersionNumbers, FirmwareAtLeastComparesWithTheHsmVersion) {
    const uint64_t saved = gState.firmwareVersion;
    gState.firmwareVersion = FirmwareVersionNumber("5.0.34.99");
    EXPECT_FALSE(FirmwareAtLeast("5.0.35.0"));
    EXPECT_TRUE(FirmwareAtLeast("5.0.34.99"));
    EXPECT_TRUE(FirmwareAtLeast("5.0.32.0"));
    gState.firmwareVersion = saved;
}

TEST(AppVersionNumbers, CompareLibraryVersionFirstDifferingPartDecides) {
    const uint32_t recommended[4] = {1, 0, 65, 101};
    const uint32_t newer[4] = {4, 14, 0, 0};
    const uint32_t older[4] = {1, 0, 65, 55};
    const uint32_t olderMajorNewerRest[4] = {0, 99, 99, 999};
    EXPECT_EQ(CompareLibraryVersion(newer, recommended), 1);
    EXPECT_EQ(CompareLibraryVersion(older, recommended), -1);
    EXPECT_EQ(CompareLibraryVersion(olderMajorNewerRest, recommended), -1);
    EXPECT_EQ(CompareLibraryVersion(recommended, recommended), 0);
}

TEST(AppVersionNumbers, FirmwareVersionIsTakenFromTheVersionText) {
    char out[64];
    ExtractFirmwareVersion(
        "Orvena X1 Core Crypto Engine 5.0.35.0-orvena-sim|X1 Serial:42 (simulated)", out,
        sizeof out);
    EXPECT_STREQ(out, "5.0.35.0");
    ExtractFirmwareVersion("Core Crypto Engine 4.1.2.3 build", out, sizeof out);
    EXPECT_STREQ(out, "4.1.2.3");
    ExtractFirmwareVersion("no version here", out, sizeof out);
    EXPECT_STREQ(out, "");
}

TEST(AppVersionNumbers, VersionTextIsShortenedForTheHeader) {
    char text[1025];
    strcpy(text, "Orvena X1 Core Crypto Engine 5.0.35.0-orvena-sim|X1 Serial:42 (simulated) extra");
    ShortenVersionText(text, sizeof text);
    EXPECT_STREQ(text, "Engine 5.0.35.0-orvena-sim - X1 Serial:42 (simulated)");

    strcpy(text, "Model A|rev 2");
    ShortenVersionText(text, sizeof text);
    EXPECT_STREQ(text, "Model A - rev 2");
}

}  // namespace
