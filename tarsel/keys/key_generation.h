#pragma once
// The steps every key generation shares: name, the family's size step, the attribute
// questions, QGenerateKey and the summary.

#include <cstdint>
#include <functional>

#include "console/menu.h"
#include "qelvoarc.h"

// The family's size question: stores the algorithm identifier and returns 0, or returns the
// status that ends the action (having printed whatever the family prints on a cancel).
using KeySizeStep = std::function<uint32_t(uint32_t *algorithm)>;

// Runs the generation dialogue. `asksExponent3`: the RSA question of the public exponent,
// asked only when the console was started with -3.
int32_t GenerateKey(QSessionHandle session, const MenuItem &item, const KeySizeStep &sizeStep,
                    bool asksExponent3 = false);

// A size step running a picker of key algorithms; the picker prints its own cancellation,
// after which the action ends with 1.
KeySizeStep PickedBy(bool (*picker)(int32_t *algorithm));

// A size step that prints "Size (bits) : (<bits>)" and yields `algorithm`.
KeySizeStep FixedSize(uint32_t algorithm, int bits);

// The numbered size question of 3DES and AES: " 1 - <label>" per entry, "Option : ", one
// number. A failed read prints "Operation cancelled!" and returns its status.
struct SizeChoice {
    const char *label;
    uint32_t algorithm;
};
uint32_t AskNumberedSize(const SizeChoice *choices, int count, uint32_t *algorithm);

inline constexpr SizeChoice kTripleDesSizes[] = {{"112", Q_ALG_3DES_112}, {"168", Q_ALG_3DES_168}};
inline constexpr SizeChoice kAesSizes[] = {
    {"128", Q_ALG_AES_128}, {"192", Q_ALG_AES_192}, {"256", Q_ALG_AES_256}};

template <size_t N>
uint32_t AskNumberedSize(const SizeChoice (&choices)[N], uint32_t *algorithm) {
    return AskNumberedSize(choices, static_cast<int>(N), algorithm);
}

// The 50-byte name buffer of keys and objects (at most 49 characters).
inline constexpr size_t kObjectNameSize = 50;
