#pragma once
// Fixed facts about the library's algorithm identifiers that the key screens print or need:
// display names, key sizes in bits, and the key length in bytes of clear key material.

#include <cstdint>

// The display name of an algorithm identifier, or "unknown" when it has none.
const char *AlgorithmName(uint32_t algorithm);

// The key size in bits that belongs to an identifier (not read from the key), 0 when the
// identifier carries no fixed size.
uint32_t AlgorithmKeyBits(uint32_t algorithm);

// The number of bytes of clear key material for a symmetric identifier (DES, 3DES, DESX,
// AES, ARC4, ARC5, HMAC), 0 for any other.
uint32_t SymmetricKeyLength(uint32_t algorithm);

// True for the identifiers whose check value the HSM computes: DES, 3DES, AES, ARC4, ARC5
// and DESX.
bool HasKeyCheckValue(uint32_t algorithm);
