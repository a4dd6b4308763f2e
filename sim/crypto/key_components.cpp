#include "crypto/key_components.h"

#include <cstring>
#include <string>

#include "crypto/key_generator.h"

namespace sim {

namespace {

constexpr size_t kDesSlot = 24;
constexpr size_t kDesPart = kDesSlot + wire::kCheckValueBytes;
constexpr size_t kDesFinalKcv = 3 * kDesPart;
constexpr size_t kAesSlot = 32;
constexpr size_t kAesFirstSlot = 4;
constexpr size_t kAesFinalKcv = kAesFirstSlot + 3 * kAesSlot;

bool IsDesFamily(uint32_t id) {
    return id == 1 || id == 2 || id == 3;
}

bool IsAes(uint32_t id) {
    return id == 7 || id == 8 || id == 9;
}

bool Matches(uint32_t algorithm, wire::CheckValueFormat format, std::string_view key,
             std::string_view expected) {
    wire::CheckValue value{};
    return wire::ComputeCheckValue(algorithm, format, key, &value) == wire::OK &&
           std::memcmp(value.data(), expected.data(), value.size()) == 0;
}

void XorInto(std::string &key, std::string_view component) {
    for (size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<char>(key[i] ^ component[i]);
}

}  // namespace

Result JoinKeyComponents(uint32_t algorithm, std::string_view record, wire::CheckValueFormat format,
                         SecretBytes *key, uint32_t *attributes) {
    const size_t length = wire::SymmetricKeyLength(algorithm);
    SecretBytes joined(std::string(length, '\0'));
    if (IsDesFamily(algorithm)) {
        if (record.size() != kDesComponentRecordBytes) return Result::kInvalidLength;
        for (size_t part = 0; part < 3; ++part) {
            std::string_view component = record.substr(part * kDesPart, length);
            std::string_view kcv = record.substr(part * kDesPart + kDesSlot, 3);
            if (!Matches(algorithm, wire::CheckValueFormat::kKcv, component, kcv))
                return Result::kKcvMismatch;
            XorInto(joined.mutable_bytes(), component);
        }
        // Components carry parity each; their sum gets it back without changing the key.
        SetDesParity(joined.mutable_bytes());
        if (!Matches(algorithm, wire::CheckValueFormat::kKcv, joined.view(),
                     record.substr(kDesFinalKcv, 3)))
            return Result::kKcvMismatch;
        *attributes = 0;
    } else if (IsAes(algorithm)) {
        if (record.size() != kAesComponentRecordBytes) return Result::kInvalidLength;
        for (size_t part = 0; part < 3; ++part)
            XorInto(joined.mutable_bytes(), record.substr(kAesFirstSlot + part * kAesSlot, length));
        if (!Matches(algorithm, format, joined.view(), record.substr(kAesFinalKcv, 3)))
            return Result::kKcvMismatch;
        std::memcpy(attributes, record.data(), sizeof *attributes);
    } else {
        return Result::kBadAlgorithm;
    }
    *key = std::move(joined);
    return Result::kOk;
}

}  // namespace sim
