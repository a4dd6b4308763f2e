#pragma once
// Helpers of the key and object dialogues' end-to-end tests: a console logged in on its own
// simulator, menu navigation by label, and check values computed independently of the HSM.

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "console_e2e_support.h"

namespace keys_e2e {

// The number the menu on screen gives `label`. The menu is what was printed between the
// last pause (or option prompt) and the last option prompt; where two columns hold the same
// label ("Remove", "List") the lower number, the "Keys/Objects" column, is taken.
inline std::string ItemNumber(const std::string &screen, const std::string &label) {
    const size_t end = screen.rfind("Option : ");
    size_t begin = end == std::string::npos || end == 0 ? 0 : screen.rfind("Option : ", end - 1);
    const size_t pause = screen.rfind("Press ENTER key to continue...", end);
    if (begin == std::string::npos || (pause != std::string::npos && pause > begin)) {
        begin = pause == std::string::npos ? 0 : pause;
    }
    int best = -1;
    const std::string needle = " - " + label;
    for (size_t at = screen.find(needle, begin); at != std::string::npos && at < end;
         at = screen.find(needle, at + 1)) {
        const char after = screen[at + needle.size()];
        if ((after != ' ' && after != '\n') || at < 2) continue;
        const int number = std::atoi(screen.substr(at - 2, 2).c_str());
        if (number > 0 && (best < 0 || number < best)) best = number;
    }
    if (best < 0) ADD_FAILURE() << "no menu item " << label;
    return std::to_string(best < 0 ? 0 : best);
}

// A console logged in as the simulator's operator, at the main menu.
class KeysConsole {
  public:
    explicit KeysConsole(const std::vector<std::string> &options = {},
                         SimProcess::Options simOptions = {})
        : sim_(std::move(simOptions)), console_(TARSEL_PATH, ConsoleArgs(sim_, "master", options)) {
        ready_ = LogIn(console_, sim_.initPassword());
    }

    bool ready() const { return ready_; }
    PtyDriver &pty() { return console_; }
    SimProcess &sim() { return sim_; }

    bool Expect(const std::string &text) { return console_.Expect(text); }
    void Send(const std::string &text) { console_.Send(text); }

    // Chooses the item of the menu on screen and waits for its heading.
    void Choose(const std::string &label, const std::string &heading) {
        console_.Send(ItemNumber(console_.Output(), label) + "\n");
        console_.Expect(heading);
    }

    // Chooses an item that opens a nested menu and waits for its prompt.
    void Open(const std::string &label, const std::string &heading) {
        Choose(label, heading);
        console_.Expect("Option : ");
    }

    // From the main menu into a generation item, up to its name prompt.
    void StartGeneration(const std::string &label) {
        Open("Generate...", "Keys/Objects - Generate\n\n");
        Choose(label, "Keys/Objects - Generate - " + label + "\n\n");
        console_.Expect("Key Name (HSM) : ");
    }

    void Answer(const std::string &prompt, const std::string &reply) {
        console_.Expect(prompt);
        console_.Send(reply);
    }

    // After an action: the pause, then `menus` nested menus left up to the main menu.
    void Leave(int menus) {
        Answer("Press ENTER key to continue...", "\n");
        for (int level = 0; level < menus; ++level)
            Answer("Option : ", "0\n");
        console_.Expect("Main Menu\n\n");
        console_.Expect("Option : ");
    }

    // No usage profile; not exportable unless asked.
    void DefaultAttributes(bool exportable = false) {
        Answer("Exportable (y/[n]):", exportable ? "y\n" : "\n");
        Answer("Define an Usage Profile (y/[n]):", "\n");
    }

    // Runs "List" and returns what it printed up to the pause.
    std::string List() {
        // The heading's read may already hold the first rows, so the text starts before it.
        const size_t from = console_.Output().size();
        Choose("List", "Keys/Objects - List\n\n");
        console_.Expect("Total of objects: ");
        console_.Expect("Press ENTER key to continue...");
        std::string listing = console_.Output().substr(from);
        console_.Send("\n");
        console_.Expect("Option : ");
        return listing;
    }

    // Opens the information screen of `name` and returns it up to its action menu.
    std::string KeyInformation(const std::string &name) {
        Choose("Attributes", "Keys/Objects - Attributes\n\n");
        console_.Expect("Name (HSM) : ");
        const size_t from = console_.Output().size();
        console_.Send(name + "\n");
        console_.Expect("Option : ");
        std::string screen = console_.Output().substr(from);
        console_.Send("0\n");
        Leave(0);
        return screen;
    }

    // Clear-text import of a DES-family, AES or other key with ENTER at every attribute.
    void ImportClearKey(const std::string &choice, const std::string &sizeChoice,
                        const std::string &name, const std::string &hex, bool exportable = false) {
        Open("Import...", "Keys/Objects - Import\n\n");
        Open("Symmetric Keys", "Keys/Objects - Import - Symmetric Keys\n\n");
        Choose("Clear Text Key", "Keys/Objects - Import - Symmetric Keys - Clear Text Key\n\n");
        Answer("Option : ", choice + "\n");
        Answer("Key Name (HSM) : ", name + "\n");
        if (!sizeChoice.empty()) Answer("Option : ", sizeChoice + "\n");
        DefaultAttributes(exportable);
        Answer("hexadecimal characters) :\n\n", hex + "\n");
    }

    // A clear-text import that must succeed, back at the main menu.
    void ImportedClearKey(const std::string &choice, const std::string &sizeChoice,
                          const std::string &name, const std::string &hex,
                          bool exportable = false) {
        ImportClearKey(choice, sizeChoice, name, hex, exportable);
        console_.Expect("Key imported successfully.");
        Leave(2);
    }

    int Exit() {
        console_.Send("0\n");
        return console_.WaitExit();
    }

  private:
    SimProcess sim_;
    PtyDriver console_;
    bool ready_ = false;
};

// One line of the key information screen: the label right-aligned in 35 columns.
inline std::string InfoLine(const std::string &label, const std::string &value) {
    char line[256];
    snprintf(line, sizeof line, "%35s%s\n", label.c_str(), value.c_str());
    return line;
}

// One line of the object list.
inline std::string ListLine(const std::string &name, const std::string &type, bool temporary,
                            bool exportable) {
    char line[256];
    snprintf(line, sizeof line, "%-41s %-20s %-1s %-1s ", name.c_str(), type.c_str(),
             temporary ? "y" : "n", exportable ? "y" : "n");
    return line;
}

inline std::vector<unsigned char> BytesOf(const std::string &hex) {
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

// The check value of a key: the first three bytes of a zero block encrypted under it in ECB
// mode. DES and two-key 3DES keys are widened to three keys (K1 K2 K1), which encrypts the same.
inline std::string CheckValue(const std::string &keyHex, bool aes = false) {
    std::vector<unsigned char> key = BytesOf(keyHex);
    if (!aes && key.size() == 8) key.insert(key.end(), key.begin(), key.end());
    if (!aes && key.size() == 16) key.insert(key.end(), key.begin(), key.begin() + 8);
    const EVP_CIPHER *cipher = !aes               ? EVP_des_ede3_ecb()
                               : key.size() == 16 ? EVP_aes_128_ecb()
                               : key.size() == 24 ? EVP_aes_192_ecb()
                                                  : EVP_aes_256_ecb();
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        EVP_CIPHER_CTX_free);
    unsigned char zero[16] = {}, out[32] = {};
    int length = 0;
    EXPECT_EQ(EVP_EncryptInit_ex(ctx.get(), cipher, nullptr, key.data(), nullptr), 1);
    EVP_CIPHER_CTX_set_padding(ctx.get(), 0);
    EXPECT_EQ(EVP_EncryptUpdate(ctx.get(), out, &length, zero, EVP_CIPHER_block_size(cipher)), 1);
    return Hex(out, 3);
}

// The XOR of hexadecimal strings of one length, in upper case.
inline std::string XorHex(const std::vector<std::string> &parts) {
    std::vector<unsigned char> sum = BytesOf(parts.at(0));
    for (size_t p = 1; p < parts.size(); ++p) {
        std::vector<unsigned char> next = BytesOf(parts[p]);
        for (size_t i = 0; i < sum.size(); ++i)
            sum[i] ^= next[i];
    }
    return Hex(sum.data(), sum.size());
}

}  // namespace keys_e2e
