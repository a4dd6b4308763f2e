// The console's prompt primitives, pickers and date parsing, typed from the input as from a
// keyboard: one dialogue walks them all in turn, each reading what the previous left over.
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/scripted_terminal.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    ScriptedTerminal terminal(std::string(reinterpret_cast<const char *>(data), size));
    ScopedTerminal installed(&terminal);

    char line[33] = {};
    (void)ReadLine("Line: ", line, sizeof line - 1);
    char bounded[17] = {};
    (void)ReadBoundedText("Name", bounded, sizeof bounded - 1, 1, true);
    char raw[64] = {};
    (void)ReadRawLine("Raw: ", raw, sizeof raw);
    char secret[33] = {};
    (void)ReadSecret(secret, sizeof secret);
    char hex[49] = {};
    (void)ReadHexMasked(hex, sizeof hex);
    (void)AskYesNoWithDefault("Sure?", 0);
    (void)AskCustomYesNo("Keep or drop (k/d)? ", 'k', 'd', 1);
    int32_t number = 0;
    (void)ReadIntInRange("Count", &number, -5, 500, true);
    (void)ReadIntWithDefault("Timeout", 30, 40, 1, 3600, &number);
    (void)ReadMenuNumber(0, 12, &number);
    struct tm start = {};
    struct tm end = {};
    (void)ReadDateRange(&start, &end);
    (void)ParseDateBound(line, true, &end);
    std::vector<uint8_t> bytes;
    (void)HexToBytes(raw, &bytes);
    (void)ConfirmByTyping("Erase everything?", "Type ERASE: ", "ERASE", "Kept.", 7);
    size_t index = 0;
    (void)ChooseOptionIndex("Pick", {"one", "two", "three"}, true, "Back", &index);
    (void)PickRsaKeySize(&number);
    (void)PickEcCurve(&number);
    uint32_t attributes = 0;
    (void)PickUsageProfile(number, &attributes);
    return 0;
}
