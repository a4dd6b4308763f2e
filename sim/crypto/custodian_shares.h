#pragma once
// Secrets split M of N among custodians (Shamir's scheme over GF(256), libgfshare). Every
// share carries its set's parameters and is bound to its set by a tag under a key derived
// from the master key, so the HSM tells a share of another set, an altered share or one
// another HSM made from a good one before it combines anything.
//
// A share, byte by byte (the 63-byte smart-card shadow is the share of a 32-byte SVMK):
//   0   u32 little-endian  version (SVMK scheme 1 or 2; 0 for a split secret)
//   4   u8                 position in the set, 1 to n
//   5   u8                 m, the shares needed
//   6   u8                 n, the shares made
//   7   8 bytes            set id, random for each split
//   15  secret's length    the Shamir share
//   end - 16               tag: HMAC-SHA256 of all the bytes before it, first 16 bytes

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/secret.h"
#include "crypto/master_key.h"

namespace sim {

inline constexpr size_t kShareOverheadBytes = 31;
inline constexpr size_t kSvmkBytes = 32;
inline constexpr size_t kShadowBytes = kShareOverheadBytes + kSvmkBytes;  // 63
inline constexpr size_t kSvmkBlobBytes = 48;
inline constexpr uint8_t kMinShares = 2;
inline constexpr uint8_t kMaxShares = 16;

// What the shares are for; each has its own tag key, so a shadow never passes for a share
// of a split secret.
enum class SharePurpose { kShadow, kSecret };

// The parameters the shares of one set agree on.
struct ShareSet {
    uint32_t version = 0;
    uint8_t m = 0;
    uint8_t n = 0;
};

// Splits `secret` into n shares, any m of which rebuild it.
// REQUIRES: kMinShares <= m <= n <= kMaxShares, a non-empty secret.
std::vector<SecretBytes> SplitShares(const MasterKey &key, SharePurpose purpose, uint32_t version,
                                     std::string_view secret, uint8_t m, uint8_t n);

// Rebuilds the secret of `shares` into *secret and their parameters into *set. Refuses, in
// this order: a share of the wrong size, of a bad tag or of a position outside 1..n
// (kShadowTampered), shares of different sets (kShadowsMixed), one position twice
// (kShadowDuplicate), fewer than m (kShadowsTooFew).
Result JoinShares(const MasterKey &key, SharePurpose purpose,
                  const std::vector<std::string_view> &shares, SecretBytes *secret, ShareSet *set);

// The SVMK wrapped (AES key wrap) under a key derived from the master key, behind an
// 8-byte mark: kSvmkBlobBytes that only this HSM can open.
std::string SealSvmk(const MasterKey &key, std::string_view svmk);
// nullopt when `blob` is not a blob of this HSM's or was altered.
std::optional<SecretBytes> OpenSvmk(const MasterKey &key, std::string_view blob);

// Names an SVMK without revealing it: 32 upper-case hexadecimal digits of a hash of it.
std::string SvmkFingerprint(std::string_view svmk);

}  // namespace sim
