#include "crypto/rc5.h"

#include <openssl/crypto.h>

#include <bit>

namespace sim {

namespace {

constexpr uint32_t kP32 = 0xB7E15163u;
constexpr uint32_t kQ32 = 0x9E3779B9u;

uint32_t LoadWord(const uint8_t *bytes) {
    return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
           uint32_t{bytes[3]} << 24;
}

void StoreWord(uint32_t word, uint8_t *bytes) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(word >> (8 * i));
}

}  // namespace

Rc5::Rc5(std::string_view key) {
    constexpr size_t kWords = kKeyBytes / 4;
    std::array<uint32_t, kWords> l{};
    for (size_t i = kKeyBytes; i-- > 0;)
        l[i / 4] = (l[i / 4] << 8) + static_cast<uint8_t>(key[i]);
    s_[0] = kP32;
    for (size_t i = 1; i < s_.size(); ++i)
        s_[i] = s_[i - 1] + kQ32;
    uint32_t a = 0, b = 0;
    size_t i = 0, j = 0;
    for (size_t k = 0; k < 3 * s_.size(); ++k) {
        a = s_[i] = std::rotl(s_[i] + a + b, 3);
        b = l[j] = std::rotl(l[j] + a + b, static_cast<int>((a + b) & 31));
        i = (i + 1) % s_.size();
        j = (j + 1) % kWords;
    }
    OPENSSL_cleanse(l.data(), sizeof l);
}

Rc5::~Rc5() {
    OPENSSL_cleanse(s_.data(), sizeof s_);
}

Rc5::Block Rc5::Encrypt(const Block &plain) const {
    uint32_t a = LoadWord(plain.data()) + s_[0];
    uint32_t b = LoadWord(plain.data() + 4) + s_[1];
    for (int r = 1; r <= kRounds; ++r) {
        a = std::rotl(a ^ b, static_cast<int>(b & 31)) + s_[2 * r];
        b = std::rotl(b ^ a, static_cast<int>(a & 31)) + s_[2 * r + 1];
    }
    Block out;
    StoreWord(a, out.data());
    StoreWord(b, out.data() + 4);
    return out;
}

Rc5::Block Rc5::Decrypt(const Block &cipher) const {
    uint32_t a = LoadWord(cipher.data());
    uint32_t b = LoadWord(cipher.data() + 4);
    for (int r = kRounds; r >= 1; --r) {
        b = std::rotr(b - s_[2 * r + 1], static_cast<int>(a & 31)) ^ a;
        a = std::rotr(a - s_[2 * r], static_cast<int>(b & 31)) ^ b;
    }
    Block out;
    StoreWord(a - s_[0], out.data());
    StoreWord(b - s_[1], out.data() + 4);
    return out;
}

}  // namespace sim
