// The key information screen of each kind of object: PKCS#11 maps and the objects they
// point at, maps in the older form, certificates, and blocking a key from the screen.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "keys_dialogue.h"
#include "qelvoarc.h"

namespace {

using keys_e2e::InfoLine;
using keys_e2e::KeysConsole;

constexpr char kAesKey[] = "2B7E151628AED2A6ABF7158809CF4F3C";

time_t Utc(int year, int month, int day, int hour, int minute, int second) {
    struct tm utc = {};
    utc.tm_year = year - 1900;
    utc.tm_mon = month - 1;
    utc.tm_mday = day;
    utc.tm_hour = hour;
    utc.tm_min = minute;
    utc.tm_sec = second;
    return timegm(&utc);
}

// A self-signed P-256 certificate "O=Tarsel Tests, CN=<commonName>" in DER.
std::vector<uint8_t> SelfSignedCertificate(const char *commonName, uint64_t serial,
                                           time_t notBefore, time_t notAfter) {
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    std::unique_ptr<X509, decltype(&X509_free)> cert(X509_new(), X509_free);
    if (!key || !cert) return {};
    X509_set_version(cert.get(), 2);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(cert.get()), serial);
    ASN1_TIME_set(X509_getm_notBefore(cert.get()), notBefore);
    ASN1_TIME_set(X509_getm_notAfter(cert.get()), notAfter);
    X509_NAME *name = X509_get_subject_name(cert.get());
    const auto *organisation = reinterpret_cast<const unsigned char *>("Tarsel Tests");
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC, organisation, -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(commonName), -1, -1, 0);
    X509_set_issuer_name(cert.get(), name);
    X509_set_pubkey(cert.get(), key.get());
    if (X509_sign(cert.get(), key.get(), EVP_sha256()) == 0) return {};
    std::vector<uint8_t> der(static_cast<size_t>(i2d_X509(cert.get(), nullptr)));
    unsigned char *out = der.data();
    i2d_X509(cert.get(), &out);
    return der;
}

// Stores a certificate object through the library on a session of its own: the console
// has no import of certificates yet.
uint32_t ImportCertificate(const SimProcess &sim, const char *name,
                           const std::vector<uint8_t> &der) {
    QPasswordLoginRecord record{};
    std::strncpy(record.address, "127.0.0.1", sizeof record.address);
    record.port = sim.port();
    std::strncpy(record.userId, "master", sizeof record.userId);
    std::strncpy(record.password, sim.initPassword().c_str(), sizeof record.password);
    record.authMode = Q_AUTH_PASSWORD;
    uint32_t status = QInitialize(0);
    if (status != Q_OK) return status;
    QSessionHandle session = 0;
    status = QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS);
    if (status == Q_OK) {
        QKeyHandle key = 0;
        status = QImportKey(session, name, 0, Q_BLOB_X509_CERT, Q_ALG_OBJ_X509_CERT, 0, der.data(),
                            static_cast<uint32_t>(der.size()), &key);
        if (status == Q_OK) QDestroyKey(key, 0);
        QCloseSession(&session, 0);
    }
    QFinalize();
    return status;
}

// The value printed after `label` on the screen, up to the end of its line.
std::string ValueOf(const std::string &screen, const char *label) {
    char start[64];
    snprintf(start, sizeof start, "%35s", label);
    const size_t at = screen.find(start);
    if (at == std::string::npos) return std::string("(no line ") + label + ")";
    const size_t from = at + strlen(start);
    return screen.substr(from, screen.find('\n', from) - from);
}

// The end of the screen's action menu when "Set label" is the only action.
constexpr char kOnlySetLabel[] = " 1 - Set label\n\n  0 - Exit\n";

TEST(KeysInfo, Pkcs11MapShowsTheAttributesOfItsTargetWhichShowsTheMap) {
    KeysConsole console({"-l"});
    ASSERT_TRUE(console.ready());
    const std::vector<uint8_t> der =
        SelfSignedCertificate("Mapped", 7, Utc(2025, 1, 1, 0, 0, 0), Utc(2030, 1, 1, 0, 0, 0));
    ASSERT_EQ(ImportCertificate(console.sim(), "p-cert", der), Q_OK);

    console.StartGeneration("AES");
    console.Send("p-key\n");
    console.Send("1\n");
    console.Expect("Exportable (y/[n]):");
    console.Send("\n");
    console.Expect("Define an Usage Profile (y/[n]):");
    console.Send("\n");
    console.Expect("\nKey generated successfully.\n\n");
    console.Expect("Press ENTER key to continue...");
    console.Send("\n");
    console.Expect("Option : ");
    console.Choose("PKCS11 MAP", "Keys/Objects - Generate - PKCS11 MAP\n\n");
    console.Expect("MAP Name (HSM) : ");
    console.Send("p-map\n");
    console.Expect("Key Name (HSM) : ");
    console.Send("p-key\n");
    console.Expect("Certificate Name (HSM) (ENTER for none) : ");
    console.Send("p-cert\n");
    console.Expect("CKA_LABEL : ");
    console.Send("Info label\n");
    console.Expect("\nMap created successfully.\n\n");
    console.LeaveAction();

    const std::string section = InfoLine("Target : ", "p-key") +
                                InfoLine("Associate : ", "p-cert") +
                                InfoLine("CKA_CLASS : ", "CKO_SECRET_KEY");
    const std::string mechanism = InfoLine("CKA_KEY_GEN_MECHANISM : ", "CKM_AES_KEY_GEN") + "\n";

    std::string screen = console.KeyInformation("p-map");
    EXPECT_EQ(ValueOf(screen, "Type : "), "pkcs11-map");
    EXPECT_NE(screen.find(section), std::string::npos) << screen;
    EXPECT_EQ(ValueOf(screen, "CKA_LABEL : "), "Info label");
    EXPECT_EQ(ValueOf(screen, "CKA_LOCAL : "), "CK_TRUE");  // generated by the HSM
    EXPECT_NE(screen.find(mechanism), std::string::npos) << screen;
    for (const char *label :
         {"CKA_APPLICATION : ", "CKA_ID : ", "CKA_TRUSTED : ", "CKA_WRAP_WITH_TRUSTED : ",
          "CKA_CERTIFICATE_CATEGORY : ", "CKA_JAVA_MIDP_SECURITY_DOMAIN : "}) {
        EXPECT_EQ(ValueOf(screen, label).find("(no line"), std::string::npos) << screen;
    }
    // A map cannot be blocked, so the screen does not offer it.
    EXPECT_NE(screen.find(kOnlySetLabel), std::string::npos) << screen;

    // The key and its certificate each show the map after their own values.
    for (const char *name : {"p-key", "p-cert"}) {
        SCOPED_TRACE(name);
        screen = console.KeyInformation(name);
        const size_t map = screen.find(InfoLine("PKCS#11 map : ", "p-map") + section);
        EXPECT_NE(map, std::string::npos) << screen;
        EXPECT_LT(screen.find(std::string(name) == "p-key" ? "KCV : " : "Not after : "), map);
        EXPECT_NE(screen.find(mechanism, map), std::string::npos) << screen;
    }
    EXPECT_EQ(console.Exit(), 0);
}

TEST(KeysInfo, OldMapShowsItsTwoSlots) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    console.ImportClearKey("4", "1", "o-key1", kAesKey);
    console.Expect("Key imported successfully.");
    console.LeaveTwoMenus();
    console.ImportClearKey("1", "", "o-key2", "0123456789ABCDEF");
    console.Expect("Key imported successfully.");
    console.LeaveTwoMenus();
    console.Choose("Generate...", "Keys/Objects - Generate\n\n");
    console.Expect("Option : ");
    console.Choose("MAP", "Keys/Objects - Generate - MAP\n\n");
    console.Expect("MAP Name (HSM) : ");
    console.Send("o-map\n");
    console.Expect("Slot 1: ");
    console.Send("o-key1\n");
    console.Expect("Slot 2: ");
    console.Send("o-key2\n");
    console.Expect("\nMap created successfully.\n\n");
    console.LeaveAction();

    const std::string screen = console.KeyInformation("o-map");
    const std::string slots = std::string(27, ' ') + "OLD MAP!\n" +
                              InfoLine("Slot1 Id : ", "o-key1") + InfoLine("Slot1 Type : ", "0") +
                              InfoLine("Slot2 Id : ", "o-key2") + InfoLine("Slot2 Type : ", "0") +
                              "\n";
    EXPECT_EQ(ValueOf(screen, "Type : "), "map");
    EXPECT_NE(screen.find(slots), std::string::npos) << screen;
    EXPECT_EQ(screen.find("PKCS#11 map : "), std::string::npos) << screen;
    EXPECT_NE(screen.find(kOnlySetLabel), std::string::npos) << screen;
    EXPECT_EQ(console.Exit(), 0);
}

TEST(KeysInfo, CertificateShowsItsNamesSerialAndValidity) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    const std::vector<uint8_t> der = SelfSignedCertificate(
        "Info Cert", 0x1A2B3C4D5E6Full, Utc(2024, 1, 2, 3, 4, 5), Utc(2051, 6, 30, 23, 59, 59));
    ASSERT_FALSE(der.empty());
    ASSERT_EQ(ImportCertificate(console.sim(), "c-cert", der), Q_OK);

    const std::string screen = console.KeyInformation("c-cert");
    EXPECT_EQ(ValueOf(screen, "Type : "), "x509-cert");
    EXPECT_EQ(ValueOf(screen, "Subject : "), "/O=Tarsel Tests/CN=Info Cert");
    EXPECT_EQ(ValueOf(screen, "Issuer : "), "/O=Tarsel Tests/CN=Info Cert");
    EXPECT_EQ(ValueOf(screen, "Serial number : "), "1A2B3C4D5E6F");
    EXPECT_NE(screen.find(InfoLine("Not before : ", "2024-Jan-02 03:04:05 UTC +0000") +
                          InfoLine("Not after : ", "2051-Jun-30 23:59:59 UTC +0000") + "\n"),
              std::string::npos)
        << screen;
    EXPECT_EQ(console.Exit(), 0);
}

TEST(KeysInfo, KeyIsBlockedAndUnblockedFromItsScreen) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    console.ImportClearKey("4", "1", "b-key", kAesKey);
    console.Expect("Key imported successfully.");
    console.LeaveTwoMenus();

    console.Choose("Attributes", "Keys/Objects - Attributes\n\n");
    console.Expect("Name (HSM) : ");
    console.Send("b-key\n");
    // Each round: the state the HSM reports, the action it offers, and its result; the
    // screen is read again from the HSM after every action.
    struct Round {
        const char *blocked;
        const char *action;
        const char *result;
    };
    for (const Round &round :
         {Round{"no", " 2 - Block\n", "\nKey blocked successfully.\n\n"},
          Round{"yes", " 2 - Unblock\n", "\nKey unblocked successfully.\n\n"}}) {
        SCOPED_TRACE(round.action);
        console.Expect(InfoLine("Blocked : ", round.blocked));
        console.Expect(round.action);
        console.Expect("Option : ");
        console.Send("2\n");
        console.Expect(round.result);
        console.Expect("Press ENTER key to continue...");
        console.Send("\n");
        console.Expect("Keys/Objects - Attributes\n\nName (HSM) : b-key\n");
    }
    console.Expect(InfoLine("Blocked : ", "no"));
    console.Expect(" 2 - Block\n");
    console.Expect("Option : ");
    console.Send("0\n");
    console.LeaveMainAction();
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
