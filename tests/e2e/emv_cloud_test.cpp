// EMV certification requests written to their files for every scheme, and the cloud screens:
// binding and unbinding under "Telemetry", and a policy edit that writes only the answers.

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "keys_dialogue.h"
#include "temp_dir.h"
#include "test_crypto.h"

namespace {

using keys_e2e::KeysConsole;

// The SHA-1 of the certificate data inside a request file (its layout is the library's).
std::string CertificateDataSha1(const std::string &request) {
    const size_t length = (uint8_t(request[6]) << 8) | uint8_t(request[7]);
    uint8_t digest[SHA_DIGEST_LENGTH];
    SHA1(reinterpret_cast<const uint8_t *>(request.data() + 8), length, digest);
    return std::string(reinterpret_cast<const char *>(digest), sizeof digest);
}

std::set<std::string> FilesIn(const std::string &dir) {
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(dir))
        names.insert(entry.path().filename().string());
    return names;
}

TEST(EmvCsrAndCloud, EverySchemeWritesItsFilesAndTelemetryAndPolicyScreensBindAndEdit) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    TempDir files;
    console.StartGeneration("RSA");
    console.Send("issuer\n");
    console.Answer("Option : ", "3\n");  // 1152 bits, which every scheme takes
    console.DefaultAttributes();
    console.Expect("Key issuer: rsa-1152");
    console.Leave(1);

    struct Case {
        const char *number;
        const char *file;
        const char *firstPrompt;
        const char *typePrompt;  // null: ELO asks none
        const char *typeValue;
    };
    for (const Case &c :
         {Case{"1", "visa", "Tracking Number(6) : ", "Service ID(8) : ", "11223344"},
          Case{"2", "mc",
               "Cert. Serial Number(6) : ", "Issuer Public Key File Index(6) : ", "A1B2C3"},
          Case{"3", "elo", "Key ID(6) : ", nullptr, nullptr},
          Case{"4", "jcb",
               "Cert. Serial Number(6) : ", "Issuer Public Key File Index(6) : ", "A1B2C3"}}) {
        SCOPED_TRACE(c.file);
        console.Open("EFT...", "HSM - EFT\n\n");
        console.Choose("EMV CSR", "HSM - EFT - EMV CSR\n\n");
        console.Answer("RSA Key Name (HSM) : ", "issuer\n");
        console.Expect("Public exponent(hex) : ");
        console.Answer("\nCSR type :  \n 1 - Visa\n 2 - MasterCard\n 3 - ELO\n 4 - JCB\nOption : ",
                       std::string(c.number) + "\n");
        console.Answer(c.firstPrompt, "00012A\n");
        if (c.typePrompt != nullptr) console.Answer(c.typePrompt, std::string(c.typeValue) + "\n");
        console.Answer("Issuer ID(BIN)(8) : ", "451234FF\n");
        console.Answer("Cert. Exp. Date(MMYY) : ", "1230\n");
        console.Answer("File (local) : ", files.Path(c.file) + "\n");
        console.Expect("\nFile exported successfully.\n");
        console.Leave(1);
    }
    EXPECT_EQ(FilesIn(files.path()), (std::set<std::string>{"visa.INP", "visa.hash", "mc.SIP",
                                                            "mc.HIP", "elo.CSR", "jcb"}));

    const std::string visaHash = CertificateDataSha1(ReadFileBytes(files.Path("visa.INP")));
    std::string text;
    for (unsigned char byte : visaHash) {
        char group[8];
        std::snprintf(group, sizeof group, "0x%02X ", byte);
        text += group;
    }
    EXPECT_EQ(ReadFileBytes(files.Path("visa.hash")), text);
    EXPECT_EQ(ReadFileBytes(files.Path("mc.HIP")),
              std::string("\x45\x12\x34\xFF\x00\x01\x2A\x01", 8) +
                  CertificateDataSha1(ReadFileBytes(files.Path("mc.SIP"))));
    EXPECT_EQ(ReadFileBytes(files.Path("jcb"))[0], '\x04');
    EXPECT_EQ(ReadFileBytes(files.Path("elo.CSR")).substr(0, 6),
              std::string("\x03\x01\0\0\0\0", 6));

    // Telemetry binds and unbinds; a policy edit writes only the answers.
    const TestCertificate cloud = MakeTestCertificate("Orvena Super Cloud");
    std::ofstream(console.sim().dataDir() + "/cloud.crt") << cloud.pem;
    const std::string keyPath = console.sim().dataDir() + "/cloud.pem";
    std::ofstream(keyPath) << cloud.KeyPem();
    std::string bindKey;
    ASSERT_EQ(
        console.sim().Simctl({"make-bind-key", "--account", "acme-bank", "--hsm-id", "OV00000001",
                              "--url", "https://127.0.0.1:9/status", "--key", keyPath},
                             &bindKey),
        0);

    // Unbound: straight to the bind key, then the binding under 23-column labels.
    console.Choose("Telemetry", "HSM - Telemetry\n\n");
    console.Answer("Bind key : ", bindKey);
    console.Expect(
        "\n          Telemetry URL : https://127.0.0.1:9/status\n"
        " Super Cloud Account Id : acme-bank\n"
        "                 HSM Id : OV00000001\n"
        "\nBind completed successfully.\n");
    console.Leave(0);

    // Bound: no bind key, the binding and the actions; "no" keeps it.
    for (const char *answer : {"n\n", "y\n"}) {
        console.Choose("Telemetry", "HSM - Telemetry\n\n");
        console.Expect(" Super Cloud Account Id : acme-bank\n");
        console.Answer("Actions :\n 1 - Unbind\n 2 - Main Menu\nOption : ", "1\n");
        console.Answer(
            "This HSM is already bound to Orvena Super Cloud.\nDo you want to unbind it "
            "(y/[n]): ",
            answer);
        console.Expect(answer[0] == 'n' ? "\nOperation cancelled!\n"
                                        : "\nUnbind completed successfully.\n");
        console.Leave(0);
    }
    console.Choose("Telemetry", "HSM - Telemetry\n\n");
    console.Answer("Bind key : ", "\n");
    console.Leave(0);

    // The default policy; an edit to both bits; then both answers no, which writes 0 whatever
    // the policy was.
    struct Edit {
        const char *shown;
        const char *tfa;
        const char *online;
    };
    for (const Edit &edit : {Edit{"no\nSet Authorized state online: yes\n", "y\n", "y\n"},
                             Edit{"yes\nSet Authorized state online: yes\n", "n\n", "\n"}}) {
        console.Choose("Policies", "HSM - Policies\n\n");
        console.Expect(std::string("TFA with certificate for HTTPS: ") + edit.shown);
        console.Answer("\nActions :\n 1 - Edit\n 2 - Exit\nOption : ", "1\n");
        console.Answer("TFA with certificate for HTTPS (y/[n]): ", edit.tfa);
        console.Answer("Set Authorized state online (y/[n]): ", edit.online);
        console.Expect("\nPolicy defined successfully.\n");
        console.Leave(0);
    }
    console.Choose("Policies", "HSM - Policies\n\n");
    console.Expect("TFA with certificate for HTTPS: no\nSet Authorized state online: no\n");
    console.Answer("Option : ", "2\n");
    console.Leave(0);
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
