#pragma once
// The EFT daemon's configuration: how host commands are framed and which PINs they verify.

#include <cstdint>

namespace sim {

struct EftdConfig {
    uint8_t headerLength = 4;  // bytes of the message header a host echoes back
    uint8_t pinLength = 6;     // digits of every PIN the daemon verifies
    bool authorized = false;   // partition eftd0 lets its host commands run
};

inline constexpr uint32_t kMinEftdHeaderLength = 1;
inline constexpr uint32_t kMaxEftdHeaderLength = 255;
inline constexpr uint32_t kMinEftdPinLength = 5;
inline constexpr uint32_t kMaxEftdPinLength = 13;

// The partition whose keys the host commands use, and whose user alone authorizes them.
inline constexpr const char *kEftdPartition = "eftd0";

}  // namespace sim
