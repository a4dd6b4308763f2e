#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"

namespace {

TEST(ConsoleMenu, NestedMenusLeaveSilentlyTheMainMenuRefusesAndAnEmptyLineExits) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    // Anything but digits leaves a nested menu without a word (0 leaves it in every dialogue
    // of the key tests).
    console.Send("1\n");
    console.Expect("Keys/Objects - Generate\n\n");
    console.Expect("Option : ");
    const size_t before = console.Output().size();
    console.Send("abc\n");
    console.Expect("Main Menu\n\n");
    EXPECT_EQ(console.Output().find("Invalid option.", before), std::string::npos);
    console.Expect("Option : ");

    // The main menu, unlike a nested one, answers them; an empty line exits.
    for (const char *choice : {"abc\n", "52\n", "17\n"}) {
        SCOPED_TRACE(choice);
        console.Send(choice);
        console.Expect("\n\nInvalid option.\n");
        Answer(console, "\nPress ENTER key to continue...\n\n", "\n");
        console.Expect("Main Menu\n\n");
        console.Expect("Option : ");
    }
    console.Send("\n");
    EXPECT_EQ(console.WaitExit(), 0);
}

// Below 5.0.35.0 the item is hidden (the firmware read from the HSM's own version text; the
// item shown from 5.0.35.0 on is the safe-keeping tests' way in); there the HSM is then lost,
// which ends the console.
TEST(ConsoleMenu, SafeKeepingNeedsFirmware5_0_35_0AndALostSessionEndsTheConsoleWithMinusOne) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--firmware", "5.0.34.99"}});
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    EXPECT_NE(console.Output().find("Engine 5.0.34.99-orvena-sim"), std::string::npos);
    EXPECT_EQ(console.Output().find("Safe Keeping..."), std::string::npos);
    sim.Kill();
    console.Send("1\n");
    console.Expect("\nError session expired. ");
    EXPECT_EQ(console.WaitExit(), 255);
    EXPECT_EQ(console.Output().find("Keys/Objects - Generate"), std::string::npos);
}

}  // namespace
