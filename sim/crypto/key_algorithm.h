#pragma once
// The key algorithms this HSM can generate and hold, by the device library's identifiers.

#include <cstdint>

#include "constants.pb.h"

namespace sim {

enum class KeyClass {
    kSymmetric,  // DES, 3DES, DESX, AES, ARC4, ARC5
    kHmac,
    kRsa,
    kEc,         // named Weierstrass curves
    kEdwards,    // Ed25519, Ed448
    kMontgomery  // X25519, X448
};

struct KeyAlgorithm {
    uint32_t id;
    KeyClass keyClass;
    uint32_t length;          // key length in bytes (RSA: modulus; curves: field size)
    const char *openSslName;  // curve or key type name; null for symmetric keys
};

// The algorithm of an identifier (wire::pb::Algorithm), or null when this HSM cannot serve it.
const KeyAlgorithm *FindKeyAlgorithm(uint32_t id);

}  // namespace sim
