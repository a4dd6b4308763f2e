#pragma once
// The attribute questions asked whenever a key is generated or imported.

#include <cstdint>

// True for the algorithms that can be marked blockchain compatible: every elliptic curve
// (18 to 51) and EdDSA25519 (201).
bool IsBlockchainAlgorithm(uint32_t algorithm);

// Asks "Exportable", "Mark as blockchain compatible" (blockchain algorithms only) and the
// usage profile (compulsory when the HSM runs in mode 3), OR-ing the answers into *flags.
// Returns false when the usage-profile picker was left without a choice.
bool AskKeyAttributes(uint32_t *flags, uint32_t algorithm);

// "yes" or "no" for the exportable bit of an attribute word.
const char *ExportableText(uint32_t attributes);
