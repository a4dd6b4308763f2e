#include "app/version_numbers.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "app/process_state.h"

namespace {

constexpr uint64_t kPowersOfTen[] = {1ULL,
                                     10ULL,
                                     100ULL,
                                     1000ULL,
                                     10000ULL,
                                     100000ULL,
                                     1000000ULL,
                                     10000000ULL,
                                     100000000ULL,
                                     1000000000ULL,
                                     10000000000ULL,
                                     100000000000ULL,
                                     1000000000000ULL,
                                     10000000000000ULL,
                                     100000000000000ULL,
                                     1000000000000000ULL,
                                     10000000000000000ULL,
                                     100000000000000000ULL,
                                     1000000000000000000ULL};
constexpr size_t kPowerCount = sizeof(kPowersOfTen) / sizeof(kPowersOfTen[0]);
constexpr char kBlanks[] = " \t\r\n\v\f";

}  // namespace

int CompareLibraryVersion(const uint32_t a[4], const uint32_t b[4]) {
    for (int i = 0; i < 4; ++i) {
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    }
    return 0;
}

uint64_t FirmwareVersionNumber(const char *versionText) {
    uint64_t number = 0;
    size_t position = 0;
    for (size_t i = strlen(versionText); i-- > 0;) {
        const char c = versionText[i];
        if (c >= '0' && c <= '9') {
            if (position < kPowerCount) number += uint64_t(c - '0') * kPowersOfTen[position];
            ++position;
        } else {
            position = (position + 2) / 3 * 3;
        }
    }
    return number;
}

bool FirmwareAtLeast(const char *versionText) {
    return gState.firmwareVersion >= FirmwareVersionNumber(versionText);
}

void ExtractFirmwareVersion(const char *hsmVersionText, char *out, size_t capacity) {
    static constexpr char kMarker[] = "Core Crypto Engine ";
    out[0] = '\0';
    const char *start = strstr(hsmVersionText, kMarker);
    if (start == nullptr) return;
    start += sizeof(kMarker) - 1;
    start += strspn(start, kBlanks);
    size_t length = strcspn(start, kBlanks);
    if (const void *dash = memchr(start, '-', length))
        length = size_t(static_cast<const char *>(dash) - start);
    if (length >= capacity) length = capacity - 1;
    memcpy(out, start, length);
    out[length] = '\0';
}

void ShortenVersionText(char *text, size_t capacity) {
    if (char *engine = strstr(text, "Engine")) {
        char words[4][33] = {};
        sscanf(engine, "%32s %32s %32s %32s", words[0], words[1], words[2], words[3]);
        snprintf(text, capacity, "%s %s %s %s", words[0], words[1], words[2], words[3]);
    }
    if (char *bar = strchr(text, '|')) {
        const std::string rest(bar + 1);
        *bar = '\0';
        snprintf(bar, capacity - size_t(bar - text), " - %s", rest.c_str());
    }
}
