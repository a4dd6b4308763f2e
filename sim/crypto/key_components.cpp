#include "crypto/key_components.h"

#include <openssl/crypto.h>

#include <cstring>
#include <string>

#include "crypto/key_algorithm.h"
#include "crypto/key_generator.h"

namespace sim {

namespace {

bool Matches(uint32_t algorithm, wire::pb::CheckValueFormat format, std::string_view key,
             std::string_view expected) {
    wire::CheckValue value{};
    return expected.size() == value.size() &&
           wire::ComputeCheckValue(algorithm, format, key, &value) == wire::OK &&
           CRYPTO_memcmp(value.data(), expected.data(), value.size()) == 0;
}

void XorInto(std::string &key, std::string_view part) {
    for (size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<char>(key[i] ^ part[i]);
}

// Every part the key's length and, where the family has them, a check value per part.
bool WellFormed(const KeyComponents &components, size_t length, bool checkedParts) {
    if (components.parts.size() != kKeyComponentCount ||
        components.partCheckValues.size() != (checkedParts ? kKeyComponentCount : 0) ||
        components.keyCheckValue.size() != wire::kCheckValueBytes)
        return false;
    for (std::string_view part : components.parts)
        if (part.size() != length) return false;
    for (std::string_view kcv : components.partCheckValues)
        if (kcv.size() != wire::kCheckValueBytes) return false;
    return true;
}

}  // namespace

Result JoinKeyComponents(uint32_t algorithm, const KeyComponents &components, SecretBytes *key) {
    const bool des = wire::IsDesFamily(algorithm);
    if (!des && !wire::IsAes(algorithm)) return Result::kBadAlgorithm;
    const size_t length = wire::SymmetricKeyLength(algorithm);
    if (!WellFormed(components, length, des)) return Result::kInvalidLength;
    const wire::pb::CheckValueFormat format = des ? wire::pb::KCV_CLASSIC : components.format;
    SecretBytes joined(std::string(length, '\0'));
    for (size_t i = 0; i < kKeyComponentCount; ++i) {
        if (des && !Matches(algorithm, format, components.parts[i], components.partCheckValues[i]))
            return Result::kKcvMismatch;
        XorInto(joined.mutable_bytes(), components.parts[i]);
    }
    // Parts carry parity each; their sum gets it back without changing the key.
    if (des) SetDesParity(joined.mutable_bytes());
    if (!Matches(algorithm, format, joined.view(), components.keyCheckValue))
        return Result::kKcvMismatch;
    *key = std::move(joined);
    return Result::kOk;
}

Result SplitKeyComponents(uint32_t algorithm, std::string_view key, size_t parts,
                          std::vector<SecretBytes> *components) {
    components->clear();
    const KeyAlgorithm *shape = FindKeyAlgorithm(algorithm);
    if (shape == nullptr || (!wire::IsDesFamily(algorithm) && !wire::IsAes(algorithm)))
        return Result::kBadAlgorithm;
    if (key.size() != shape->length) return Result::kInvalidLength;
    if (parts < 2 || parts > kKeyComponentCount) return Result::kInvalidParameter;
    SecretBytes last{std::string(key)};
    for (size_t i = 0; i + 1 < parts; ++i) {
        KeyMaterial random;
        if (Result r = GenerateKeyMaterial(*shape, 0, &random); r != Result::kOk) {
            components->clear();
            return r;
        }
        XorInto(last.mutable_bytes(), random.secret.view());
        components->push_back(std::move(random.secret));
    }
    components->push_back(std::move(last));
    while (components->size() < kKeyComponentCount)
        components->emplace_back(std::string(key.size(), '\0'));
    return Result::kOk;
}

}  // namespace sim
