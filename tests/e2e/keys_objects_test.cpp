// Objects through the console: clear-key import of every family, listing, and the
// information screen of each kind of object (check values, PKCS#11 maps and the objects they
// point at, maps in the older form, certificates), blocking and removal.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "keys_dialogue.h"
#include "qelvoarc.h"

namespace {

using keys_e2e::CheckValue;
using keys_e2e::InfoLine;
using keys_e2e::KeysConsole;
using keys_e2e::ListLine;

constexpr char kDesKey[] = "0123456789ABCDEF";
constexpr char kAesKey[] = "2B7E151628AED2A6ABF7158809CF4F3C";

// Stores a certificate object through the library on a session of its own: the console
// has no import of certificates yet.
uint32_t ImportCertificate(const SimProcess &sim, const char *name,
                           const std::vector<uint8_t> &der) {
    uint32_t status = QInitialize(0);
    if (status != Q_OK) return status;
    QSessionHandle session = 0;
    status = OpenLibrarySession(sim, "master", sim.initPassword(), &session);
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

// -l offers PKCS#11 maps.
TEST(KeysObjects, ClearKeysImportWithTheirSummaryAndEveryKindOfObjectShowsItsOwnSections) {
    ASSERT_EQ(CheckValue(kDesKey), "D5D44F");  // the reference itself
    KeysConsole console({"-l"});
    ASSERT_TRUE(console.ready());
    struct Case {
        const char *choice;
        const char *size;
        const char *name;
        const char *hex;
        const char *summary;
    };
    const Case cases[] = {
        {"1", "", "c-des", kDesKey, "Key c-des: des, 56 bits, not exportable\n\n"},
        {"2", "1", "c-3des", "0123456789ABCDEFFEDCBA9876543210",
         "Key c-3des: 3des-112, 112 bits, not exportable\n\n"},
        {"3", "", "c-desx", "0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF",
         "Key c-desx: desx, 184 bits, not exportable\n\n"},
        {"4", "1", "c-aes", kAesKey, "Key c-aes: aes-128, 128 bits, not exportable\n\n"},
        {"5", "", "c-arc4", "00112233445566778899AABBCCDDEEFF",
         "Key c-arc4: arc4, 128 bits, not exportable\n\n"},
        {"6", "", "c-arc5", "00112233445566778899AABBCCDDEEFF",
         "Key c-arc5: arc5, 128 bits, not exportable\n\n"},
        {"7", "2", "c-hmac", "000102030405060708090A0B0C0D0E0F10111213",
         "Key c-hmac: hmac-sha1, 160 bits, not exportable\n\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        console.ImportClearKey(c.choice, c.size, c.name, c.hex);
        console.Expect("\nKey imported successfully.\n\n");
        console.Expect(c.summary);
        console.Leave(2);
    }

    // Not hexadecimal: nothing is imported.
    console.ImportClearKey("1", "", "c-bad", "XYZ0123456789ABC");
    console.Expect("\nOperation cancelled!\n");
    console.Leave(2);

    std::string listing = console.List();
    EXPECT_NE(listing.find(ListLine("c-desx", "desx", false, false)), std::string::npos) << listing;
    EXPECT_EQ(listing.find("c-bad"), std::string::npos) << listing;
    EXPECT_NE(listing.find("\nTotal of objects: 7\n"), std::string::npos) << listing;

    std::string screen = console.KeyInformation("c-des");
    EXPECT_NE(screen.find(InfoLine("Type : ", "des")), std::string::npos) << screen;
    EXPECT_NE(screen.find(InfoLine("KCV : ", "D5D44F")), std::string::npos) << screen;
    EXPECT_NE(screen.find(InfoLine("Key size : ", "64")), std::string::npos) << screen;
    EXPECT_NE(screen.find(InfoLine("State : ", "ACTIVE")), std::string::npos) << screen;
    EXPECT_NE(screen.find(InfoLine("Archive date : ", "none")), std::string::npos) << screen;
    EXPECT_NE(screen.find(" GMT\n"), std::string::npos) << screen;

    screen = console.KeyInformation("c-aes");
    EXPECT_NE(screen.find(InfoLine("KCV : ", CheckValue(kAesKey, true))), std::string::npos)
        << screen;
    EXPECT_NE(screen.find(InfoLine("CMAC : ", "").substr(0, 35)), std::string::npos) << screen;

    // A name that does not exist.
    console.Choose("Attributes", "Keys/Objects - Attributes\n\n");
    console.Answer("Name (HSM) : ", "missing\n");
    console.Expect("\nError accessing key. ");
    console.Leave(0);

    // Removal warns and asks first; a second removal finds nothing.
    const char *const answers[] = {"n", "y", "y"};
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        console.Choose("Remove", "Keys/Objects - Remove\n\n");
        console.Answer("Name (HSM) : ", "c-des\n");
        console.Expect("*" + std::string(35, ' ') + "Warning");
        console.Expect("Removing this key means that any information encrypted");
        console.Answer("\nThe object will be permanently removed. Continue (y/[n]):",
                       std::string(answers[round]) + "\n");
        if (round == 0) console.Expect("\nOperation cancelled!\n");
        if (round == 1) console.Expect("\nc-des successfully removed.\n\n");
        if (round == 2) console.Expect("\nError removing key. ");
        console.Leave(0);
    }
    // An empty name cancels before anything is asked.
    console.Choose("Remove", "Keys/Objects - Remove\n\n");
    console.Answer("Name (HSM) : ", "\n");
    console.Expect("\nOperation cancelled!\n");
    console.Leave(0);
    listing = console.List();
    EXPECT_NE(listing.find("\nTotal of objects: 6\n"), std::string::npos) << listing;

    // A PKCS#11 map shows the attributes of its target, which shows the map.
    ASSERT_EQ(ImportCertificate(console.sim(), "p-cert", MakeTestCertificate("Mapped").der), Q_OK);

    console.StartGeneration("AES");
    console.Send("p-key\n");
    console.Answer(" 3 - 256\nOption : ", "1\n");
    console.DefaultAttributes();
    console.Expect("\nKey generated successfully.\n\n");
    console.Answer("Press ENTER key to continue...", "\n");
    console.Expect("Option : ");
    console.Choose("PKCS11 MAP", "Keys/Objects - Generate - PKCS11 MAP\n\n");
    console.Answer("MAP Name (HSM) : ", "p-map\n");
    console.Answer("Key Name (HSM) : ", "p-key\n");
    console.Answer("Certificate Name (HSM) (ENTER for none) : ", "p-cert\n");
    console.Answer("CKA_LABEL : ", "abcdefghijk\n");
    console.Expect("\nMap created successfully.\n\n");
    console.Leave(1);

    // Its list cuts the label to nine characters.
    console.Choose("List(Pkcs11)", "Keys/Objects - List(Pkcs11)\n\n");
    char line[128];
    snprintf(line, sizeof line, "%-34s %-34s %-9s\n", "p-map", "p-key", "abcdefghij...");
    console.Expect(std::string(80, '=') + "\n");
    console.Expect(line);
    console.Expect("\nTotal of objects: 1\n");
    console.Leave(0);
    listing = console.List();
    EXPECT_NE(listing.find(ListLine("p-map", "pkcs11-map", false, false).substr(0, 63)),
              std::string::npos)
        << listing;

    const std::string section = InfoLine("Target : ", "p-key") +
                                InfoLine("Associate : ", "p-cert") +
                                InfoLine("CKA_CLASS : ", "CKO_SECRET_KEY");
    const std::string mechanism = InfoLine("CKA_KEY_GEN_MECHANISM : ", "CKM_AES_KEY_GEN") + "\n";

    screen = console.KeyInformation("p-map");
    EXPECT_EQ(ValueOf(screen, "Type : "), "pkcs11-map");
    EXPECT_NE(screen.find(section), std::string::npos) << screen;
    EXPECT_EQ(ValueOf(screen, "CKA_LABEL : "), "abcdefghijk");
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

    // An old map shows its two slots.
    console.Open("Generate...", "Keys/Objects - Generate\n\n");
    console.Choose("MAP", "Keys/Objects - Generate - MAP\n\n");
    console.Answer("MAP Name (HSM) : ", "o-map\n");
    console.Answer("Slot 1: ", "c-aes\n");
    console.Answer("Slot 2: ", "c-3des\n");
    console.Expect("\nMap created successfully.\n\n");
    console.Leave(1);

    screen = console.KeyInformation("o-map");
    const std::string slots = std::string(27, ' ') + "OLD MAP!\n" +
                              InfoLine("Slot1 Id : ", "c-aes") + InfoLine("Slot1 Type : ", "0") +
                              InfoLine("Slot2 Id : ", "c-3des") + InfoLine("Slot2 Type : ", "0") +
                              "\n";
    EXPECT_EQ(ValueOf(screen, "Type : "), "map");
    EXPECT_NE(screen.find(slots), std::string::npos) << screen;
    EXPECT_EQ(screen.find("PKCS#11 map : "), std::string::npos) << screen;
    EXPECT_NE(screen.find(kOnlySetLabel), std::string::npos) << screen;
    listing = console.List();
    EXPECT_NE(listing.find(ListLine("o-map", "map", false, false).substr(0, 63)), std::string::npos)
        << listing;

    // A certificate shows its names, serial number and validity instead.
    const TestCertificate cert = MakeTestCertificate(
        "Info Cert", {"Tarsel Tests", 0x1A2B3C4D5E6Full, "20240102030405Z", "20510630235959Z"});
    ASSERT_EQ(ImportCertificate(console.sim(), "c-cert", cert.der), Q_OK);

    screen = console.KeyInformation("c-cert");
    EXPECT_EQ(ValueOf(screen, "Type : "), "x509-cert");
    EXPECT_EQ(ValueOf(screen, "Subject : "), "/O=Tarsel Tests/CN=Info Cert");
    EXPECT_EQ(ValueOf(screen, "Issuer : "), "/O=Tarsel Tests/CN=Info Cert");
    EXPECT_EQ(ValueOf(screen, "Serial number : "), "1A2B3C4D5E6F");
    EXPECT_NE(screen.find(InfoLine("Not before : ", "2024-Jan-02 03:04:05 UTC +0000") +
                          InfoLine("Not after : ", "2051-Jun-30 23:59:59 UTC +0000") + "\n"),
              std::string::npos)
        << screen;

    console.Choose("Attributes", "Keys/Objects - Attributes\n\n");
    console.Answer("Name (HSM) : ", "c-aes\n");
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
        console.Answer("Option : ", "2\n");
        console.Expect(round.result);
        console.Answer("Press ENTER key to continue...", "\n");
        console.Expect("Keys/Objects - Attributes\n\nName (HSM) : c-aes\n");
    }
    console.Expect(InfoLine("Blocked : ", "no"));
    console.Expect(" 2 - Block\n");
    console.Answer("Option : ", "0\n");
    console.Leave(0);
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
