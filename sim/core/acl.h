#pragma once
// Bits of the user access-rights word that the simulator itself enforces.

#include <cstdint>

namespace sim::acl {

inline constexpr uint32_t kCreateRemoveUsers = 0x10;
inline constexpr uint32_t kRemoteInfo = 0x20;
inline constexpr uint32_t kListUsers = 0x40;
inline constexpr uint32_t kOperator = 0x80;
inline constexpr uint32_t kBackupRestore = 0x100;
inline constexpr uint32_t kFirmwareUpdate = 0x200;
inline constexpr uint32_t kX509SecondFactor = 0x10000000;
inline constexpr uint32_t kOathSecondFactor = 0x20000000;
inline constexpr uint32_t kChangePasswordAtLogon = 0x40000000;

}  // namespace sim::acl
