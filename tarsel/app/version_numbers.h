#pragma once
// Version arithmetic of start-up: the library's four-part version and the HSM firmware
// version, which is compared as one decimal number with three digits per dotted part.

#include <cstddef>
#include <cstdint>

// Returns 1 when a >= b, -1 when a < b, 0 when all four parts are equal. The first
// differing part decides.
int CompareLibraryVersion(const uint32_t a[4], const uint32_t b[4]);

// "5.0.27.0" -> 5000027000. Walks the text from its end: each digit takes the next decimal
// position, any other character moves the position up to the next multiple of three.
// Digits beyond the nineteenth position are ignored.
uint64_t FirmwareVersionNumber(const char *versionText);

// True when the HSM's firmware (gState.firmwareVersion) is at least versionText.
bool FirmwareAtLeast(const char *versionText);

// Takes the firmware version out of the HSM's version text: the word after
// "Core Crypto Engine ", cut at its first '-'. Stores "" when the marker is absent.
// REQUIRES: capacity >= 1.
void ExtractFirmwareVersion(const char *hsmVersionText, char *out, size_t capacity);

// Shortens the HSM's version text for the screen header, in place: from "Engine" on, the
// text becomes its first four blank-separated words (at most 32 characters each) joined
// by single blanks; then the first '|' becomes " - ".
// REQUIRES: text is terminated within capacity.
void ShortenVersionText(char *text, size_t capacity);
