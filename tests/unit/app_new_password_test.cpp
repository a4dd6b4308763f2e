#include <gtest/gtest.h>

#include <string>

#include "app/new_password.h"
#include "typed_terminal.h"

namespace {

struct Result {
    uint32_t status;
    std::string password;
    std::string out;
    std::string err;
};

Result TypeNewPassword(const std::string &typed, size_t minChars) {
    TypedTerminal terminal(typed);
    char password[17] = {};
    const uint32_t status = ReadNewPassword("New Password: ", "Confirm new password: ", minChars,
                                            password, sizeof password);
    return {status, password, terminal->out, terminal->err};
}

TEST(AppNewPassword, ConfirmedPasswordIsReturnedAndNeverShown) {
    const Result r = TypeNewPassword("Secret#1\nSecret#1\n", 6);
    EXPECT_EQ(r.status, kNewPasswordOk);
    EXPECT_EQ(r.password, "Secret#1");
    EXPECT_EQ(r.out, "New Password: ********\nConfirm new password: ********\n");
    // A confirmation that only begins like the password is no match (the dialogues show the
    // refusal of a plainly different one).
    EXPECT_EQ(TypeNewPassword("Secret#1\nSecret#\n", 6).status, kNewPasswordDiffers);
}

TEST(AppNewPassword, ShortPasswordsAreAskedAgainAndEnterCancels) {
    const Result retried = TypeNewPassword("abc\nSecret#1\nSecret#1\n", 6);
    EXPECT_EQ(retried.status, kNewPasswordOk);
    EXPECT_EQ(retried.password, "Secret#1");

    EXPECT_EQ(TypeNewPassword("\n", 6).status, kNewPasswordCancelled);
    EXPECT_EQ(TypeNewPassword("abc\n\n", 6).status, kNewPasswordCancelled);
    // Without a minimum any non-empty password is taken.
    EXPECT_EQ(TypeNewPassword("a\na\n", 0).status, kNewPasswordOk);
}

}  // namespace
