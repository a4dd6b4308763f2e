// Passwords, OTP seeds, access-token secrets and key material that a run handed to the
// simulator are nowhere in clear afterwards: not in its diagnostics, not in its event log,
// not in any file of its data directory.

#include <filesystem>

#include "qelvoarc_fixture.h"
#include "temp_dir.h"

namespace {

std::string Hex(const std::string &bytes, const char *digits) {
    std::string out;
    for (unsigned char c : bytes) {
        out.push_back(digits[c >> 4]);
        out.push_back(digits[c & 15]);
    }
    return out;
}

TEST(SecretsAtRest, NoSecretOfARunIsLeftInClearInLogsOrDataFiles) {
    TempDir scratch;
    SimProcess sim(SimProcess::Options{.stderrPath = scratch.Path("stderr")});
    ASSERT_EQ(QInitialize(0), Q_OK);
    auto open = [&](const std::string &user, const std::string &password, QSessionHandle *s) {
        QPasswordLoginRecord record = PasswordRecord(sim.port(), user, password);
        return QOpenSession(s, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS);
    };
    const std::string alicePassword = "Al1ce#Secret9";
    const std::string wrongGuess = "Wr0ng#Guess77";
    const std::string keyMaterial = "K3y-Material-0123456789-abcdefgh";

    QSessionHandle master = 0;
    ASSERT_EQ(open("master", sim.initPassword(), &master), Q_OK);
    QUserRecord alice{};
    std::memcpy(alice.userId, "alice", 5);
    std::memcpy(alice.password, alicePassword.data(), alicePassword.size());
    ASSERT_EQ(QCreateUser(master, &alice), Q_OK);
    QOathTokenRecord token = OathEventToken();
    ASSERT_EQ(QAssignToken(master, "alice", Q_TOKEN_OATH_EVENT, &token, Q_OATH_HOTP_RECORD_SIZE),
              Q_OK);
    QKeyHandle key = 0;
    ASSERT_EQ(QImportKey(master, "clear", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_AES_256, 0,
                         reinterpret_cast<const uint8_t *>(keyMaterial.data()),
                         static_cast<uint32_t>(keyMaterial.size()), &key),
              Q_OK);
    QDestroyKey(key, 0);
    QAccessTokenRecord access{};
    access.expiration = Q_ATOKEN_NO_EXPIRATION;
    ASSERT_EQ(QManageAToken(master, Q_ATOKEN_ISSUE, &access, nullptr, nullptr, 0), Q_OK);
    QSessionHandle refused = 0;
    EXPECT_NE(open("alice", wrongGuess, &refused), Q_OK);
    QCloseSession(&master, 0);
    EXPECT_EQ(QFinalize(), Q_OK);

    ASSERT_EQ(sim.Stop(), 0);
    // The event log is in the database, whose pages are read here as they are on disk.
    std::vector<std::pair<std::string, std::string>> places = {
        {"diagnostics", ReadFileBytes(scratch.Path("stderr"))}};
    for (const auto &entry : std::filesystem::directory_iterator(sim.dataDir()))
        places.emplace_back(entry.path().filename(), ReadFileBytes(entry.path()));

    const std::string tokenSecret(reinterpret_cast<const char *>(access.token) + 16, 16);
    const std::string secrets[] = {sim.initPassword(),
                                   alicePassword,
                                   wrongGuess,
                                   keyMaterial,
                                   Hex(keyMaterial, "0123456789ABCDEF"),
                                   Hex(keyMaterial, "0123456789abcdef"),
                                   kOathSeed,
                                   kOathSeedHex,
                                   tokenSecret,
                                   Hex(tokenSecret, "0123456789abcdef")};
    for (const auto &[place, text] : places)
        for (const std::string &secret : secrets)
            EXPECT_EQ(text.find(secret), std::string::npos) << secret << " in " << place;
}

}  // namespace
