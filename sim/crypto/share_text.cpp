#include "crypto/share_text.h"

#include "base62.h"

namespace sim {

namespace {

constexpr char kVersion = 1;
constexpr size_t kHeaderBytes = 3;

}  // namespace

std::string ShareToText(const ShamirShare &share, uint8_t threshold) {
    SecretBytes bytes;
    std::string &raw = bytes.mutable_bytes();
    raw.push_back(kVersion);
    raw.push_back(static_cast<char>(share.x));
    raw.push_back(static_cast<char>(threshold));
    raw.append(share.y.view());
    return wire::EncodeBase62(raw);
}

std::optional<ShareOfText> ShareFromText(std::string_view text, size_t secretLength) {
    SecretBytes bytes;
    if (!wire::DecodeBase62(text, &bytes.mutable_bytes())) return std::nullopt;
    const std::string &raw = bytes.view();
    if (raw.size() != kHeaderBytes + secretLength || raw[0] != kVersion) return std::nullopt;
    ShareOfText parsed;
    parsed.share.x = static_cast<uint8_t>(raw[1]);
    parsed.threshold = static_cast<uint8_t>(raw[2]);
    if (parsed.share.x == 0 || parsed.threshold < 2) return std::nullopt;
    parsed.share.y.mutable_bytes().assign(raw, kHeaderBytes);
    return parsed;
}

}  // namespace sim
