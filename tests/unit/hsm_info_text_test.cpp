// The pure parts of the HSM information screen: the uptime split, centring and the
// names of the HSM's codes.
#include <gtest/gtest.h>

#include "console/scripted_terminal.h"
#include "hsm/info_text.h"
#include "qelvoarc.h"

namespace {

TEST(HsmInfoText, UptimeLosesSecondsUnderAMinuteWithoutMinutes) {
    struct Case {
        uint32_t uptime;
        UptimeSplit split;
    };
    const Case cases[] = {
        {3661, {0, 0, 0, 1, 1, 1}},
        {3601, {0, 0, 0, 1, 0, 0}},
        {3659, {0, 0, 0, 1, 0, 0}},
        {59, {0, 0, 0, 0, 0, 0}},
        // 360-day years and 30-day months.
        {31104000 + 2592000 * 2 + 86400 * 3 + 125, {1, 2, 3, 0, 2, 5}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.uptime);
        const UptimeSplit split = SplitUptime(c.uptime);
        EXPECT_EQ(split.years, c.split.years);
        EXPECT_EQ(split.months, c.split.months);
        EXPECT_EQ(split.days, c.split.days);
        EXPECT_EQ(split.hours, c.split.hours);
        EXPECT_EQ(split.minutes, c.split.minutes);
        EXPECT_EQ(split.seconds, c.split.seconds);
    }
}

TEST(HsmInfoText, TitlesCentreOnTheSeparatorAndListsAlignUnderTheValues) {
    ScriptedTerminal terminal;
    ScopedTerminal scoped(&terminal);
    PrintSectionTitle(17, "Status");           // 17 + 1 + 6 / 2 = 21 columns
    PrintSectionTitle(17, "Password Policy");  // 17 + 1 + 15 / 2 = 25 columns
    PrintUptime(17, 3661);
    PrintInfoList(17, "Routes", {});
    PrintInfoList(17, "Node List", {"10.0.0.1", "10.0.0.2"});
    EXPECT_EQ(terminal.out,
              "               Status\n\n"
              "          Password Policy\n\n"
              "           Uptime : 0 y, 0 m, 0 ds, 1 hs, 1 ms, 1 ss\n"
              "           Routes : None\n"
              "        Node List : 10.0.0.1\n"
              "                    10.0.0.2\n");
}

TEST(HsmInfoText, CodesOutsideTheirTablesHaveTheirOwnNames) {
    EXPECT_STREQ(OperationModeName(3), "FIPS and PCI-HSM");
    EXPECT_STREQ(OperationModeName(4), "Invalid Operation Mode");
    EXPECT_STREQ(ReplicationStateName(0), "Zeroed");
    EXPECT_STREQ(ReplicationStateName(6), "Live Sync");
    EXPECT_STREQ(ReplicationStateName(7), "Invalid");
    EXPECT_STREQ(SessionProtocolName(1), "clear");
    EXPECT_STREQ(SessionProtocolName(6), "TLSv1.2");
    EXPECT_STREQ(SessionProtocolName(Q_PROTOCOL_TLS1_3), "unknown");
    EXPECT_EQ(GmtText(0), "1970-01-01 00:00:00 GMT");
}

}  // namespace
