#include "crypto/key_algorithm.h"

#include <iterator>

namespace sim {

namespace {

constexpr KeyAlgorithm kAlgorithms[] = {
    {1, KeyClass::kSymmetric, 8, nullptr},      {2, KeyClass::kSymmetric, 16, nullptr},
    {3, KeyClass::kSymmetric, 24, nullptr},     {7, KeyClass::kSymmetric, 16, nullptr},
    {8, KeyClass::kSymmetric, 24, nullptr},     {9, KeyClass::kSymmetric, 32, nullptr},
    {10, KeyClass::kSymmetric, 16, nullptr},    {89, KeyClass::kSymmetric, 16, nullptr},
    {91, KeyClass::kSymmetric, 24, nullptr},    {92, KeyClass::kHmac, 16, nullptr},
    {93, KeyClass::kHmac, 20, nullptr},         {94, KeyClass::kHmac, 32, nullptr},
    {95, KeyClass::kHmac, 48, nullptr},         {96, KeyClass::kHmac, 64, nullptr},
    {97, KeyClass::kHmac, 28, nullptr},         {98, KeyClass::kHmac, 28, nullptr},
    {99, KeyClass::kHmac, 32, nullptr},         {100, KeyClass::kHmac, 48, nullptr},
    {101, KeyClass::kHmac, 64, nullptr},        {4, KeyClass::kRsa, 512 / 8, nullptr},
    {5, KeyClass::kRsa, 1024 / 8, nullptr},     {6, KeyClass::kRsa, 2048 / 8, nullptr},
    {11, KeyClass::kRsa, 4096 / 8, nullptr},    {121, KeyClass::kRsa, 1152 / 8, nullptr},
    {122, KeyClass::kRsa, 1408 / 8, nullptr},   {123, KeyClass::kRsa, 1984 / 8, nullptr},
    {124, KeyClass::kRsa, 8192 / 8, nullptr},   {126, KeyClass::kRsa, 2304 / 8, nullptr},
    {127, KeyClass::kRsa, 2560 / 8, nullptr},   {128, KeyClass::kRsa, 2816 / 8, nullptr},
    {129, KeyClass::kRsa, 3072 / 8, nullptr},   {130, KeyClass::kRsa, 1976 / 8, nullptr},
    {131, KeyClass::kRsa, 1536 / 8, nullptr},   {18, KeyClass::kEc, 14, "secp112r1"},
    {20, KeyClass::kEc, 16, "secp128r1"},       {22, KeyClass::kEc, 20, "secp160k1"},
    {23, KeyClass::kEc, 20, "secp160r1"},       {25, KeyClass::kEc, 24, "secp192k1"},
    {26, KeyClass::kEc, 24, "prime192v1"},      {27, KeyClass::kEc, 28, "secp224k1"},
    {28, KeyClass::kEc, 28, "secp224r1"},       {29, KeyClass::kEc, 32, "secp256k1"},
    {30, KeyClass::kEc, 32, "prime256v1"},      {31, KeyClass::kEc, 48, "secp384r1"},
    {32, KeyClass::kEc, 66, "secp521r1"},       {33, KeyClass::kEc, 24, "prime192v2"},
    {35, KeyClass::kEc, 30, "prime239v1"},      {38, KeyClass::kEc, 20, "brainpoolP160r1"},
    {39, KeyClass::kEc, 20, "brainpoolP160t1"}, {40, KeyClass::kEc, 24, "brainpoolP192r1"},
    {41, KeyClass::kEc, 24, "brainpoolP192t1"}, {42, KeyClass::kEc, 28, "brainpoolP224r1"},
    {43, KeyClass::kEc, 28, "brainpoolP224t1"}, {44, KeyClass::kEc, 32, "brainpoolP256r1"},
    {45, KeyClass::kEc, 32, "brainpoolP256t1"}, {46, KeyClass::kEc, 40, "brainpoolP320r1"},
    {47, KeyClass::kEc, 40, "brainpoolP320t1"}, {48, KeyClass::kEc, 48, "brainpoolP384r1"},
    {49, KeyClass::kEc, 48, "brainpoolP384t1"}, {50, KeyClass::kEc, 64, "brainpoolP512r1"},
    {51, KeyClass::kEc, 64, "brainpoolP512t1"}, {201, KeyClass::kEdwards, 32, "ED25519"},
    {202, KeyClass::kEdwards, 57, "ED448"},     {203, KeyClass::kMontgomery, 32, "X25519"},
    {204, KeyClass::kMontgomery, 56, "X448"},
};

}  // namespace

const KeyAlgorithm *FindKeyAlgorithm(uint32_t id) {
    for (const KeyAlgorithm &algorithm : kAlgorithms)
        if (algorithm.id == id) return &algorithm;
    return nullptr;
}

}  // namespace sim
