// Payment key dialogues: a CVV, a key exchanged under a KEK, and a key handed to custodians as
// components that the import ceremony takes back.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keys_dialogue.h"

namespace {

using keys_e2e::CheckValue;
using keys_e2e::KeysConsole;
using keys_e2e::XorHex;

const std::string kCvk = "0123456789ABCDEFFEDCBA9876543210";
const std::string kKek = "40137C2A85E6B310296DF45B0E97C83173AE1568D04C8FB9";

// The line printed under `label`, once it has ended.
std::string LineUnder(KeysConsole &console, const std::string &label) {
    console.Expect(label);
    console.Expect("\n");
    const std::string output = console.pty().Output();
    const size_t at = output.rfind(label) + label.size();
    return output.substr(at, output.find('\n', at) - at);
}

void OpenEft(KeysConsole &console, const std::string &menu, const std::string &item) {
    console.Open("EFT...", "HSM - EFT\n\n");
    console.Open(menu + "...", "HSM - EFT - " + menu + "\n\n");
    console.Choose(item, "HSM - EFT - " + menu + " - " + item + "\n\n");
}

TEST(EftKeys, CvvThenAKeyCarriedUnderAKekAndAsComponentsOutAndBackIn) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    console.ImportedClearKey("2", "1", "cvk", kCvk);
    for (const std::string &expiration : {std::string("8701"), std::string("8713")}) {
        console.Open("Tests...", "HSM - Tests\n\n");
        console.Choose("CVV", "HSM - Tests - CVV\n\n");
        console.Answer("Key Name (HSM) : ", "cvk\n");
        console.Answer("PAN(Primary Account Number) : ", "4123456789012345\n");
        console.Answer("Expiration Date : ", expiration + "\n");
        console.Answer("SVC(Service Code) : ", "101\n");
        if (expiration == "8701")
            console.Expect("\nCVV generated:  561\n\n");
        else
            console.Expect("Error generating CVV. ");
        console.Leave(1);
    }
    console.Open("Tests...", "HSM - Tests\n\n");
    console.Choose("CVV", "HSM - Tests - CVV\n\n");
    console.Answer("Key Name (HSM) : ", "\n");
    console.Expect("\nOperation cancelled!\n");
    console.Leave(1);

    // The key goes out under the KEK and comes back in under another name; a wrong check value
    // stores nothing.
    console.ImportedClearKey("2", "2", "kek", kKek);
    console.ImportedClearKey("2", "1", "zpk", kCvk, true);

    OpenEft(console, "Export Key", "With KEK DES/3DES");
    console.Answer("KEK Name (HSM) : ", "kek\n");
    console.Answer("Key Name (HSM) : ", "zpk\n");
    const std::string wrapped = LineUnder(console, "\nEncrypted Key :\n\n");
    const std::string kcv = LineUnder(console, "\nKey Check Value :\n\n");
    EXPECT_EQ(wrapped.size(), 32u);
    EXPECT_NE(wrapped, kCvk);
    EXPECT_EQ(kcv, CheckValue(kCvk));
    console.Leave(2);

    for (const std::string &typed : {std::string("000000"), kcv}) {
        OpenEft(console, "Import Key", "With KEK DES/3DES");
        console.Answer("Option :\n 1 - DES\n 2 - 3DES\nOption : ", "2\n");
        console.Answer("KEK Name (HSM) : ", "kek\n");
        console.Answer("Key Name (HSM) : ", "zpk-in\n");
        console.Answer("Option : ", "1\n");
        console.Expect("Exportable : no\n\n");
        console.Answer("Encrypted Key (32 hexadecimal characters) :\n\n", wrapped + "\n");
        console.Answer("\nKey Check Value (6 hexadecimal characters) :\n\n", typed + "\n");
        if (typed == kcv) {
            console.Expect("\nKey imported successfully.\n\n");
            console.Expect("Key zpk-in: 3des-112, 112 bits, not exportable\n\n");
        } else {
            console.Expect("\nError importing key. ");
        }
        console.Leave(2);
    }
    const std::string kekScreen = console.KeyInformation("zpk-in");
    EXPECT_NE(kekScreen.find(keys_e2e::InfoLine("KCV : ", kcv)), std::string::npos) << kekScreen;

    // Three custodians each see their own component behind a cover screen; the components
    // join to the key, and the import ceremony takes them back to the same check value.
    console.ImportedClearKey("2", "2", "tdes", kKek, true);

    OpenEft(console, "Export Key", "Key Components");
    console.Answer("Key Name (HSM) : ", "tdes\n");
    console.Answer("Use 2 parts (y/[n]) :", "\n");
    console.Expect("This export procedure will show the key components and");
    console.Answer("Press ENTER key to continue...", "\n");
    std::vector<std::string> parts;
    std::vector<std::string> kcvs;
    for (int part = 1; part <= 3; ++part) {
        const std::string number = std::to_string(part);
        const std::string cover = "Custodian of Key material Part " + number;
        console.Expect(cover);
        console.Answer("Press ENTER key to continue...", "\n");
        parts.push_back(LineUnder(
            console, "Key material Part " + number + " (48 hexadecimal characters) :\n\n"));
        kcvs.push_back(LineUnder(console, "Key Check Value (6 hexadecimal characters) :\n\n"));
        EXPECT_EQ(kcvs.back(), CheckValue(parts.back()));
        const std::string output = console.pty().Output();
        const std::string ownScreen = output.substr(output.rfind(cover));
        for (size_t other = 0; other + 1 < parts.size(); ++other)
            EXPECT_EQ(ownScreen.find(parts[other]), std::string::npos) << part;
        console.Answer("Press ENTER key to continue...", "\n");
    }
    const std::string final =
        LineUnder(console, "Final Key Check Value (6 hexadecimal characters) :\n\n");
    console.Expect("Key exported successfully.");
    EXPECT_EQ(XorHex(parts), kKek);
    EXPECT_EQ(final, CheckValue(kKek));
    console.Leave(2);

    OpenEft(console, "Import Key", "Key Components");
    console.Answer("Option :\n 1 - DES\n 2 - 3DES\n 3 - AES\nOption : ", "2\n");
    console.Answer("Use 2 parts (y/[n]) :", "\n");
    console.Answer("Key Name (HSM) : ", "tdes-back\n");
    console.Answer("Option : ", "2\n");
    for (int part = 1; part <= 3; ++part) {
        console.Answer("Press ENTER key to continue...", "\n");
        console.Answer("hexadecimal characters) :\n\n", parts[part - 1] + "\n");
        console.Answer("Key Check Value (6 hexadecimal characters) :\n\n", kcvs[part - 1] + "\n");
    }
    console.Answer("Press ENTER key to continue...", "\n");
    console.Answer("\nFinal Key Check Value (6 hexadecimal characters) :\n\n", final + "\n");
    console.Expect("\nKey imported successfully.\n\n");
    console.Leave(2);
    const std::string screen = console.KeyInformation("tdes-back");
    EXPECT_NE(screen.find(keys_e2e::InfoLine("KCV : ", final)), std::string::npos) << screen;
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
