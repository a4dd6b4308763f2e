// Login rules and the session services the simulator enforces, at the protocol level.

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

// What the library cannot send: a failed login on a live connection, an OTP from a user
// without a token, and a mutual-TLS claim over a connection that presented no certificate.
TEST(SimLogin, TheServerDecidesFromWhatItSeesNotFromWhatTheClientClaims) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "alice", "Alice#12345"}), 0);
    {  // a failed login leaves the connection as unauthenticated as before
        RawClient client(sim.port(), false);
        EXPECT_EQ(client.Status(PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
        EXPECT_EQ(client.Status(Liveness()), wire::ERR_NOT_AUTHENTICATED);
        EXPECT_EQ(client.Status(PasswordLogin("alice", "Alice#12345")), wire::OK);
    }

    // An OTP offered by a user without a token is wrong, not ignored.
    EXPECT_EQ(Status(sim, PasswordLogin("master", sim.initPassword(), wire::pb::AUTH_PASSWORD_OTP,
                                        Hotp(0))),
              wire::ERR_OTP_INVALID);

    TestCertificate registered = MakeTestCertificate("bob");
    std::string pem = sim.dataDir() + "/bob.pem";
    std::ofstream(pem) << registered.pem;
    ASSERT_EQ(sim.Simctl({"add-user", "bob", "Bob#1234567", "--acl", "0x10000000"}), 0);
    ASSERT_EQ(sim.Simctl({"set-cert", "bob", pem}), 0);
    RawClient anonymousTls(sim.port(), true);
    EXPECT_EQ(anonymousTls.Status(PasswordLogin("bob", "Bob#1234567", wire::pb::AUTH_MUTUAL_TLS)),
              wire::ERR_CERT_REQUIRED);
    RawClient right(sim.port(), true,
                    ClientTlsIdentity{registered.cert.get(), registered.key.get()});
    EXPECT_EQ(right.Status(PasswordLogin("bob", "Bob#1234567", wire::pb::AUTH_MUTUAL_TLS)),
              wire::OK);

    // A blocked account opens again only when an administrator unblocks it.
    ASSERT_EQ(sim.Simctl({"set-policy", "1", "0", "8", "0", "0", "0"}), 0);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "wrong")), wire::ERR_AUTH_FAILED);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "Alice#12345")), wire::ERR_USER_BLOCKED);
    ASSERT_EQ(sim.Simctl({"unblock", "alice"}), 0);
    EXPECT_EQ(Status(sim, PasswordLogin("alice", "Alice#12345")), wire::OK);
}

TEST(SimLogin, AccessTokensAreRefusedWhenForgedShortOrRevoked) {
    SimProcess sim;
    std::string good;
    ASSERT_EQ(sim.Simctl({"add-token", "master"}, &good), 0);
    std::string token = Base64Decode(good.substr(0, good.find('\n')));
    ASSERT_EQ(token.size(), 32u);
    EXPECT_EQ(Status(sim, TokenLogin(token)), wire::OK);
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
    EXPECT_EQ(data(sha, "abc"), wire::OK);
    EXPECT_EQ(finish(sha).size(), 32u);  // the values are the library tests' vectors
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
