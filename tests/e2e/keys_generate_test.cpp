// Keys made through the console: generation of every family with its attribute questions and
// cancels at each prompt, and the component ceremony of "HSM - EFT - Import Key" with two and
// three custodians, check values typed wrong, and the HSM's refusal of a wrong final check
// value.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "keys_dialogue.h"

namespace {

using keys_e2e::CheckValue;
using keys_e2e::InfoLine;
using keys_e2e::KeysConsole;
using keys_e2e::XorHex;

struct Component {
    std::string hex;
    std::string kcv;
};

// A prompt and the answer typed once it is on screen.
struct Step {
    std::string prompt;
    std::string answer;
};

Component Part(const std::string &hex, bool aes = false) {
    return {hex, CheckValue(hex, aes)};
}

// From the main menu to the start of the ceremony (the family chosen).
void OpenCeremony(KeysConsole &console, const std::string &family) {
    console.Open("EFT...", "HSM - EFT\n\n");
    console.Open("Import Key...", "HSM - EFT - Import Key\n\n");
    console.Choose("Key Components", "HSM - EFT - Import Key - Key Components\n\n");
    console.Answer("Option :\n 1 - DES\n 2 - 3DES\n 3 - AES\nOption : ", family + "\n");
}

// One custodian: the pause, the fresh screen, the component and its check value.
void EnterComponent(KeysConsole &console, int part, const Component &component) {
    console.Answer("Press ENTER key to continue...", "\n");
    console.Expect("Key material Part " + std::to_string(part) + " (");
    console.Answer("hexadecimal characters) :\n\n", component.hex + "\n");
    console.Answer("Key Check Value (6 hexadecimal characters) :\n\n", component.kcv + "\n");
}

void EnterFinal(KeysConsole &console, const std::string &kcv) {
    console.Answer("Press ENTER key to continue...", "\n");
    console.Answer("\nFinal Key Check Value (6 hexadecimal characters) :\n\n", kcv + "\n");
}

// -3 asks for the RSA exponent.
TEST(KeysGenerate, EveryFamilyAsksItsOwnQuestionsAndComponentCeremoniesImportOnlyWithCheckValues) {
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

    // Two custodians: the HSM refuses a wrong final check value and stores nothing; the right
    // one imports. Three: a wrong component check value only warns the custodian; the HSM,
    // which holds every check value, refuses the key, and with the right values the same
    // ceremony succeeds.
    const Component c1 = Part("0123456789ABCDEF");
    const Component c2 = Part("FEDCBA9876543210");
    const std::string key = XorHex({c1.hex, c2.hex});

    for (const std::string &final : {std::string("123456"), CheckValue(key)}) {
        SCOPED_TRACE(final);
        OpenCeremony(console, "1");
        console.Answer("Use 2 parts (y/[n]) :", "y\n");
        console.Answer("Key Name (HSM) : ", "e-des\n");
        console.Expect("Exportable : no\n\n");
        EnterComponent(console, 1, c1);
        console.Expect("\n\nKey material Part 1 entered ok.\n");
        EnterComponent(console, 2, c2);
        console.Expect("\n\nKey material Part 2 entered ok.\n");
        EnterFinal(console, final);
        if (final == "123456") {
            console.Expect("\nError importing key. ");
            console.Leave(2);
            const std::string stored = console.List();
            EXPECT_EQ(stored.find("e-des"), std::string::npos) << stored;
        } else {
            console.Expect("\nKey imported successfully.\n\n");
            console.Expect("Key e-des: des, 56 bits, not exportable\n\n");
            console.Leave(2);
        }
    }
    EXPECT_EQ(console.pty().Output().find("Key material Part 3"), std::string::npos);
    const std::string keyScreen = console.KeyInformation("e-des");
    EXPECT_NE(keyScreen.find(InfoLine("KCV : ", CheckValue(key))), std::string::npos) << keyScreen;

    const std::string part1 = "0123456789ABCDEFFEDCBA987654321001234567FEDCBA98";
    const Component t2 = Part("111111111111111122222222222222223333333333333333");
    const Component t3 = Part("89ABCDEF01234567766554433221100F0F1E2D3C4B5A6978");
    const std::string desKey = XorHex({part1, t2.hex, t3.hex});

    for (const bool rightKcv : {false, true}) {
        SCOPED_TRACE(rightKcv);
        const Component typed{part1, rightKcv ? CheckValue(part1) : "000000"};
        OpenCeremony(console, "2");
        console.Answer("Use 2 parts (y/[n]) :", "\n");
        console.Answer("Key Name (HSM) : ", "e-3des\n");
        console.Answer(" 1 - 112\n 2 - 168\nOption : ", "2\n");
        EnterComponent(console, 1, typed);
        if (!rightKcv) {
            console.Expect("\nKey and Check Value doesn't match. Please try again...\n\n\n");
        }
        EnterComponent(console, 2, t2);
        console.Expect("Key material Part 2 entered ok.");
        EnterComponent(console, 3, t3);
        console.Expect("Key material Part 3 entered ok.");
        EnterFinal(console, CheckValue(desKey));
        if (rightKcv) {
            console.Expect("\nKey imported successfully.\n\n");
            console.Expect("Key e-3des: 3des-168, 168 bits, not exportable\n\n");
        } else {
            console.Expect("\nError importing key. ");
        }
        console.Leave(2);
    }

    const std::vector<Component> components = {
        Part("000102030405060708090A0B0C0D0E0F", true),
        Part("F0E0D0C0B0A090807060504030201000", true),
        Part("2B7E151628AED2A6ABF7158809CF4F3C", true),
    };
    const std::string aesKey = XorHex({components[0].hex, components[1].hex, components[2].hex});

    OpenCeremony(console, "3");
    console.Answer("Key Name (HSM) : ", "e-aes\n");
    console.Answer("Size (bits) :\n 1 - 128\n 2 - 192\n 3 - 256\nOption : ", "1\n");
    console.Answer("Exportable (y/[n]):", "y\n");
    console.Answer("Define an Usage Profile (y/[n]):", "\n");
    console.Answer("Check value format :\n 1 - KCV\n 2 - CMAC\nOption : ", "1\n");
    for (int part = 1; part <= 3; ++part) {
        EnterComponent(console, part, components[part - 1]);
        console.Expect("Key material Part " + std::to_string(part) + " entered ok.");
    }
    EnterFinal(console, CheckValue(aesKey, true));
    console.Expect("\nKey imported successfully.\n\n");
    console.Expect("Key e-aes: aes-128, 128 bits, exportable\n\n");
    console.Leave(2);

    // Cancels: at the name, at a component, at a check value, at the final value. Every
    // answer waits for its own prompt: the console drops what is typed ahead at its menus.
    const std::string namePrompt = "Key Name (HSM) : ";
    const std::string pause = "Press ENTER key to continue...";
    const std::string first = "Key material Part 1 (16 hexadecimal characters) :\n\n";
    const std::string second = "Key material Part 2 (16 hexadecimal characters) :\n\n";
    const std::string kcv = "Key Check Value (6 hexadecimal characters) :\n\n";
    const std::string final = "Final Key Check Value (6 hexadecimal characters) :\n\n";
    const std::vector<std::vector<Step>> ceremonyCancels = {
        {{namePrompt, "\n"}},
        {{namePrompt, "e-c\n"}, {pause, "\n"}, {first, "\n"}},
        {{namePrompt, "e-c\n"}, {pause, "\n"}, {first, c1.hex + "\n"}, {kcv, "\n"}},
        {{namePrompt, "e-c\n"},
         {pause, "\n"},
         {first, c1.hex + "\n"},
         {kcv, c1.kcv + "\n"},
         {pause, "\n"},
         {second, c2.hex + "\n"},
         {kcv, c2.kcv + "\n"},
         {pause, "\n"},
         {final, "\n"}},
    };
    for (const auto &steps : ceremonyCancels) {
        SCOPED_TRACE(steps.size());
        OpenCeremony(console, "1");
        console.Answer("Use 2 parts (y/[n]) :", "y\n");
        for (const Step &step : steps)
            console.Answer(step.prompt, step.answer);
        console.Leave(2);
    }
    const std::string stored = console.List();
    EXPECT_EQ(stored.find("e-c "), std::string::npos) << stored;
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
