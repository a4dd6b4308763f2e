// The simulator's own key cryptography: RC5 against its published vectors, check values of
// the algorithms without a shared implementation, and component joining.

#include <gtest/gtest.h>

#include <string>

#include "crypto/key_check_value.h"
#include "crypto/key_components.h"
#include "crypto/key_generator.h"
#include "crypto/rc5.h"
#include "test_crypto.h"

namespace {

using ::Hex;  // beside the string form below

std::string Bytes(const std::string &hex) {
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

std::string Hex(const std::string &bytes) {
    return Hex(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

sim::Rc5::Block Block(const std::string &hex) {
    std::string bytes = Bytes(hex);
    sim::Rc5::Block block{};
    std::copy(bytes.begin(), bytes.end(), block.begin());
    return block;
}

TEST(SimRc5, MatchesThePublishedVectorsBothWays) {
    struct Vector {
        const char *key, *plain, *cipher;
    };
    const Vector vectors[] = {
        {"00000000000000000000000000000000", "0000000000000000", "21A5DBEE154B8F6D"},
        {"915F4619BE41B2516355A50110A9CE91", "21A5DBEE154B8F6D", "F7C013AC5B2B8952"},
        {"783348E75AEB0F2FD7B169BB8DC16787", "F7C013AC5B2B8952", "2F42B3B70369FC92"},
        {"DC49DB1375A5584F6485B413B5F12BAF", "2F42B3B70369FC92", "65C178B284D197CC"},
        {"5269F149D41BA0152497574D7F153125", "65C178B284D197CC", "EB44E415DA319824"},
    };
    for (const Vector &v : vectors) {
        sim::Rc5 rc5(Bytes(v.key));
        sim::Rc5::Block cipher = rc5.Encrypt(Block(v.plain));
        EXPECT_EQ(Hex(cipher.data(), cipher.size()), v.cipher) << v.key;
        sim::Rc5::Block plain = rc5.Decrypt(cipher);
        EXPECT_EQ(Hex(plain.data(), plain.size()), v.plain) << v.key;
    }
}

std::string CheckValue(uint32_t algorithm, const std::string &keyHex,
                       wire::pb::CheckValueFormat format = wire::pb::KCV_CLASSIC) {
    wire::CheckValue value{};
    sim::Result r = sim::KeyCheckValue(algorithm, format, Bytes(keyHex), &value);
    return r == sim::Result::kOk ? Hex(value.data(), value.size()) : "failed";
}

TEST(SimKeyCheckValue, KnownVectorsPerAlgorithm) {
    EXPECT_EQ(CheckValue(1, "0123456789ABCDEF"), "D5D44F");
    EXPECT_EQ(CheckValue(7, "00000000000000000000000000000000"), "66E94B");
    EXPECT_EQ(CheckValue(10, "0102030405060708090A0B0C0D0E0F10"), "9AC7CC");
    EXPECT_EQ(CheckValue(89, "00000000000000000000000000000000"), "21A5DB");
    // DESX with zero whitening is DES; the outer whitening key lands on the result.
    EXPECT_EQ(CheckValue(91,
                         "0123456789ABCDEF"
                         "0000000000000000"
                         "0000000000000000"),
              "D5D44F");
    EXPECT_EQ(CheckValue(91,
                         "0123456789ABCDEF"
                         "0000000000000000"
                         "FF00000000000000"),
              "2AD44F");
    EXPECT_EQ(CheckValue(91, "00", wire::pb::KCV_CLASSIC), "failed");
    EXPECT_EQ(CheckValue(89, "00000000000000000000000000000000", wire::pb::KCV_CMAC), "failed");
}

TEST(SimKeyComponents, TwoDesComponentsWithTheZeroThirdJoinByXor) {
    const std::string one = Bytes("0123456789ABCDEF"), two = Bytes("1111111111111111"),
                      zero(8, '\0');
    const std::string joined = Bytes("1032547698BADCFE");
    const std::string kcvOne = Bytes("D5D44F"), kcvTwo = Bytes(CheckValue(1, Hex(two))),
                      kcvZero = Bytes("8CA64D");
    std::string kcvJoined = Bytes(CheckValue(1, Hex(joined)));
    sim::KeyComponents components{{one, two, zero},
                                  {kcvOne, kcvTwo, kcvZero},
                                  kcvJoined,
                                  wire::pb::KCV_CMAC};  // the DES family uses KCVs

    sim::SecretBytes key;
    ASSERT_EQ(sim::JoinKeyComponents(1, components, &key), sim::Result::kOk);
    std::string expected = joined;
    sim::SetDesParity(expected);
    EXPECT_EQ(key.view(), expected);

    kcvJoined[0] = static_cast<char>(kcvJoined[0] ^ 1);
    EXPECT_EQ(sim::JoinKeyComponents(1, components, &key), sim::Result::kKcvMismatch);
    components.keyCheckValue = std::string_view(kcvJoined).substr(1);
    EXPECT_EQ(sim::JoinKeyComponents(1, components, &key), sim::Result::kInvalidLength);
    components.partCheckValues.pop_back();
    EXPECT_EQ(sim::JoinKeyComponents(1, components, &key), sim::Result::kInvalidLength);
    EXPECT_EQ(key.view(), expected);  // failures leave the key alone
}

TEST(SimKeyComponents, AesComponentsNeedNoPartCheckValuesAndRefuseOtherShapes) {
    const std::string one(16, '\x11'), two(16, '\x22'), three(16, '\x44');
    const std::string cmac = Bytes(CheckValue(7, Hex(std::string(16, '\x77')), wire::pb::KCV_CMAC));
    sim::KeyComponents components{{one, two, three}, {}, cmac, wire::pb::KCV_CMAC};
    sim::SecretBytes key;
    ASSERT_EQ(sim::JoinKeyComponents(7, components, &key), sim::Result::kOk);
    EXPECT_EQ(key.view(), std::string(16, '\x77'));

    components.format = wire::pb::KCV_CLASSIC;
    EXPECT_EQ(sim::JoinKeyComponents(7, components, &key), sim::Result::kKcvMismatch);
    components.parts[2] = std::string_view(three).substr(1);
    EXPECT_EQ(sim::JoinKeyComponents(7, components, &key), sim::Result::kInvalidLength);
    EXPECT_EQ(sim::JoinKeyComponents(89, components, &key), sim::Result::kBadAlgorithm);
}

TEST(SimKeyGenerator, DesKeysHaveOddParity) {
    const sim::KeyAlgorithm *tdes = sim::FindKeyAlgorithm(3);
    ASSERT_NE(tdes, nullptr);
    sim::KeyMaterial material;
    ASSERT_EQ(sim::GenerateKeyMaterial(*tdes, 0, &material), sim::Result::kOk);
    ASSERT_EQ(material.secret.size(), 24u);
    for (char c : material.secret.view())
        EXPECT_EQ(__builtin_popcount(static_cast<uint8_t>(c)) % 2, 1);
    EXPECT_EQ(sim::FindKeyAlgorithm(19), nullptr);
}

}  // namespace
