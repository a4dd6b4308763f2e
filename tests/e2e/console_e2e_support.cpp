#include "console_e2e_support.h"

#include <gtest/gtest.h>
#include <liboath/oath.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

std::vector<std::string> ConsoleArgs(const SimProcess &sim, const std::string &user,
                                     const std::vector<std::string> &more) {
    std::vector<std::string> args = {"127.0.0.1", user, "-p", std::to_string(sim.port())};
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

ScratchDir::ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarsel-e2e-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    dir_ = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
}

std::string ReadFileBytes(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string Hotp(const std::string &seedHex, uint64_t counter) {
    std::string seed(seedHex.size() / 2, '\0');
    size_t seedLength = seed.size();
    EXPECT_EQ(oath_hex2bin(seedHex.c_str(), seed.data(), &seedLength), OATH_OK);
    char otp[7] = {};
    EXPECT_EQ(oath_hotp_generate(seed.data(), seedLength, counter, 6, false,
                                 OATH_HOTP_DYNAMIC_TRUNCATION, otp),
              OATH_OK);
    return otp;
}

TestCertificate SelfSigned(const char *commonName, uint64_t serial, const char *notBefore,
                           const char *notAfter) {
    TestCertificate made;
    made.key.reset(EVP_EC_gen("P-256"));
    made.cert.reset(X509_new());
    X509 *cert = made.cert.get();
    if (!made.key || !cert) return {};
    X509_set_version(cert, 2);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(cert), serial);
    ASN1_TIME_set_string_X509(X509_getm_notBefore(cert), notBefore);
    ASN1_TIME_set_string_X509(X509_getm_notAfter(cert), notAfter);
    X509_NAME *name = X509_get_subject_name(cert);
    for (const auto &[field, value] : {std::pair{"O", "Tarsel Tests"}, std::pair{"CN", commonName}})
        X509_NAME_add_entry_by_txt(name, field, MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char *>(value), -1, -1, 0);
    X509_set_issuer_name(cert, name);
    X509_set_pubkey(cert, made.key.get());
    if (X509_sign(cert, made.key.get(), EVP_sha256()) == 0) return {};
    return made;
}

void WriteClientKeyAndCertificate(const std::string &keyPath, const std::string &certPath) {
    const TestCertificate made = SelfSigned("tarsel e2e", 1, "20200101000000Z", "20991231235959Z");
    ASSERT_NE(made.cert, nullptr);
    EVP_PKEY *key = made.key.get();
    X509 *cert = made.cert.get();
    FILE *keyFile = fopen(keyPath.c_str(), "w");
    ASSERT_NE(keyFile, nullptr);
    PEM_write_PrivateKey(keyFile, key, nullptr, nullptr, 0, nullptr, nullptr);
    fclose(keyFile);
    FILE *certFile = fopen(certPath.c_str(), "w");
    ASSERT_NE(certFile, nullptr);
    PEM_write_X509(certFile, cert);
    fclose(certFile);
}

bool EnterPasswordAndReachMainMenu(PtyDriver &console, const std::string &password) {
    if (!console.Expect("HSM User Password :")) return false;
    console.SendSecret(password + "\n");
    return console.Expect("Connecting...") && console.Expect("Main Menu") &&
           console.Expect("Option : ");
}

void ExpectLoginRefused(const SimProcess &sim, const std::string &user,
                        const std::string &password) {
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, user));
    AnswerSecret(console, "HSM User Password :", password + "\n");
    console.Expect("\nError opening session. ");
    EXPECT_NE(console.WaitExit(), 0);
}

void LogInAndExit(const SimProcess &sim, const std::string &user, const std::string &password) {
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, user));
    ASSERT_TRUE(EnterPasswordAndReachMainMenu(console, password));
    EXPECT_NE(console.Output().find("ID " + user + "\n"), std::string::npos);
    ExitFromMainMenu(console);
}
