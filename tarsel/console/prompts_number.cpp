// Number prompts.
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "console/prompt_internal.h"
#include "console/prompts.h"

namespace {

// Leading decimal digits (after optional blanks and sign); anything unparsable is 0.
// Clamped to 32 bits so that an absurdly long number is simply out of range.
int32_t LeadingInteger(const char *text) {
    long long value = strtoll(text, nullptr, 10);
    if (value < INT32_MIN) return INT32_MIN;
    if (value > INT32_MAX) return INT32_MAX;
    return static_cast<int32_t>(value);
}

}  // namespace

uint32_t ReadIntInRange(const char *prompt, int32_t *value, int32_t min, int32_t max,
                        bool showBounds) {
    char bounded[1024];
    if (showBounds) {
        snprintf(bounded, sizeof bounded, "%s [%d-%d] : ", prompt, min, max);
        prompt = bounded;
    }
    char digits[33] = {};
    if (ReadLine(prompt, digits, 32) != kPromptOk) return kPromptCancelled;
    int32_t number = LeadingInteger(digits);
    if (number < min || number > max) {
        ErrPrintf("\n%s%s%d. %s%d.\n", "Invalid number value.", "Mininum length is ", min,
                  "Maximum length is ", max);
        return kPromptRejected;
    }
    *value = number;
    return kPromptOk;
}

uint32_t ReadIntWithDefault(const char *label, int32_t defaultValue, int width, int32_t min,
                            int32_t max, int32_t *value) {
    char prompt[256];
    snprintf(prompt, sizeof prompt, "%s (int %d-%d) [%d]: ", label, min, max, defaultValue);
    char aligned[512];
    snprintf(aligned, sizeof aligned, "%*s", width, prompt);
    int32_t number = 0;
    uint32_t status = ReadIntInRange(aligned, &number, INT32_MIN, INT32_MAX, false);
    if (status != kPromptOk) return status;
    if (number < min || number > max) return kPromptOutOfRange;
    *value = number;
    return kPromptOk;
}

uint32_t ReadMenuNumber(int32_t min, int32_t max, int32_t *value) {
    char line[64] = {};
    if (!CurrentTerminal().ReadLine(line, sizeof line)) return kPromptOutOfRange;
    size_t length = strlen(line);
    for (size_t i = 0; i + 1 < length; ++i) {
        if (!isdigit(static_cast<unsigned char>(line[i]))) return kPromptOutOfRange;
    }
    int32_t number = LeadingInteger(line);
    if (number < min || number > max) return kPromptOutOfRange;
    *value = number;
    return kPromptOk;
}
