// Functions of the library that need no HSM: status texts, memory, base64, and the answer of
// the functions not served yet.

#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include "qelvoarc.h"

#include <gtest/gtest.h>

namespace {

// Every code of the shared table has a Q_ constant of the same number in the header.
#define X(name, code, text) static_assert(Q_##name == (code), #name);
#include "status_codes.def"
#undef X

TEST(StatusCodes, HeaderAndTableListTheSameCodesWhoseTextsAndNamesTheLibraryGives) {
    std::set<std::string> table;
#define X(name, code, text) table.insert(#name);
#include "status_codes.def"
#undef X
    std::string path = std::string(__FILE__);
    path = path.substr(0, path.rfind("tests/library/")) + "qelvoarc/include/qelvoarc.h";
    std::ifstream header(path);
    ASSERT_TRUE(header) << path;
    std::set<std::string> declared;
    std::regex define(R"(^#define Q_((ERR_\w+)|OK) )");
    for (std::string line; std::getline(header, line);) {
        std::smatch match;
        if (std::regex_search(line, match, define)) declared.insert(match[1]);
    }
    EXPECT_EQ(declared, table);

    char name[Q_ERROR_NAME_SIZE];
    char text[Q_ERROR_TEXT_SIZE];
#define X(code_name, code, code_text)                   \
    ASSERT_EQ(QGetErrorString(code, name, text), Q_OK); \
    EXPECT_STREQ(name, #code_name);                     \
    EXPECT_STREQ(text, code_text);
#include "status_codes.def"
#undef X
    ASSERT_EQ(QGetErrorString(4242, nullptr, text), Q_OK);
    EXPECT_STRNE(text, "");
    EXPECT_EQ(QGetErrorString(0, name, nullptr), Q_ERR_INVALID_PARAMETER);

    char small[8];
    ASSERT_EQ(QGetReturnCodeString(Q_ERR_PASSWORD_EXPIRED, Q_RC_STRING_TEXT, small, sizeof small),
              Q_OK);
    EXPECT_STREQ(small, "User pa");  // truncated, still terminated
    ASSERT_EQ(QGetReturnCodeString(Q_ERR_TLS, Q_RC_STRING_NAME, name, sizeof name), Q_OK);
    EXPECT_STREQ(name, "ERR_TLS");
    EXPECT_EQ(QGetReturnCodeString(Q_ERR_TLS, 9, name, sizeof name), Q_ERR_INVALID_PARAMETER);
}

TEST(LibraryMemory, AllocReturnsZeroedMemoryThatFreeReleases) {
    auto *block = static_cast<unsigned char *>(QAlloc(1000));
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(block[i], 0) << i;
    std::memset(block, 0xAB, 1000);
    QFree(block);
    QFree(nullptr);
}

std::string Encode(const std::string &bytes) {
    char text[256];
    uint32_t length = sizeof text;
    EXPECT_EQ(QByteArray2Base64(reinterpret_cast<const uint8_t *>(bytes.data()),
                                static_cast<uint32_t>(bytes.size()), text, &length),
              Q_OK);
    EXPECT_EQ(std::strlen(text), length);
    return std::string(text, length);
}

uint32_t Decode(const std::string &text, std::string *bytes, uint32_t capacity = 192) {
    uint8_t out[192];
    uint32_t length = capacity;
    uint32_t status =
        QBase642ByteArray(text.data(), static_cast<uint32_t>(text.size()), out, &length);
    if (status == Q_OK) bytes->assign(reinterpret_cast<char *>(out), length);
    return status;
}

TEST(Base64, RoundTripsEveryPaddingCaseChecksBufferSizesAndRefusesMalformedText) {
    // RFC 4648 section 10.
    EXPECT_EQ(Encode(""), "");
    std::string bytes;
    for (const auto &[word, text] :
         {std::pair{"f", "Zg=="}, std::pair{"fo", "Zm8="}, std::pair{"foo", "Zm9v"},
          std::pair{"foob", "Zm9vYg=="}, std::pair{"fooba", "Zm9vYmE="},
          std::pair{"foobar", "Zm9vYmFy"}}) {
        EXPECT_EQ(Encode(word), text);
        ASSERT_EQ(Decode(text, &bytes), Q_OK) << word;
        EXPECT_EQ(bytes, word);
    }
    std::string binary;
    for (int i = 0; i < 32; ++i)
        binary.push_back(static_cast<char>(i * 37));
    ASSERT_EQ(Decode(Encode(binary), &bytes), Q_OK);
    EXPECT_EQ(bytes, binary);

    // A buffer of exactly the decoded size is enough even though padding decodes as zeros.
    EXPECT_EQ(Decode("Zg==", &bytes, 1), Q_OK);
    EXPECT_EQ(bytes, "f");
    uint8_t out[4];
    uint32_t length = 1;
    EXPECT_EQ(QBase642ByteArray("Zm9v", 4, out, &length), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 3u);
    char text[4];
    length = sizeof text;
    EXPECT_EQ(QByteArray2Base64(reinterpret_cast<const uint8_t *>("foo"), 3, text, &length),
              Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 5u);  // four characters and the terminator
    for (const char *malformed : {"Zg", "Zg=", "Z===", "Zg=a", "Z!9v", "=m9v", "Zm9v\n"})
        EXPECT_EQ(Decode(malformed, &bytes), Q_ERR_INVALID_PARAMETER) << malformed;
}

TEST(UnservedFunctions, AnswerNotSupportedWithoutTouchingArguments) {
    char objectId[50] = "untouched";
    EXPECT_EQ(QSPBCalculateObjectId("12345678", "SPB01", 1, objectId, 0), Q_ERR_NOT_SUPPORTED);
    EXPECT_STREQ(objectId, "untouched");
    EXPECT_EQ(QBchainEd2X(1, "ed", "x", 0, 0), Q_ERR_NOT_SUPPORTED);
    uint32_t version[4] = {};
    EXPECT_EQ(QVersion(0, &version[0], &version[1], &version[2], &version[3]), Q_OK);
    EXPECT_GE(version[0] * 1000 + version[1], 4014u);
}

}  // namespace
