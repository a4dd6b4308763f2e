#pragma once
// The re-authentication verifier: a salted digest of the login password, so that the
// password itself need not be kept to check it again later.

#include <cstdint>

#include "qelvoarc.h"

inline constexpr uint32_t kVerifierSize = 20;

// Hashes, on the HSM, the password (up to 16 bytes) followed at offset 16 by the salt, over
// the bytes up to and including the first zero byte: the salt takes part only when the
// password has 16 characters. Stores the first 20 bytes of the digest in *verifier.
// Returns 0 or the library's code (verifier then untouched). All copies are wiped.
uint32_t ComputePasswordVerifier(QSessionHandle session, const char *password,
                                 const uint8_t salt[kVerifierSize],
                                 uint8_t verifier[kVerifierSize]);
