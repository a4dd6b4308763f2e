#pragma once
// Card verification values (Visa CVV, also CVC and CSC) from a double-length DES key.

#include <string>
#include <string_view>

#include "core/result.h"

namespace sim {

// The 3-digit CVV of a card: `key` is a 16-byte DES key, `pan` 12 to 19 digits,
// `expirationDate` YYMM and `serviceCode` 3 digits. Fails with kBadPan, kBadExpirationDate,
// kBadServiceCode, kInvalidLength (key) or kInternal, leaving *cvv as it was.
Result ComputeCvv(std::string_view key, std::string_view pan, std::string_view expirationDate,
                  std::string_view serviceCode, std::string *cvv);

}  // namespace sim
