#pragma once
// Fresh key material for every algorithm of key_algorithm.h.

#include <cstdint>
#include <string>

#include "constants.pb.h"
#include "core/result.h"
#include "core/secret.h"
#include "crypto/key_algorithm.h"

namespace sim {

struct KeyMaterial {
    // Symmetric and HMAC keys: the raw key. Asymmetric keys: the private key in DER.
    SecretBytes secret;
    std::string publicExponent;  // RSA only: big-endian bytes
};

// Generates a key of `algorithm`; RSA keys use exponent 3 when `attributes` carries
// KEY_RSA_EXPONENT_3, else 65537. DES-family keys get odd parity. kInternal when the
// crypto library fails.
Result GenerateKeyMaterial(const KeyAlgorithm &algorithm, uint32_t attributes, KeyMaterial *out);

// Sets odd parity on every byte (DES keys), leaving the key bits as they are.
void SetDesParity(std::string &key);

}  // namespace sim
