#pragma once
// RC5-32/12/16 (32-bit words, 12 rounds, 16-byte key) on single 8-byte blocks. No OpenSSL
// provider carries RC5, so the HSM keeps its own implementation of the published cipher.

#include <array>
#include <cstdint>
#include <string_view>

namespace sim {

class Rc5 {
  public:
    static constexpr size_t kKeyBytes = 16;
    static constexpr size_t kBlockBytes = 8;
    using Block = std::array<uint8_t, kBlockBytes>;

    // REQUIRES: key.size() == kKeyBytes. The expanded key is wiped on destruction.
    explicit Rc5(std::string_view key);
    ~Rc5();
    Rc5(const Rc5 &) = delete;
    Rc5 &operator=(const Rc5 &) = delete;

    Block Encrypt(const Block &plain) const;
    Block Decrypt(const Block &cipher) const;

  private:
    static constexpr int kRounds = 12;
    std::array<uint32_t, 2 * (kRounds + 1)> s_{};
};

}  // namespace sim
