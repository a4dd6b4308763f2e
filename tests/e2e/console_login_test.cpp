#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"

namespace {

const char kSessionLineTail[] =
    " - Engine 5.1.0.0-orvena-sim - ORV-9000 Serial:OV00000001 (simulated) - ";

// ACL words of users that must log in with their second factor.
const char kOathSecondFactor[] = "536870912";  // 0x20000000
const char kX509SecondFactor[] = "268435456";  // 0x10000000

void ExitFromMainMenu(PtyDriver &console) {
    console.Send("0\n");
    EXPECT_EQ(console.WaitExit(), 0);
}

TEST(ConsoleLogin, PasswordLoginShowsTheSessionLineAndExitEndsWithZero) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    console.Expect("\nHSM Orvena IP : 127.0.0.1\nHSM User ID : masterHSM User Password :");
    console.SendSecret(sim.initPassword() + "\n");
    console.Expect(std::string(sim.initPassword().size(), '*'));
    console.Expect("\n\nConnecting...\n\n");
    console.Expect(std::string("HSM 127.0.0.1 e") + kSessionLineTail +
                   "ID master\n\nMain Menu\n\n");
    console.Expect("\n 0 - Exit\n\nOption : ");
    EXPECT_EQ(console.Output().find(sim.initPassword()), std::string::npos);
    ExitFromMainMenu(console);
}

TEST(ConsoleLogin, WrongPasswordEndsWithTheLibraryCode) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    console.Expect("HSM User Password :");
    console.SendSecret("Not#The#Password\n");
    console.Expect("\nError opening session. Invalid user or password. (1012)\n");
    EXPECT_EQ(console.WaitExit(), ExitStatusOf(1012));
}

TEST(ConsoleLogin, OtpIsAskedWithDashOAndTheArgumentAfterItIsSkipped) {
    SimProcess sim;
    const std::string seed = "3132333435363738393031323334353637383930";
    ASSERT_EQ(sim.Simctl({"add-user", "carol", "Carol#12345", "--acl", kOathSecondFactor}), 0);
    ASSERT_EQ(sim.Simctl({"set-otp", "carol", "hotp", seed}), 0);

    // "123456" is not an OTP and "-c" after it still counts.
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "carol", {"-o", "123456", "-c"}));
    console.Expect("HSM User Password :");
    console.SendSecret("Carol#12345\n");
    console.Expect("\nOTP [optional, ENTER for none] : ");
    console.Send(Hotp(seed, 0) + "\n");
    console.Expect(std::string("HSM 127.0.0.1 c") + kSessionLineTail + "ID carol");
    console.Expect("Option : ");
    ExitFromMainMenu(console);

    PtyDriver withoutOtp(TARSEL_PATH, ConsoleArgs(sim, "carol", {"-o"}));
    withoutOtp.Expect("HSM User Password :");
    withoutOtp.SendSecret("Carol#12345\n");
    withoutOtp.Expect("OTP [optional, ENTER for none] : ");
    withoutOtp.Send("\n");
    withoutOtp.Expect("\nError opening session. ");
    EXPECT_NE(withoutOtp.WaitExit(), 0);
}

TEST(ConsoleLogin, MutualTlsReadsTheFilesAndForcesTls) {
    SimProcess sim;
    ScratchDir dir;
    const std::string key = dir.Path("client.key");
    const std::string cert = dir.Path("client.crt");
    WriteClientKeyAndCertificate(key, cert);
    ASSERT_EQ(sim.Simctl({"add-user", "dave", "Dave#123456", "--acl", kX509SecondFactor}), 0);
    ASSERT_EQ(sim.Simctl({"set-cert", "dave", cert}), 0);
    const std::string hsmCert = sim.dataDir() + "/tls.crt";

    PtyDriver console(
        TARSEL_PATH,
        ConsoleArgs(sim, "dave", {"-c", "-pri", key, "-pri_cer", cert, "-hsm_cer", hsmCert}));
    console.Expect("HSM User ID : davePrivate key password :");
    console.SendSecret("\n");
    console.Expect("\nHSM User Password :");
    console.SendSecret("Dave#123456\n");
    console.Expect(std::string("HSM 127.0.0.1 e") + kSessionLineTail + "ID dave");
    console.Expect("Option : ");
    ExitFromMainMenu(console);

    const std::string missing = dir.Path("missing.key");
    PtyDriver unreadable(
        TARSEL_PATH,
        ConsoleArgs(sim, "dave", {"-pri", missing, "-pri_cer", cert, "-hsm_cer", hsmCert}));
    unreadable.Expect("Error opening the file. " + missing + "\n");
    EXPECT_EQ(unreadable.WaitExit(), 1);
}

TEST(ConsoleLogin, AccessTokenLoginTakesTheUserFromTheToken) {
    SimProcess sim;
    std::string token;
    ASSERT_EQ(sim.Simctl({"add-token", "master"}, &token), 0);
    token.erase(token.find_last_not_of("\r\n") + 1);

    PtyDriver console(TARSEL_PATH, {"127.0.0.1", "-a", token, "-p", std::to_string(sim.port())});
    console.Expect(
        "\nHSM Orvena IP : 127.0.0.1\nHSM User ID : master\n\nUsing access token "
        "authentication.\n\nConnecting...\n\n");
    console.Expect(std::string(kSessionLineTail) + "AT master");
    console.Expect("Option : ");
    EXPECT_EQ(console.Output().find("HSM User Password"), std::string::npos);
    ExitFromMainMenu(console);
}

TEST(ConsoleLogin, ExpiredPasswordIsChangedOrTheLoginFails) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "erin", "Erin#123456", "--acl", "0"}), 0);
    ASSERT_EQ(sim.Simctl({"expire-password", "erin"}), 0);
    const char kQuestion[] =
        "Your password is expired. Do you want to change your password now ([y]/n)?";

    PtyDriver declined(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    declined.Expect("HSM User Password :");
    declined.SendSecret("Erin#123456\n");
    declined.Expect(kQuestion);
    declined.Send("n\n");
    declined.Expect("\nError opening session. User password expired. (5178)\n");
    EXPECT_EQ(declined.WaitExit(), ExitStatusOf(5178));

    PtyDriver mismatched(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    mismatched.Expect("HSM User Password :");
    mismatched.SendSecret("Erin#123456\n");
    mismatched.Expect(kQuestion);
    mismatched.Send("y\n");
    mismatched.Expect("New Password:");
    mismatched.SendSecret("Erin#654321\n");
    mismatched.Expect("Confirm new password:");
    mismatched.SendSecret("Erin#000000\n");
    mismatched.Expect("Password differs from confirmation!");
    EXPECT_NE(mismatched.WaitExit(), 0);

    PtyDriver changed(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    changed.Expect("HSM User Password :");
    changed.SendSecret("Erin#123456\n");
    changed.Expect(kQuestion);
    changed.Send("\n");
    changed.Expect("\nNew Password:");
    changed.SendSecret("Erin#654321\n");
    changed.Expect("Confirm new password:");
    changed.SendSecret("Erin#654321\n");
    changed.Expect("\n\nPassword changed successfully.\n\n");
    changed.Expect("Option : ");
    ExitFromMainMenu(changed);

    PtyDriver again(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    EnterPasswordAndReachMainMenu(again, "Erin#654321");
    ExitFromMainMenu(again);
}

TEST(ConsoleLogin, DashEaAsSecondArgumentIsTheUserElseItOpensTheAccessTokensMenu) {
    SimProcess sim;
    PtyDriver asUser(TARSEL_PATH, {"127.0.0.1", "-ea", "-p", std::to_string(sim.port())});
    asUser.Expect("\nHSM User ID : -eaHSM User Password :");
    asUser.SendSecret("whatever\n");
    asUser.Expect("\nError opening session. ");
    EXPECT_NE(asUser.WaitExit(), 0);

    PtyDriver withMenu(TARSEL_PATH, ConsoleArgs(sim, "master", {"-ea"}));
    EnterPasswordAndReachMainMenu(withMenu, sim.initPassword());
    EXPECT_NE(withMenu.Output().find("Access Tokens..."), std::string::npos);
    ExitFromMainMenu(withMenu);

    PtyDriver withoutMenu(TARSEL_PATH, ConsoleArgs(sim, "master"));
    EnterPasswordAndReachMainMenu(withoutMenu, sim.initPassword());
    EXPECT_EQ(withoutMenu.Output().find("Access Tokens..."), std::string::npos);
    ExitFromMainMenu(withoutMenu);
}

}  // namespace
