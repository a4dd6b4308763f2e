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

void WriteClientKeyAndCertificate(const std::string &keyPath, const std::string &certPath) {
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    ASSERT_NE(key, nullptr);
    std::unique_ptr<X509, decltype(&X509_free)> cert(X509_new(), X509_free);
    X509_set_version(cert.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), -60);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 3600);
    X509_NAME *name = X509_get_subject_name(cert.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>("tarsel e2e"), -1, -1, 0);
    X509_set_issuer_name(cert.get(), name);
    X509_set_pubkey(cert.get(), key.get());
    ASSERT_GT(X509_sign(cert.get(), key.get(), EVP_sha256()), 0);

    FILE *keyFile = fopen(keyPath.c_str(), "w");
    ASSERT_NE(keyFile, nullptr);
    PEM_write_PrivateKey(keyFile, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    fclose(keyFile);
    FILE *certFile = fopen(certPath.c_str(), "w");
    ASSERT_NE(certFile, nullptr);
    PEM_write_X509(certFile, cert.get());
    fclose(certFile);
}

bool EnterPasswordAndReachMainMenu(PtyDriver &console, const std::string &password) {
    if (!console.Expect("HSM User Password :")) return false;
    console.SendSecret(password + "\n");
    return console.Expect("Connecting...") && console.Expect("Main Menu") &&
           console.Expect("Option : ");
}
