#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/command_line.h"

namespace {

struct Parsed {
    std::vector<std::string> args;  // owns what extras.accessToken points into
    ParseResult result;
    ProcessState state;
    CommandLineExtras extras;
};

Parsed Parse(std::vector<std::string> args) {
    Parsed parsed{};
    parsed.args = std::move(args);
    parsed.args.insert(parsed.args.begin(), "tarsel");
    std::vector<const char *> argv;
    for (const std::string &arg : parsed.args)
        argv.push_back(arg.c_str());
    parsed.result = ParseCommandLine(int(argv.size()), argv.data(), &parsed.state, &parsed.extras);
    return parsed;
}

bool IsUsage(std::vector<std::string> args) {
    return Parse(std::move(args)).result == ParseResult::kUsage;
}

TEST(AppCommandLine, AddressAndUserWithDefaults) {
    const Parsed p = Parse({"10.10.1.1", "master"});
    ASSERT_EQ(p.result, ParseResult::kProceed);
    EXPECT_STREQ(p.state.hsmAddress, "10.10.1.1");
    EXPECT_STREQ(p.state.userId, "master");
    EXPECT_EQ(p.state.port, 4433u);
    EXPECT_EQ(p.state.sessionFlags, 1u);
    EXPECT_FALSE(p.state.askOtp);
    EXPECT_FALSE(p.extras.askAddressAndUser);
}

TEST(AppCommandLine, OptionsAfterAddressAndUser) {
    const Parsed p = Parse({"h", "u", "-c", "-p", "5000", "-3", "-l", "-ea", "-hwlog", "-sip"});
    ASSERT_EQ(p.result, ParseResult::kProceed);
    EXPECT_EQ(p.state.sessionFlags, 4u);
    EXPECT_EQ(p.state.port, 5000u);
    EXPECT_TRUE(p.state.exponent3);
    EXPECT_TRUE(p.state.legacyOptions);
    EXPECT_TRUE(p.state.accessTokensMenu);
    EXPECT_TRUE(p.state.hardwareLogs);
    EXPECT_TRUE(p.state.searchHsm);
    EXPECT_EQ(Parse({"h", "u", "-c", "-e"}).state.sessionFlags, 1u);
}

TEST(AppCommandLine, OtpSkipsTheNextArgumentUnread) {
    const Parsed p = Parse({"10.10.1.1", "master", "-o", "123456", "-c"});
    ASSERT_EQ(p.result, ParseResult::kProceed);
    EXPECT_TRUE(p.state.askOtp);
    EXPECT_EQ(p.state.sessionFlags, 4u);
    // What follows -o is never looked up, even when it is no option at all or an option.
    EXPECT_EQ(Parse({"h", "u", "-o", "-c"}).state.sessionFlags, 1u);
    EXPECT_EQ(Parse({"h", "u", "-o"}).result, ParseResult::kProceed);
}

TEST(AppCommandLine, OptionsMatchOnlyAtTheirExactLength) {
    EXPECT_TRUE(IsUsage({"h", "u", "-e_"}));
    EXPECT_TRUE(IsUsage({"h", "u", "-pr", "k"}));
    EXPECT_TRUE(Parse({"h", "u", "-ea"}).state.accessTokensMenu);
    EXPECT_EQ(Parse({"h", "u", "-ea"}).state.sessionFlags, 1u);
    // Only seven characters are compared, so an eight-character look-alike still matches.
    const Parsed p = Parse({"h", "u", "-pri", "k", "-pri_cer", "c", "-hsm_ceX", "s"});
    ASSERT_EQ(p.result, ParseResult::kProceed);
    EXPECT_STREQ(p.state.clientKeyPath, "k");
    EXPECT_STREQ(p.state.clientCertPath, "c");
    EXPECT_STREQ(p.state.hsmCertPath, "s");
    EXPECT_TRUE(p.state.mutualTls);
}

TEST(AppCommandLine, UsageErrors) {
    EXPECT_TRUE(IsUsage({"-h"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1"}));
    EXPECT_TRUE(IsUsage({"-c"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1", "master", "--cm", "x"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1", "master", "-h"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1", "master", "-x"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1", "master", "-p"}));
    EXPECT_TRUE(IsUsage({"10.10.1.1", "master", "-g"}));
    EXPECT_TRUE(IsUsage({"h", "u", "-pri", "k", "-pri_cer", "c"}));
    EXPECT_TRUE(IsUsage({"h", "u", "-hsm_cer", "s"}));
}

TEST(AppCommandLine, SpecialForms) {
    const Parsed sip = Parse({"-sip"});
    ASSERT_EQ(sip.result, ParseResult::kProceed);
    EXPECT_TRUE(sip.state.searchHsm);
    EXPECT_TRUE(sip.extras.askAddressAndUser);
    EXPECT_TRUE(sip.state.askOtp);

    const Parsed none = Parse({});
    ASSERT_EQ(none.result, ParseResult::kProceed);
    EXPECT_TRUE(none.extras.askAddressAndUser);
    EXPECT_TRUE(none.state.askOtp);

    const Parsed token = Parse({"10.0.0.1", "-a", "dG9rZW4=", "-p", "7000", "junk"});
    ASSERT_EQ(token.result, ParseResult::kProceed);
    EXPECT_STREQ(token.state.hsmAddress, "10.0.0.1");
    EXPECT_STREQ(token.state.userId, "");
    EXPECT_STREQ(token.extras.accessToken, "dG9rZW4=");
    EXPECT_TRUE(token.state.accessTokenLogin);
    EXPECT_EQ(token.state.port, 7000u);

    const Parsed cert = Parse({"10.0.0.1", "-g", "/tmp/hsm.pem", "-p", "1234"});
    ASSERT_EQ(cert.result, ParseResult::kProceed);
    EXPECT_TRUE(cert.state.exportTlsCert);
    EXPECT_STREQ(cert.state.tlsCertOutPath, "/tmp/hsm.pem");
    EXPECT_EQ(cert.state.port, 1234u);

    // "-ea" in second place also becomes the user name.
    const Parsed menu = Parse({"10.10.1.1", "-ea"});
    ASSERT_EQ(menu.result, ParseResult::kProceed);
    EXPECT_STREQ(menu.state.userId, "-ea");
    EXPECT_TRUE(menu.state.accessTokensMenu);
}

TEST(AppCommandLine, UnknownArgumentsAreIgnoredOnlyOnceTokenOrExportIsInForce) {
    EXPECT_EQ(Parse({"h", "u", "-a", "dG9r", "junk"}).result, ParseResult::kProceed);
    EXPECT_TRUE(IsUsage({"h", "u", "junk", "-a", "dG9r"}));
    EXPECT_EQ(Parse({"h", "u", "-g", "out.pem", "junk"}).result, ParseResult::kProceed);
}

TEST(AppCommandLine, LongValuesAreCutToTheirFields) {
    const std::string address(200, 'a');
    const std::string user(30, 'u');
    const Parsed p = Parse({address, user});
    EXPECT_EQ(std::string(p.state.hsmAddress), address.substr(0, 128));
    EXPECT_EQ(std::string(p.state.userId), user.substr(0, 16));
}

}  // namespace
