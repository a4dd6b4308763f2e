// orvena-simctl init: a directory the daemon can serve from, made once.

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "core/clock.h"
#include "crypto/password_hash.h"
#include "daemon/data_directory.h"
#include "simctl/init_command.h"
#include "temp_dir.h"

namespace {

int Init(const std::vector<std::string> &options, const std::string &dir, std::string *out) {
    std::vector<std::string> args = {"--data", dir, "init"};
    args.insert(args.end(), options.begin(), options.end());
    std::ostringstream output, errors;
    int status = sim::RunInitCommand(args, output, errors);
    *out = output.str() + errors.str();
    return status;
}

TEST(SimSimctlInit, MakesOperatorAndIdentityOnceAndRefusesOtherOptions) {
    TempDir temp;
    const std::string dir = temp.Path("hsm");
    std::string out;
    EXPECT_EQ(Init({"--listen", "127.0.0.1:1"}, dir, &out), 2) << out;
    EXPECT_EQ(Init({"--serial"}, dir, &out), 2) << out;
    EXPECT_EQ(Init({"--init-password", "seventeen-chars-1"}, dir, &out), 2) << out;
    EXPECT_FALSE(std::filesystem::exists(dir));

    ASSERT_EQ(Init({"--init-password", "Init#Passw0rd", "--serial", "SN7"}, dir, &out), 0) << out;
    EXPECT_EQ(out, "");
    EXPECT_TRUE(std::filesystem::exists(dir + "/tls.crt"));
    EXPECT_EQ(Init({"--init-password", "Other#Passw0rd"}, dir, &out), 1);
    EXPECT_NE(out.find("initialised already"), std::string::npos) << out;

    sim::SystemClock clock;
    sim::DataDirectory data(dir, clock, "SN7");
    std::optional<sim::UserRecord> master = data.users().FindUser(sim::kMasterUser);
    ASSERT_TRUE(master.has_value());
    EXPECT_TRUE(sim::VerifyPassword(master->passwordHash, "Init#Passw0rd"));
}

TEST(SimSimctlInit, ShowsAGeneratedPasswordOnce) {
    TempDir temp;
    std::string out;
    ASSERT_EQ(Init({}, temp.Path("hsm"), &out), 0) << out;
    const std::string prefix = "Initial password of operator master: ";
    ASSERT_EQ(out.rfind(prefix, 0), 0u) << out;
    std::string password = out.substr(prefix.size(), out.size() - prefix.size() - 1);

    sim::SystemClock clock;
    sim::DataDirectory data(temp.Path("hsm"), clock, "");
    EXPECT_TRUE(
        sim::VerifyPassword(data.users().FindUser(sim::kMasterUser)->passwordHash, password));
}

}  // namespace
