#pragma once
// PIN verification by the IBM 3624 offset method, for PINs that arrive in an ISO 9564
// format 0 PIN block encrypted under a DES-family PIN key.

#include <string_view>

#include "core/result.h"
#include "core/secret.h"

namespace sim {

// The clear PIN digits of `encryptedBlock` (8 bytes) under `pinKey` (8, 16 or 24 bytes) for
// the card `pan` (12 to 19 digits; its 12 digits before the check digit are in the block).
// kBadPan, kInvalidLength, kInvalidParameter when the clear block is not a format 0 block
// of 4 to 12 digits, or kInternal.
Result DecryptPinBlockFormat0(std::string_view pinKey, std::string_view encryptedBlock,
                              std::string_view pan, SecretBytes *pin);

// True in *matches when `pin` is the natural PIN of `validationData` (8 bytes) under `pvk`
// plus `offset`, digit by digit without carry. `decimalization` maps each of the 16 nibble
// values to a digit. REQUIRES: pin and offset have the same number of digits, at most 16.
// kInvalidParameter for digits that are not digits, kInvalidLength or kInternal otherwise.
Result VerifyIbm3624Offset(std::string_view pvk, std::string_view validationData,
                           std::string_view decimalization, std::string_view pin,
                           std::string_view offset, bool *matches);

}  // namespace sim
