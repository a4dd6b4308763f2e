#include "crypto/password_hash.h"

#include <argon2.h>
#include <openssl/rand.h>

#include <atomic>
#include <chrono>
#include <semaphore>
#include <stdexcept>
#include <thread>

namespace sim {

namespace {

constexpr uint32_t kTimeCost = 3;
constexpr uint32_t kMemoryKiB = 12 * 1024;
constexpr uint32_t kParallelism = 1;
constexpr size_t kSaltBytes = 16;
constexpr size_t kHashBytes = 32;

// Each hash takes kMemoryKiB; a burst of logins must not take the machine's memory.
std::counting_semaphore<4> &HashSlots() {
    static std::counting_semaphore<4> slots(4);
    return slots;
}

class SlotGuard {
  public:
    SlotGuard() { HashSlots().acquire(); }
    ~SlotGuard() { HashSlots().release(); }
    SlotGuard(const SlotGuard &) = delete;
    SlotGuard &operator=(const SlotGuard &) = delete;
};

// How long the last verification took, in nanoseconds.
std::atomic<int64_t> gLastVerifyNanos{0};

}  // namespace

std::string HashPassword(std::string_view password) {
    unsigned char salt[kSaltBytes];
    if (RAND_bytes(salt, sizeof salt) != 1) throw std::runtime_error("RAND_bytes failed");
    std::string encoded(
        argon2_encodedlen(kTimeCost, kMemoryKiB, kParallelism, kSaltBytes, kHashBytes, Argon2_id),
        '\0');
    SlotGuard slot;
    int rc =
        argon2id_hash_encoded(kTimeCost, kMemoryKiB, kParallelism, password.data(), password.size(),
                              salt, sizeof salt, kHashBytes, encoded.data(), encoded.size());
    if (rc != ARGON2_OK) throw std::runtime_error(argon2_error_message(rc));
    encoded.resize(encoded.find('\0'));
    return encoded;
}

bool VerifyPassword(const std::string &encoded, std::string_view password) {
    SlotGuard slot;
    const auto start = std::chrono::steady_clock::now();
    const bool same =
        argon2id_verify(encoded.c_str(), password.data(), password.size()) == ARGON2_OK;
    gLastVerifyNanos = std::chrono::duration_cast<std::chrono::nanoseconds>(
                           std::chrono::steady_clock::now() - start)
                           .count();
    return same;
}

void VerifyPasswordOfNobody(std::string_view password) {
    // Sleeping, not hashing: a flood of logins as users that do not exist must not take the
    // hashing slots and the processor from the logins of real users.
    if (gLastVerifyNanos == 0) {
        static const std::string kNobody = HashPassword("nobody");
        (void)VerifyPassword(kNobody, password);
        return;
    }
    std::this_thread::sleep_for(std::chrono::nanoseconds(gLastVerifyNanos.load()));
}

SecretBytes DerivePasswordKey(std::string_view password, std::string_view salt,
                              const PasswordKeyParams &params, size_t bytes) {
    SecretBytes key(std::string(bytes, '\0'));
    SlotGuard slot;
    wire::DeriveArgon2id(password, salt, params,
                         reinterpret_cast<unsigned char *>(key.mutable_bytes().data()), bytes);
    return key;
}

}  // namespace sim
