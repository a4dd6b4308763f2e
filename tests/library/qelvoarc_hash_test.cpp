// Hashes computed on the HSM through the library, against published vectors.

#include <string>
#include <vector>

#include "qelvoarc_fixture.h"

namespace {

std::string Hex(const uint8_t *data, size_t length) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < length; ++i) {
        out.push_back(digits[data[i] >> 4]);
        out.push_back(digits[data[i] & 15]);
    }
    return out;
}

class HashTest : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        session_ = OpenOperator();
    }

    // The digest of `parts` fed one call each, with an optional HMAC key; "" on any failure.
    std::string Digest(uint32_t algorithm, const std::vector<std::string> &parts,
                       const std::string &key = "") {
        QHashHandle hash = 0;
        if (QCreateHash(session_, algorithm, 0, 0, &hash) != Q_OK) return "";
        bool ok = key.empty() || QSetHashParam(hash, Q_HASH_PARAM_KEY,
                                               reinterpret_cast<const uint8_t *>(key.data()),
                                               static_cast<uint32_t>(key.size()), 0) == Q_OK;
        for (const std::string &part : parts)
            ok = ok && QHashData(hash, reinterpret_cast<const uint8_t *>(part.data()),
                                 static_cast<uint32_t>(part.size()), 0) == Q_OK;
        uint32_t size = 0;
        uint32_t length = sizeof size;
        ok = ok && QGetHashParam(hash, Q_HASH_PARAM_SIZE, reinterpret_cast<uint8_t *>(&size),
                                 &length, 0) == Q_OK;
        std::vector<uint8_t> value(size);
        length = size;
        ok = ok && QGetHashParam(hash, Q_HASH_PARAM_VALUE, value.data(), &length, 0) == Q_OK &&
             length == size;
        EXPECT_EQ(QDestroyHash(hash), Q_OK);
        return ok ? Hex(value.data(), value.size()) : "";
    }

    QSessionHandle session_ = 0;
};

TEST_F(HashTest, DigestsMatchPublishedVectors) {
    EXPECT_EQ(Digest(Q_HASH_MD5, {"abc"}), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(Digest(Q_HASH_SHA1, {"abc"}), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(Digest(Q_HASH_SHA256, {"abc"}),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(Digest(Q_HASH_SHA224, {"abc"}),
              "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7");
    EXPECT_EQ(Digest(Q_HASH_SHA3_256, {"abc"}),
              "3a985da74fe225b2045c172d6bd390bd855f086e3e9d525b46bfe24511431532");
    EXPECT_EQ(Digest(Q_HASH_SHA512, {"abc"}).substr(0, 32), "ddaf35a193617abacc417349ae204131");
    // Data given in several calls hashes as one message.
    EXPECT_EQ(Digest(Q_HASH_SHA256, {"a", "", "bc"}), Digest(Q_HASH_SHA256, {"abc"}));
}

TEST_F(HashTest, HmacMatchesRfc4231) {
    // Test case 1: key 20 x 0x0b, data "Hi There".
    EXPECT_EQ(Digest(Q_ALG_HMAC_SHA256, {"Hi There"}, std::string(20, '\x0b')),
              "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
    // Test case 2: key "Jefe".
    EXPECT_EQ(Digest(Q_ALG_HMAC_SHA256, {"what do ya want ", "for nothing?"}, "Jefe"),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST_F(HashTest, MisuseIsReportedNotIgnored) {
    QHashHandle hash = 0;
    EXPECT_EQ(QCreateHash(session_, 3, 0, 0, &hash), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QCreateHash(session_, 200, 0, 0, &hash), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QCreateHash(session_, Q_ALG_HMAC_SHA256, 12345, 0, &hash), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(hash, 0u);

    ASSERT_EQ(QCreateHash(session_, Q_HASH_SHA256, 0, 0, &hash), Q_OK);
    uint8_t digest[32];
    uint32_t length = 16;
    EXPECT_EQ(QGetHashParam(hash, Q_HASH_PARAM_VALUE, digest, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 32u);
    EXPECT_EQ(QGetHashParam(hash, 99, digest, &length, 0), Q_ERR_NOT_SUPPORTED);
    EXPECT_EQ(QHashData(hash, nullptr, 4, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QDestroyHash(hash), Q_OK);
}

}  // namespace
