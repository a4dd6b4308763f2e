// Login rules and the session services the simulator enforces, at the protocol level.

#include <ctime>
#include <fstream>

#include "keys_test_certificate.h"
#include "sim_process.h"
#include "sim_raw_client.h"

namespace {

int64_t Status(const SimProcess &sim, const wire::pb::Request &request, bool tls = false) {
    RawClient client(sim.port(), tls);
    return client.Status(request);
}

wire::pb::Request TokenLogin(const std::string &token) {
    wire::pb::Request request;
    request.mutable_login()->set_method(wire::pb::LOGIN_ACCESS_TOKEN);
    request.mutable_login()->set_access_token(token);
    return request;
}

std::string Base64Decode(const std::string &text) {
    std::string out(text.size(), '\0');
    int length = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(out.data()),
                                 reinterpret_cast<const unsigned char *>(text.data()),
                                 static_cast<int>(text.size()));
    out.resize(length > 0 ? static_cast<size_t>(length) - 1 : 0);  // one '=' of padding
    return out;
}

wire::pb::Request SetOwnPassword(const std::string &password) {
    wire::pb::Request request;
    request.mutable_set_own_password()->set_password(password);
    return request;
}

TEST(SimLogin, WrongPasswordAndUnknownUserLookAlikeAndBlockAtTheLimit) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "alice", "Alice#12345"}), 0);
    EXPECT_EQ(Status(sim, PasswordLogin("nobody", "Alice#12345")), wire::ERR_AUTH_FAILED);
    {  // a failed login leaves the connection as unauthenticated as before
        RawClient client(sim.port(), false);
        EXPECT_EQ(client.Status(PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
        EXPECT_EQ(client.Status(Liveness()), wire::ERR_NOT_AUTHENTICATED);
        EXPECT_EQ(client.Status(PasswordLogin("alice", "Alice#12345")), wire::OK);  // resets count
    }

    ASSERT_EQ(sim.Simctl({"set-policy", "2", "0", "8", "0", "0", "0"}), 0);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "Alice#12345")), wire::OK);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "Alice#12345")), wire::ERR_USER_BLOCKED);
    ASSERT_EQ(sim.Simctl({"unblock", "alice"}), 0);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "Alice#12345")), wire::OK);
}

TEST(SimLogin, OathSecondFactorWithLookAheadAndNoReuse) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "otp", "Otp#123456", "--acl", "0x20000000"}), 0);
    ASSERT_EQ(sim.Simctl({"set-otp", "otp", "hotp", kOathSeedHex}), 0);
    auto withOtp = [&](const std::string &otp) {
        return Status(sim, PasswordLogin("otp", "Otp#123456", wire::pb::AUTH_PASSWORD_OTP, otp));
    };
    EXPECT_EQ(Status(sim, PasswordLogin("otp", "Otp#123456")), wire::ERR_OTP_REQUIRED);
    EXPECT_EQ(withOtp("000000"), wire::ERR_OTP_INVALID);
    EXPECT_EQ(withOtp(Hotp(3)), wire::OK);
    EXPECT_EQ(withOtp(Hotp(3)), wire::ERR_OTP_INVALID);
    EXPECT_EQ(withOtp(Hotp(1)), wire::ERR_OTP_INVALID);  // behind the counter
    EXPECT_EQ(withOtp(Hotp(13)), wire::OK);
    EXPECT_EQ(withOtp(Hotp(4)), wire::ERR_OTP_INVALID);

    // An OTP offered by a user without a token is wrong, not ignored.
    EXPECT_EQ(Status(sim, PasswordLogin("master", sim.initPassword(), wire::pb::AUTH_PASSWORD_OTP,
                                        Hotp(0))),
              wire::ERR_OTP_INVALID);
}

TEST(SimLogin, MutualTlsComparesTheRegisteredCertificate) {
    SimProcess sim;
    TestCertificate registered = MakeTestCertificate("bob"),
                    stranger = MakeTestCertificate("mallory");
    std::string pem = sim.dataDir() + "/bob.pem";
    std::ofstream(pem) << registered.pem;
    ASSERT_EQ(sim.Simctl({"add-user", "bob", "Bob#1234567", "--acl", "0x10000000"}), 0);
    ASSERT_EQ(sim.Simctl({"set-cert", "bob", pem}), 0);

    EXPECT_EQ(Status(sim, PasswordLogin("bob", "Bob#1234567"), true), wire::ERR_CERT_REQUIRED);
    RawClient anonymousTls(sim.port(), true);
    EXPECT_EQ(anonymousTls.Status(PasswordLogin("bob", "Bob#1234567", wire::pb::AUTH_MUTUAL_TLS)),
              wire::ERR_CERT_REQUIRED);
    RawClient wrong(sim.port(), true, ClientTlsIdentity{stranger.cert.get(), stranger.key.get()});
    EXPECT_EQ(wrong.Status(PasswordLogin("bob", "Bob#1234567", wire::pb::AUTH_MUTUAL_TLS)),
              wire::ERR_CERT_MISMATCH);
    RawClient right(sim.port(), true,
                    ClientTlsIdentity{registered.cert.get(), registered.key.get()});
    EXPECT_EQ(right.Status(PasswordLogin("bob", "Bob#1234567", wire::pb::AUTH_MUTUAL_TLS)),
              wire::OK);
}

TEST(SimLogin, AccessTokensAreRefusedWhenUnknownRevokedOrExpired) {
    SimProcess sim;
    std::string good, expired;
    ASSERT_EQ(sim.Simctl({"add-token", "master"}, &good), 0);
    ASSERT_EQ(
        sim.Simctl({"add-token", "master", "--expires", std::to_string(std::time(nullptr) - 10)},
                   &expired),
        0);
    std::string token = Base64Decode(good.substr(0, good.find('\n')));
    ASSERT_EQ(token.size(), 32u);
    EXPECT_EQ(Status(sim, TokenLogin(token)), wire::OK);
    EXPECT_EQ(Status(sim, TokenLogin(Base64Decode(expired.substr(0, expired.find('\n'))))),
              wire::ERR_TOKEN_EXPIRED);
    std::string forged = token;
    forged[31] ^= 1;
    EXPECT_EQ(Status(sim, TokenLogin(forged)), wire::ERR_TOKEN_INVALID);
    EXPECT_EQ(Status(sim, TokenLogin(token.substr(0, 31))), wire::ERR_TOKEN_INVALID);
    ASSERT_EQ(sim.Simctl({"revoke-token", good.substr(0, good.find('\n'))}), 0);
    EXPECT_EQ(Status(sim, TokenLogin(token)), wire::ERR_TOKEN_INVALID);
}

TEST(SimLogin, ExpiredPasswordSessionMayOnlyChangeItAndPolicyApplies) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "carol", "Carol#12345", "--acl", "0x40"}), 0);
    ASSERT_EQ(sim.Simctl({"expire-password", "carol"}), 0);
    ASSERT_EQ(sim.Simctl({"set-policy", "0", "0", "10", "1", "1", "1"}), 0);
    RawClient client(sim.port(), true);
    std::optional<wire::pb::Response> login = client.Call(PasswordLogin("carol", "Carol#12345"));
    ASSERT_TRUE(login.has_value());
    EXPECT_EQ(login->status(), wire::ERR_PASSWORD_EXPIRED);
    EXPECT_TRUE(login->login().password_expired());
    EXPECT_NE(login->login().session_id(), 0u);

    wire::pb::Request acl;
    acl.mutable_get_user_acl()->set_user("carol");
    EXPECT_EQ(client.Status(acl), wire::ERR_PASSWORD_CHANGE_ONLY);
    EXPECT_EQ(client.Status(SetOwnPassword("short#A1")), wire::ERR_PASSWORD_POLICY);
    EXPECT_EQ(client.Status(SetOwnPassword("nouppercase#1")), wire::ERR_PASSWORD_POLICY);
    EXPECT_EQ(client.Status(SetOwnPassword("Far#Too#Long#Password1")), wire::ERR_INVALID_LENGTH);
    EXPECT_EQ(client.Status(SetOwnPassword("Renewed#2468")), wire::OK);
    std::optional<wire::pb::Response> read = client.Call(acl);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->status(), wire::OK);
    EXPECT_EQ(read->get_user_acl().acl(), 0x40u);  // the change-at-logon bit is gone
    EXPECT_EQ(Status(sim, PasswordLogin("carol", "Renewed#2468")), wire::OK);
}

TEST(SimLogin, AnonymousSessionsReadInformationOnly) {
    SimProcess sim(
        SimProcess::Options{.extraArgs = {"--firmware", "5.0.34.99", "--hsm-mode", "3"}});
    RawClient client(sim.port(), false);
    wire::pb::Request anonymous;
    anonymous.mutable_login()->set_method(wire::pb::LOGIN_ANONYMOUS);
    ASSERT_EQ(client.Status(anonymous), wire::OK);
    wire::pb::Request version;
    version.mutable_get_version_text();
    std::optional<wire::pb::Response> text = client.Call(version);
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->get_version_text().text(),
              "Orvena ORV-9000 Core Crypto Engine 5.0.34.99-orvena-sim|ORV-9000 Serial:OV00000001 "
              "(simulated)");
    wire::pb::Request mode;
    mode.mutable_get_hsm_mode();
    EXPECT_EQ(client.Call(mode)->get_hsm_mode().mode(), 3u);
    // The login opened an anonymous session, not a user's.
    wire::pb::Request random;
    random.mutable_get_random()->set_length(4);
    EXPECT_EQ(client.Status(random), wire::ERR_ACCESS_DENIED);
}

TEST(SimLogin, OtherUsersAclNeedsAdministrativeRights) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "plain", "Plain#12345", "--acl", "0x20"}), 0);
    ASSERT_EQ(sim.Simctl({"add-user", "lister", "Lister#1234", "--acl", "0x40"}), 0);
    wire::pb::Request masterAcl;
    masterAcl.mutable_get_user_acl()->set_user("master");
    wire::pb::Request ghostAcl;
    ghostAcl.mutable_get_user_acl()->set_user("ghost");

    RawClient plain(sim.port(), false);
    ASSERT_EQ(plain.Status(PasswordLogin("plain", "Plain#12345")), wire::OK);
    EXPECT_EQ(plain.Status(masterAcl), wire::ERR_ACCESS_DENIED);
    RawClient lister(sim.port(), false);
    ASSERT_EQ(lister.Status(PasswordLogin("lister", "Lister#1234")), wire::OK);
    std::optional<wire::pb::Response> read = lister.Call(masterAcl);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->get_user_acl().acl(), 0x80u);
    EXPECT_EQ(lister.Status(ghostAcl), wire::ERR_NOT_FOUND);
}

TEST(SimHash, DigestsHmacKeysAndHandleChecks) {
    SimProcess sim;
    RawClient client(sim.port(), false);
    ASSERT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    auto create = [&](uint32_t algorithm) {
        wire::pb::Request request;
        request.mutable_create_hash()->set_algorithm(algorithm);
        return client.Call(request);
    };
    auto data = [&](uint64_t id, const std::string &bytes) {
        wire::pb::Request request;
        request.mutable_update_hash()->set_hash_id(id);
        request.mutable_update_hash()->set_data(bytes);
        return client.Status(request);
    };
    auto finish = [&](uint64_t id) {
        wire::pb::Request request;
        request.mutable_finish_hash()->set_hash_id(id);
        return client.Call(request)->finish_hash().digest();
    };

    uint64_t sha = create(wire::pb::HASH_SHA256)->create_hash().hash_id();
    EXPECT_EQ(data(sha, "ab"), wire::OK);
    EXPECT_EQ(data(sha, "c"), wire::OK);
    unsigned char expected[32];
    unsigned int length = 0;
    EVP_Digest("abc", 3, expected, &length, EVP_sha256(), nullptr);
    EXPECT_EQ(finish(sha), std::string(reinterpret_cast<char *>(expected), 32));
    EXPECT_EQ(data(sha, "more"), wire::ERR_BAD_STATE);

    uint64_t hmac = create(wire::pb::ALG_HMAC_SHA256)->create_hash().hash_id();
    EXPECT_EQ(data(hmac, "abc"), wire::ERR_BAD_STATE);  // no key yet
    wire::pb::Request key;
    key.mutable_set_hash_key()->set_hash_id(hmac);
    key.mutable_set_hash_key()->set_key("key");
    EXPECT_EQ(client.Status(key), wire::OK);
    EXPECT_EQ(data(hmac, "abc"), wire::OK);
    EXPECT_EQ(finish(hmac).size(), 32u);

    EXPECT_EQ(create(3)->status(), wire::ERR_BAD_ALGORITHM);
    wire::pb::Request named;
    named.mutable_create_hash()->set_algorithm(wire::pb::ALG_HMAC_SHA256);
    named.mutable_create_hash()->set_key_name("missing");
    EXPECT_EQ(client.Status(named), wire::ERR_NOT_FOUND);

    RawClient other(sim.port(), false);
    ASSERT_EQ(other.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    wire::pb::Request foreign;
    foreign.mutable_update_hash()->set_hash_id(hmac);
    EXPECT_EQ(other.Status(foreign), wire::ERR_INVALID_HANDLE);

    wire::pb::Request destroy;
    destroy.mutable_destroy_hash()->set_hash_id(sha);
    EXPECT_EQ(client.Status(destroy), wire::OK);
    EXPECT_EQ(client.Status(destroy), wire::ERR_INVALID_HANDLE);
    for (int i = 1; i < 64; ++i)
        ASSERT_EQ(create(wire::pb::HASH_MD5)->status(), wire::OK);  // hmac + 63
    EXPECT_EQ(create(wire::pb::HASH_MD5)->status(), wire::ERR_NO_MEMORY);

    wire::pb::Request random;
    random.mutable_get_random()->set_length(0);
    EXPECT_EQ(client.Status(random), wire::ERR_INVALID_LENGTH);
    random.mutable_get_random()->set_length((1u << 20) + 1);
    EXPECT_EQ(client.Status(random), wire::ERR_INVALID_LENGTH);
    random.mutable_get_random()->set_length(1u << 20);
    EXPECT_EQ(client.Call(random)->get_random().data().size(), 1u << 20);
}

}  // namespace
