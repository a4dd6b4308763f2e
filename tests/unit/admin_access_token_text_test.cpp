#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "admin/access_token_text.h"

namespace {

std::string Shown(uint64_t expiration) {
    char text[kExpirationTextSize];
    FormatTokenExpiration(expiration, text);
    return text;
}

TEST(AdminTokenExpiration, AcceptedFormsAreReadAsUtc) {
    uint64_t expiration = 0;
    ASSERT_TRUE(ParseTokenExpiration("", &expiration));
    EXPECT_EQ(expiration, Q_ATOKEN_NO_EXPIRATION);
    EXPECT_EQ(Shown(expiration), "none");

    ASSERT_TRUE(ParseTokenExpiration("20300102", &expiration));
    EXPECT_EQ(Shown(expiration), "2030/01/02 00:00:00");
    ASSERT_TRUE(ParseTokenExpiration("20300102 134501", &expiration));
    EXPECT_EQ(expiration, 1893591901u);
    EXPECT_EQ(Shown(expiration), "2030/01/02 13:45:01");
    ASSERT_TRUE(ParseTokenExpiration("300102", &expiration));
    EXPECT_EQ(Shown(expiration), "2030/01/02 00:00:00");
}

TEST(AdminTokenExpiration, OtherShapesAreRefusedAndLeaveTheValue) {
    for (const char *text : {"2030010A", "2030010212", "20300102T134501", "2030 102", "20301301",
                             "20300100", "20300102 246000", "1234567"}) {
        uint64_t expiration = 7;
        EXPECT_FALSE(ParseTokenExpiration(text, &expiration)) << text;
        EXPECT_EQ(expiration, 7u) << text;
    }
}

TEST(AdminTokenText, TokensRoundTripThroughBase64AndOnlyWholeTokensDecode) {
    uint8_t token[32];
    for (int i = 0; i < 32; ++i)
        token[i] = uint8_t(i * 7 + 1);
    char text[kTokenBase64Size];
    ASSERT_EQ(EncodeToken(token, text), Q_OK);
    EXPECT_EQ(strlen(text), 44u);

    uint8_t decoded[32] = {};
    ASSERT_EQ(DecodeToken(text, decoded), Q_OK);
    EXPECT_EQ(memcmp(decoded, token, 32), 0);
    EXPECT_EQ(DecodeToken("AAAA", decoded), Q_ERR_INVALID_LENGTH);
    EXPECT_NE(DecodeToken("not base64 at all!", decoded), Q_OK);

    QAccessTokenInfo info{};
    memcpy(info.owner, token, 16);
    memcpy(info.key, token + 16, 16);
    uint8_t rebuilt[32];
    TokenOfInfo(info, rebuilt);
    EXPECT_EQ(memcmp(rebuilt, token, 32), 0);
}

}  // namespace
