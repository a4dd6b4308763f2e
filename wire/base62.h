#pragma once
// Base62 text (0-9, A-Z, a-z, most significant digit first) of a byte string read as one
// big-endian number. Shares handed to people are written this way: no character a custodian
// could confuse with punctuation or lose in a copy.

#include <string>
#include <string_view>

namespace wire {

// REQUIRES: bytes is empty or its first byte is not zero (leading zeros would be lost).
std::string EncodeBase62(std::string_view bytes);

// Sets *bytes to the bytes of `text`, without leading zeros. False, *bytes untouched, when
// `text` is empty or holds another character.
bool DecodeBase62(std::string_view text, std::string *bytes);

// True when `text` is not empty and holds base62 digits only.
bool IsBase62(std::string_view text);

}  // namespace wire
