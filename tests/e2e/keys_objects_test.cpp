// Clear-key import, listing, key information with check values, removal and maps.
#include <gtest/gtest.h>

#include <string>

#include "keys_dialogue.h"

namespace {

using keys_e2e::AesCheckValue;
using keys_e2e::DesCheckValue;
using keys_e2e::InfoLine;
using keys_e2e::KeysConsole;
using keys_e2e::ListLine;

constexpr char kDesKey[] = "0123456789ABCDEF";
constexpr char kAesKey[] = "2B7E151628AED2A6ABF7158809CF4F3C";

// Key information shows the check values of known keys, and removal asks first.
TEST(KeysObjects, ClearKeyOfEveryFamilyImportsWithItsSummaryAndShowsItsCheckValue) {
    ASSERT_EQ(DesCheckValue(kDesKey), "D5D44F");  // the reference itself
    KeysConsole console;
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
    EXPECT_NE(screen.find(InfoLine("KCV : ", AesCheckValue(kAesKey))), std::string::npos) << screen;
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
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
