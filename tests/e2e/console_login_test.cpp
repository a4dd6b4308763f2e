#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "console_e2e_support.h"

namespace {

const char kSessionLineTail[] =
    " - Engine 5.1.0.0-orvena-sim - ORV-9000 Serial:OV00000001 (simulated) - ";

// ACL words of users that must log in with their second factor.
const char kOathSecondFactor[] = "536870912";  // 0x20000000
const char kX509SecondFactor[] = "268435456";  // 0x10000000

TEST(ConsoleLogin, PasswordsSecondFactorsAccessTokensExpiredPasswordsAndDashEaAsTheUser) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    AnswerSecret(console, "\nHSM Orvena IP : 127.0.0.1\nHSM User ID : masterHSM User Password :",
                 sim.initPassword() + "\n");
    console.Expect(std::string(sim.initPassword().size(), '*'));
    console.Expect("\n\nConnecting...\n\n");
    console.Expect(std::string("HSM 127.0.0.1 e") + kSessionLineTail +
                   "ID master\n\nMain Menu\n\n");
    console.Expect("\n 0 - Exit\n\nOption : ");
    EXPECT_EQ(console.Output().find(sim.initPassword()), std::string::npos);
    EXPECT_EQ(console.Output().find("Access Tokens..."), std::string::npos);  // no -ea
    ExitFromMainMenu(console);

    PtyDriver wrong(TARSEL_PATH, ConsoleArgs(sim, "master"));
    AnswerSecret(wrong, "HSM User Password :", "Not#The#Password\n");
    wrong.Expect("\nError opening session. Invalid user or password. (1012)\n");
    EXPECT_EQ(wrong.WaitExit(), 1012 & 0xFF);  // the status from main, as the shell sees it

    // An OTP is asked with -o; "123456" after it is no OTP and "-c" after that still counts.
    ASSERT_EQ(sim.Simctl({"add-user", "carol", "Carol#12345", "--acl", kOathSecondFactor}), 0);
    ASSERT_EQ(sim.Simctl({"set-otp", "carol", "hotp", kOathSeedHex}), 0);
    PtyDriver withOtp(TARSEL_PATH, ConsoleArgs(sim, "carol", {"-o", "123456", "-c"}));
    AnswerSecret(withOtp, "HSM User Password :", "Carol#12345\n");
    Answer(withOtp, "\nOTP [optional, ENTER for none] : ", Hotp(0) + "\n");
    withOtp.Expect(std::string("HSM 127.0.0.1 c") + kSessionLineTail + "ID carol");
    withOtp.Expect("Option : ");
    ExitFromMainMenu(withOtp);
    PtyDriver withoutOtp(TARSEL_PATH, ConsoleArgs(sim, "carol", {"-o"}));
    AnswerSecret(withoutOtp, "HSM User Password :", "Carol#12345\n");
    Answer(withoutOtp, "OTP [optional, ENTER for none] : ", "\n");
    withoutOtp.Expect("\nError opening session. ");
    EXPECT_NE(withoutOtp.WaitExit(), 0);

    // Mutual TLS reads its files and forces TLS over -c.
    TempDir dir;
    const std::string key = dir.Path("client.key"), cert = dir.Path("client.crt");
    const TestCertificate identity = MakeTestCertificate("tarsel e2e");
    std::ofstream(key) << identity.KeyPem();
    std::ofstream(cert) << identity.pem;
    ASSERT_EQ(sim.Simctl({"add-user", "dave", "Dave#123456", "--acl", kX509SecondFactor}), 0);
    ASSERT_EQ(sim.Simctl({"set-cert", "dave", cert}), 0);
    const std::string hsmCert = sim.dataDir() + "/tls.crt";
    PtyDriver mutual(
        TARSEL_PATH,
        ConsoleArgs(sim, "dave", {"-c", "-pri", key, "-pri_cer", cert, "-hsm_cer", hsmCert}));
    AnswerSecret(mutual, "HSM User ID : davePrivate key password :", "\n");
    AnswerSecret(mutual, "\nHSM User Password :", "Dave#123456\n");
    mutual.Expect(std::string("HSM 127.0.0.1 e") + kSessionLineTail + "ID dave");
    mutual.Expect("Option : ");
    ExitFromMainMenu(mutual);
    const std::string missing = dir.Path("missing.key");
    PtyDriver unreadable(
        TARSEL_PATH,
        ConsoleArgs(sim, "dave", {"-pri", missing, "-pri_cer", cert, "-hsm_cer", hsmCert}));
    unreadable.Expect("Error opening the file. " + missing + "\n");
    EXPECT_EQ(unreadable.WaitExit(), 1);

    // An access token needs no password.
    std::string token;
    ASSERT_EQ(sim.Simctl({"add-token", "master"}, &token), 0);
    token.erase(token.find_last_not_of("\r\n") + 1);
    PtyDriver byToken(TARSEL_PATH, {"127.0.0.1", "-a", token, "-p", std::to_string(sim.port())});
    byToken.Expect(
        "\nHSM Orvena IP : 127.0.0.1\nHSM User ID : master\n\nUsing access token "
        "authentication.\n\nConnecting...\n\n");
    byToken.Expect(std::string(kSessionLineTail) + "AT master");
    byToken.Expect("Option : ");
    EXPECT_EQ(byToken.Output().find("HSM User Password"), std::string::npos);
    ExitFromMainMenu(byToken);

    // An expired password is changed, or the login fails.
    ASSERT_EQ(sim.Simctl({"add-user", "erin", "Erin#123456", "--acl", "0"}), 0);
    ASSERT_EQ(sim.Simctl({"expire-password", "erin"}), 0);
    const char kQuestion[] =
        "Your password is expired. Do you want to change your password now ([y]/n)?";
    PtyDriver declined(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    AnswerSecret(declined, "HSM User Password :", "Erin#123456\n");
    Answer(declined, kQuestion, "n\n");
    declined.Expect("\nError opening session. User password expired. (5178)\n");
    EXPECT_EQ(declined.WaitExit(), 5178 & 0xFF);

    PtyDriver mismatched(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    AnswerSecret(mismatched, "HSM User Password :", "Erin#123456\n");
    Answer(mismatched, kQuestion, "y\n");
    AnswerSecret(mismatched, "New Password:", "Erin#654321\n");
    AnswerSecret(mismatched, "Confirm new password:", "Erin#000000\n");
    mismatched.Expect("Password differs from confirmation!");
    EXPECT_NE(mismatched.WaitExit(), 0);

    PtyDriver changed(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    AnswerSecret(changed, "HSM User Password :", "Erin#123456\n");
    Answer(changed, kQuestion, "\n");
    AnswerSecret(changed, "\nNew Password:", "Erin#654321\n");
    AnswerSecret(changed, "Confirm new password:", "Erin#654321\n");
    changed.Expect("\n\nPassword changed successfully.\n\n");
    changed.Expect("Option : ");
    ExitFromMainMenu(changed);
    LogInAndExit(sim, "erin", "Erin#654321");

    // "-ea" in second place is the user; after the user it opens the access-token menu,
    // which the access-token dialogue shows.
    PtyDriver asUser(TARSEL_PATH, {"127.0.0.1", "-ea", "-p", std::to_string(sim.port())});
    AnswerSecret(asUser, "\nHSM User ID : -eaHSM User Password :", "whatever\n");
    asUser.Expect("\nError opening session. ");
    EXPECT_NE(asUser.WaitExit(), 0);
}

}  // namespace
