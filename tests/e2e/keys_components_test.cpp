// The key component ceremony of "HSM - EFT - Import Key": two and three custodians, check
// values typed wrong, and the HSM's refusal of a wrong final check value.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keys_dialogue.h"

namespace {

using keys_e2e::AesCheckValue;
using keys_e2e::DesCheckValue;
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

Component Des(const std::string &hex) {
    return {hex, DesCheckValue(hex)};
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

// Two custodians: the HSM refuses a wrong final check value and stores nothing; the right
// one imports. Three: a wrong component check value only warns the custodian; the HSM, which
// holds every check value, refuses the key, and with the right values the same ceremony
// succeeds.
TEST(KeysComponents, CeremoniesImportTheJoinedKeyOnlyWithItsCheckValuesAndCancelsStoreNothing) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    const Component c1 = Des("0123456789ABCDEF");
    const Component c2 = Des("FEDCBA9876543210");
    const std::string key = XorHex({c1.hex, c2.hex});

    for (const std::string &final : {std::string("123456"), DesCheckValue(key)}) {
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
            const std::string listing = console.List();
            EXPECT_EQ(listing.find("e-des"), std::string::npos) << listing;
        } else {
            console.Expect("\nKey imported successfully.\n\n");
            console.Expect("Key e-des: des, 56 bits, not exportable\n\n");
            console.Leave(2);
        }
    }
    EXPECT_EQ(console.pty().Output().find("Key material Part 3"), std::string::npos);
    const std::string screen = console.KeyInformation("e-des");
    EXPECT_NE(screen.find(InfoLine("KCV : ", DesCheckValue(key))), std::string::npos) << screen;

    const std::string part1 = "0123456789ABCDEFFEDCBA987654321001234567FEDCBA98";
    const Component t2 = Des("111111111111111122222222222222223333333333333333");
    const Component t3 = Des("89ABCDEF01234567766554433221100F0F1E2D3C4B5A6978");
    const std::string desKey = XorHex({part1, t2.hex, t3.hex});

    for (const bool rightKcv : {false, true}) {
        SCOPED_TRACE(rightKcv);
        const Component typed{part1, rightKcv ? DesCheckValue(part1) : "000000"};
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
        EnterFinal(console, DesCheckValue(desKey));
        if (rightKcv) {
            console.Expect("\nKey imported successfully.\n\n");
            console.Expect("Key e-3des: 3des-168, 168 bits, not exportable\n\n");
        } else {
            console.Expect("\nError importing key. ");
        }
        console.Leave(2);
    }

    const std::vector<Component> components = {
        {"000102030405060708090A0B0C0D0E0F", AesCheckValue("000102030405060708090A0B0C0D0E0F")},
        {"F0E0D0C0B0A090807060504030201000", AesCheckValue("F0E0D0C0B0A090807060504030201000")},
        {"2B7E151628AED2A6ABF7158809CF4F3C", AesCheckValue("2B7E151628AED2A6ABF7158809CF4F3C")},
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
    EnterFinal(console, AesCheckValue(aesKey));
    console.Expect("\nKey imported successfully.\n\n");
    console.Expect("Key e-aes: aes-128, 128 bits, exportable\n\n");
    console.Leave(2);

    // Cancels: at the name, at a component, at a check value, at the final value. Every
    // answer waits for its own prompt: the console drops what is typed ahead at its menus.
    const std::string name = "Key Name (HSM) : ";
    const std::string pause = "Press ENTER key to continue...";
    const std::string first = "Key material Part 1 (16 hexadecimal characters) :\n\n";
    const std::string second = "Key material Part 2 (16 hexadecimal characters) :\n\n";
    const std::string kcv = "Key Check Value (6 hexadecimal characters) :\n\n";
    const std::string final = "Final Key Check Value (6 hexadecimal characters) :\n\n";
    const std::vector<std::vector<Step>> cancels = {
        {{name, "\n"}},
        {{name, "e-c\n"}, {pause, "\n"}, {first, "\n"}},
        {{name, "e-c\n"}, {pause, "\n"}, {first, c1.hex + "\n"}, {kcv, "\n"}},
        {{name, "e-c\n"},
         {pause, "\n"},
         {first, c1.hex + "\n"},
         {kcv, c1.kcv + "\n"},
         {pause, "\n"},
         {second, c2.hex + "\n"},
         {kcv, c2.kcv + "\n"},
         {pause, "\n"},
         {final, "\n"}},
    };
    for (const auto &steps : cancels) {
        SCOPED_TRACE(steps.size());
        OpenCeremony(console, "1");
        console.Answer("Use 2 parts (y/[n]) :", "y\n");
        for (const Step &step : steps)
            console.Answer(step.prompt, step.answer);
        console.Leave(2);
    }
    const std::string listing = console.List();
    EXPECT_EQ(listing.find("e-c "), std::string::npos) << listing;
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
