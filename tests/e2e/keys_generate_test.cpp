// Key generation dialogues: every family, the attribute questions, cancels at each prompt.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "keys_dialogue.h"

namespace {

using keys_e2e::InfoLine;
using keys_e2e::KeysConsole;

// -3 asks for the RSA exponent.
TEST(KeysGenerate, EveryFamilyAsksItsOwnQuestionsAndSummarisesAndCancelsAtEveryPrompt) {
    KeysConsole console({"-3"});
    ASSERT_TRUE(console.ready());
    struct Case {
        const char *item;
        const char *name;
        const char *sizeStep;  // what is shown before the choice
        const char *choice;    // empty: nothing to choose
        const char *summary;
    };
    const Case cases[] = {
        {"DES", "k-des", "Size (bits) : (56)\n", "", "Key k-des: des, 56 bits, not exportable\n\n"},
        {"3DES", "k-3des", "Size (bits) : \n 1 - 112\n 2 - 168\nOption : ", "2",
         "Key k-3des: 3des-168, 168 bits, not exportable\n\n"},
        {"DESX", "k-desx", "Size (bits) : (184)\n", "",
         "Key k-desx: desx, 184 bits, not exportable\n\n"},
        {"AES", "k-aes", "Size (bits) : \n 1 - 128\n 2 - 192\n 3 - 256\nOption : ", "1",
         "Key k-aes: aes-128, 128 bits, not exportable\n\n"},
        {"ARC4", "k-arc4", "Size (bits) : (128)\n", "",
         "Key k-arc4: arc4, 128 bits, not exportable\n\n"},
        {"ARC5", "k-arc5", "Size (bits) : (128)\n", "",
         "Key k-arc5: arc5, 128 bits, not exportable\n\n"},
        {"HMAC", "k-hmac", "HMAC Key type :\n", "4",
         "Key k-hmac: hmac-sha256, 256 bits, not exportable\n\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.item);
        console.StartGeneration(c.item);
        console.Send(std::string(c.name) + "\n");
        console.Expect(c.sizeStep);
        if (c.choice[0] != '\0') console.Send(std::string(c.choice) + "\n");
        console.DefaultAttributes();
        console.Expect("\nKey generated successfully.\n\n");
        console.Expect(c.summary);
        console.Leave(1);
    }
    std::string listing = console.List();
    EXPECT_NE(listing.find("\nTotal of objects: 7\n"), std::string::npos) << listing;

    // A usage profile is part of the summary.
    console.StartGeneration("AES");
    console.Send("k-kbpk\n");
    console.Answer(" 3 - 256\nOption : ", "3\n");
    console.Answer("Exportable (y/[n]):", "\n");
    console.Answer("Define an Usage Profile (y/[n]):", "y\n");
    console.Answer(" 5 - EFT_TR31_KBPK  - TR31 key-block protection key\nOption : ", "5\n");
    console.Expect(
        "Key k-kbpk: aes-256, 256 bits, not exportable, usage profile: EFT_TR31_KBPK\n\n");
    console.Leave(1);

    // The same name again is refused by the HSM: the error, and no summary.
    console.StartGeneration("DES");
    console.Send("k-kbpk\n");
    console.DefaultAttributes();
    console.Expect("\nError generating key. ");
    console.Leave(1);
    EXPECT_EQ(console.pty().Output().find("Key k-kbpk: des"), std::string::npos);

    // RSA 1024, exponent 3 asked because of -3; the information screen shows it.
    console.StartGeneration("RSA");
    console.Send("k-rsa\n");
    console.Expect("RSA key size (bits) :\n");
    console.Answer("Option : ", "2\n");
    console.DefaultAttributes();
    console.Answer("Use public Exponent 3 (y/[n]):", "y\n");
    console.Expect("Key k-rsa: rsa-1024, 1024 bits, not exportable\n\n");
    console.Leave(1);
    const std::string screen = console.KeyInformation("k-rsa");
    EXPECT_NE(screen.find(InfoLine("Public exponent(hex) : ", "03")), std::string::npos) << screen;
    EXPECT_NE(screen.find(InfoLine("Key size : ", "1024")), std::string::npos) << screen;

    // Brainpool 256 twisted, blockchain compatible and exportable: identifier 45, flags 0x4001.
    console.StartGeneration("ECC");
    console.Send("k-ecc\n");
    console.Answer("Option : ", "5\n");
    console.Answer("Option : ", "4\n");
    console.Answer("Twisted (y/[n]):", "y\n");
    console.Answer("Exportable (y/[n]):", "y\n");
    console.Answer("Mark as blockchain compatible (y/[n]):", "y\n");
    console.Answer("Define an Usage Profile (y/[n]):", "\n");
    console.Expect(
        "Key k-ecc: ecc-brainpoolP256t1, 256 bits, exportable, blockchain compatible\n\n");
    console.Leave(1);

    // X448 has no blockchain question; EdDSA25519 has.
    console.StartGeneration("ECX");
    console.Send("k-x448\n");
    console.Expect("Curve :\n");
    console.Answer("Option : ", "4\n");
    size_t from = console.pty().Output().size();
    console.DefaultAttributes();
    console.Expect("Key k-x448: x448, 448 bits, not exportable\n\n");
    EXPECT_EQ(console.pty().Output().find("blockchain", from), std::string::npos);
    console.Leave(1);
    console.StartGeneration("ECX");
    console.Send("k-ed25519\n");
    console.Answer("Option : ", "1\n");
    console.Answer("Exportable (y/[n]):", "\n");
    console.Answer("Mark as blockchain compatible (y/[n]):", "n\n");
    console.Answer("Define an Usage Profile (y/[n]):", "\n");
    console.Expect("Key k-ed25519: eddsa-25519, 256 bits, not exportable\n\n");
    console.Leave(1);

    // Cancels: the last answer of each case. Leaving the profile picker shows only the
    // picker's own message; MAP cancels at each of its three names.
    const std::string name = "Key Name (HSM) : ", option = "Option : ", map = "MAP Name (HSM) : ";
    const std::pair<const char *, std::vector<std::pair<std::string, std::string>>> cancels[] = {
        {"DES", {{name, "\n"}}},
        {"AES", {{name, "k\n"}, {option, "\n"}}},
        {"3DES", {{name, "k\n"}, {option, "9\n"}}},
        {"HMAC", {{name, "k\n"}, {option, "0\n"}}},
        {"RSA", {{name, "k\n"}, {option, "\n"}}},
        {"ECC", {{name, "k\n"}, {option, "1\n"}, {option, "\n"}}},
        {"ECX", {{name, "k\n"}, {option, "x\n"}}},
        {"DESX",
         {{name, "k\n"},
          {"Exportable (y/[n]):", "\n"},
          {"Define an Usage Profile (y/[n]):", "y\n"},
          {option, "\n"}}},
        {"MAP", {{map, "\n"}}},
        {"MAP", {{map, "n\n"}, {"Slot 1: ", "\n"}}},
        {"MAP", {{map, "n\n"}, {"Slot 1: ", "n\n"}, {"Slot 2: ", "\n"}}},
    };
    for (const auto &[item, steps] : cancels) {
        SCOPED_TRACE(std::string(item) + " " + std::to_string(steps.size()));
        console.Open("Generate...", "Keys/Objects - Generate\n\n");
        console.Choose(item, std::string("Keys/Objects - Generate - ") + item + "\n\n");
        for (const auto &[prompt, answer] : steps)
            console.Answer(prompt, answer);
        console.Expect("\nOperation cancelled!\n");
        console.Leave(1);
    }
    listing = console.List();
    EXPECT_NE(listing.find("\nTotal of objects: 12\n"), std::string::npos) << listing;
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
