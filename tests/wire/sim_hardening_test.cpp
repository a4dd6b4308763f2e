// The simulator's defences that need no login to try: TLS versions and suites, the
// certificate it makes, its files, and text that is not UTF-8.

#include <gtest/gtest.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>

#include "sim_process.h"
#include "sim_raw_client.h"
#include "temp_dir.h"

namespace {

struct Handshake {
    bool done = false;
    X509 *serverCertificate = nullptr;  // owned
    ~Handshake() { X509_free(serverCertificate); }
};

// A TLS handshake offering only `version` and, for TLS 1.2 and older, `ciphers`.
void TryHandshake(uint16_t port, int version, const char *ciphers, Handshake *out) {
    RawClient tcp(port, false);
    SSL_CTX *ctx = SSL_CTX_new(TLS_client_method());
    SSL_CTX_set_security_level(ctx, 0);  // so that this client offers what the server refuses
    SSL_CTX_set_min_proto_version(ctx, version);
    SSL_CTX_set_max_proto_version(ctx, version);
    SSL_CTX_set_cipher_list(ctx, ciphers);
    SSL *ssl = SSL_new(ctx);
    SSL_set_fd(ssl, tcp.fd());
    out->done = SSL_connect(ssl) == 1;
    if (out->done) out->serverCertificate = SSL_get1_peer_certificate(ssl);
    SSL_free(ssl);
    SSL_CTX_free(ctx);
}

TEST(SimHardening, TlsTakesOnlyVersionsOneTwoAndOneThreeWithForwardSecretAeadSuites) {
    SimProcess sim;
    for (int old : {TLS1_VERSION, TLS1_1_VERSION}) {
        Handshake h;
        TryHandshake(sim.port(), old, "ALL:@SECLEVEL=0", &h);
        EXPECT_FALSE(h.done) << "version " << old;
    }
    for (const char *weak : {"ECDHE-ECDSA-AES128-SHA", "ECDHE-ECDSA-AES256-SHA",
                             "ECDHE-ECDSA-AES128-SHA256", "AES128-GCM-SHA256"}) {
        Handshake h;
        TryHandshake(sim.port(), TLS1_2_VERSION, weak, &h);
        EXPECT_FALSE(h.done) << weak;
    }
    Handshake tls13;
    TryHandshake(sim.port(), TLS1_3_VERSION, "ALL", &tls13);
    EXPECT_TRUE(tls13.done);
    Handshake tls12;
    TryHandshake(sim.port(), TLS1_2_VERSION, "ECDHE-ECDSA-AES128-GCM-SHA256", &tls12);
    ASSERT_TRUE(tls12.done);

    // The certificate it made: valid now, for years rather than decades, a 256-bit key or
    // stronger, signed with SHA-256.
    X509 *cert = tls12.serverCertificate;
    ASSERT_NE(cert, nullptr);
    EXPECT_LE(X509_cmp_current_time(X509_get0_notBefore(cert)), 0);
    EXPECT_GE(X509_cmp_current_time(X509_get0_notAfter(cert)), 0);
    int days = 0;
    int seconds = 0;
    ASSERT_EQ(ASN1_TIME_diff(&days, &seconds, X509_get0_notBefore(cert), X509_get0_notAfter(cert)),
              1);
    EXPECT_GE(days, 365);
    EXPECT_LE(days, 10 * 366);
    EXPECT_GE(EVP_PKEY_get_bits(X509_get0_pubkey(cert)), 256);
    EXPECT_EQ(X509_get_signature_nid(cert), NID_ecdsa_with_SHA256);
}

TEST(SimHardening, DataFilesAreTheOwnersAloneAndAWritableDirectoryIsRefused) {
    {
        SimProcess sim;
        ASSERT_NE(sim.port(), 0);
        for (const auto &entry : std::filesystem::directory_iterator(sim.dataDir())) {
            struct stat st {};
            ASSERT_EQ(::stat(entry.path().c_str(), &st), 0);
            EXPECT_EQ(st.st_mode & 077, 0u) << entry.path();
        }
    }
    TempDir dir;
    const std::string data = dir.Path("hsm");
    ASSERT_EQ(::mkdir(data.c_str(), 0700), 0);
    ASSERT_EQ(::chmod(data.c_str(), 0777), 0);
    const std::string output = dir.Path("out");
    const std::string command = "timeout 30 " + std::string(ORVENA_SIM_PATH) + " --data " + data +
                                " --listen 127.0.0.1:0 --discovery-port 0 >" + output + " 2>&1";
    EXPECT_NE(std::system(command.c_str()), 0);
    const std::string text = ReadFileBytes(output);
    EXPECT_NE(text.find("can be written by other users"), std::string::npos) << text;
    EXPECT_FALSE(std::filesystem::exists(data + "/hsm.db"));
}

TEST(SimHardening, TextThatIsNotUtf8IsRefusedWithoutFloodingTheDiagnostics) {
    TempDir dir;
    const std::string diagnostics = dir.Path("stderr");
    SimProcess sim(SimProcess::Options{.stderrPath = diagnostics});
    RawClient client(sim.port(), true);
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(client.Status(PasswordLogin("ma\xffster", sim.initPassword())),
                  wire::ERR_PROTOCOL);
    EXPECT_EQ(client.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    EXPECT_EQ(std::filesystem::file_size(diagnostics), 0u);
}

}  // namespace
