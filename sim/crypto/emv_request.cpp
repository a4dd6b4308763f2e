#include "crypto/emv_request.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/x509.h>

#include <cctype>
#include <memory>

namespace sim {

namespace {

namespace pb = wire::pb;

using Pkey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using MdCtx = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

constexpr unsigned char kCertificateFormat = 0x02;
constexpr unsigned char kLayoutVersion = 0x01;
constexpr unsigned char kHashSha1 = 0x01;
constexpr unsigned char kPublicKeyRsa = 0x01;
constexpr size_t kMasterCardHashBytes = 28;

struct SchemeRule {
    pb::EmvScheme scheme;
    size_t minBits;
    size_t maxBits;
};

// The schemes' certification authorities sign issuer keys of at most 1984 bits, the largest
// that fits one certificate under their 2048-bit keys. ELO takes no key below 1152 bits.
constexpr SchemeRule kRules[] = {
    {pb::EMV_VISA, 1024, 1984},
    {pb::EMV_MASTERCARD, 1024, 1984},
    {pb::EMV_ELO, 1152, 1984},
    {pb::EMV_JCB, 1024, 1984},
};

const SchemeRule *FindRule(pb::EmvScheme scheme) {
    for (const SchemeRule &rule : kRules)
        if (rule.scheme == scheme) return &rule;
    return nullptr;
}

// 3 to 8 decimal digits, left-justified, the rest of the 8 nibbles F.
bool ValidBin(std::string_view bin) {
    size_t digits = 0;
    bool padding = false;
    for (unsigned char byte : bin) {
        for (unsigned nibble : {unsigned{byte} >> 4u, unsigned{byte} & 0x0Fu}) {
            if (nibble == 0x0F) {
                padding = true;
            } else if (nibble > 9 || padding) {
                return false;
            } else {
                ++digits;
            }
        }
    }
    return digits >= 3;
}

// "MMYY" as two BCD bytes.
bool ExpiryBcd(std::string_view expiry, std::string *out) {
    if (expiry.size() != 4) return false;
    for (char c : expiry)
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    const int month = (expiry[0] - '0') * 10 + (expiry[1] - '0');
    if (month < 1 || month > 12) return false;
    for (size_t i = 0; i < 4; i += 2)
        out->push_back(static_cast<char>(((expiry[i] - '0') << 4) | (expiry[i + 1] - '0')));
    return true;
}

std::string BigEndian(EVP_PKEY *key, const char *parameter) {
    BIGNUM *value = nullptr;
    if (EVP_PKEY_get_bn_param(key, parameter, &value) != 1) return {};
    std::string bytes(static_cast<size_t>(BN_num_bytes(value)), '\0');
    BN_bn2bin(value, reinterpret_cast<unsigned char *>(bytes.data()));
    BN_free(value);
    return bytes;
}

std::string Sha1(std::string_view data) {
    std::string digest(SHA_DIGEST_LENGTH, '\0');
    SHA1(reinterpret_cast<const unsigned char *>(data.data()), data.size(),
         reinterpret_cast<unsigned char *>(digest.data()));
    return digest;
}

Result SignSha1(EVP_PKEY *key, std::string_view data, std::string *signature) {
    MdCtx ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    size_t length = 0;
    const auto *bytes = reinterpret_cast<const unsigned char *>(data.data());
    if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, EVP_sha1(), nullptr, key) != 1 ||
        EVP_DigestSign(ctx.get(), nullptr, &length, bytes, data.size()) != 1)
        return Result::kInternal;
    std::string out(length, '\0');
    if (EVP_DigestSign(ctx.get(), reinterpret_cast<unsigned char *>(out.data()), &length, bytes,
                       data.size()) != 1)
        return Result::kInternal;
    out.resize(length);
    signature->append(out);
    return Result::kOk;
}

Result CheckFields(const EmvRequestFields &fields, std::string *expiryBcd) {
    if (FindRule(fields.scheme) == nullptr || fields.serial.size() != 3 ||
        fields.typeField.size() != 4 || fields.bin.size() != 4)
        return Result::kInvalidParameter;
    if (!ValidBin(fields.bin)) return Result::kEmvBadBin;
    if (!ExpiryBcd(fields.expiry, expiryBcd)) return Result::kEmvBadExpiry;
    return Result::kOk;
}

// The key's modulus and exponent, within the scheme's lengths.
Result IssuerKey(const EmvRequestFields &fields, std::string_view der, Pkey *key,
                 std::string *modulus, std::string *exponent) {
    const auto *cursor = reinterpret_cast<const unsigned char *>(der.data());
    key->reset(d2i_AutoPrivateKey(nullptr, &cursor, static_cast<long>(der.size())));
    if (!*key || EVP_PKEY_get_base_id(key->get()) != EVP_PKEY_RSA) return Result::kBadAlgorithm;
    *modulus = BigEndian(key->get(), OSSL_PKEY_PARAM_RSA_N);
    *exponent = BigEndian(key->get(), OSSL_PKEY_PARAM_RSA_E);
    if (*exponent != std::string("\x03", 1) && *exponent != std::string("\x01\x00\x01", 3))
        return Result::kBadAlgorithm;
    const SchemeRule &rule = *FindRule(fields.scheme);
    const size_t bits = modulus->size() * 8;
    return bits < rule.minBits || bits > rule.maxBits ? Result::kEmvKeyLength : Result::kOk;
}

}  // namespace

Result BuildEmvRequest(const EmvRequestFields &fields, std::string_view privateKeyDer,
                       std::string *request, std::string *hash) {
    std::string expiryBcd;
    if (Result r = CheckFields(fields, &expiryBcd); r != Result::kOk) return r;
    Pkey key(nullptr, &EVP_PKEY_free);
    std::string modulus, exponent;
    if (Result r = IssuerKey(fields, privateKeyDer, &key, &modulus, &exponent); r != Result::kOk)
        return r;

    std::string certificate;
    certificate.push_back(static_cast<char>(kCertificateFormat));
    certificate.append(fields.bin).append(expiryBcd).append(fields.serial);
    certificate.push_back(static_cast<char>(kHashSha1));
    certificate.push_back(static_cast<char>(kPublicKeyRsa));
    certificate.push_back(static_cast<char>(modulus.size()));
    certificate.push_back(static_cast<char>(exponent.size()));
    certificate.append(modulus).append(exponent);

    request->clear();
    request->push_back(static_cast<char>(fields.scheme));
    request->push_back(static_cast<char>(kLayoutVersion));
    request->append(fields.typeField);
    request->push_back(static_cast<char>(certificate.size() >> 8));
    request->push_back(static_cast<char>(certificate.size() & 0xFF));
    request->append(certificate);
    if (Result r = SignSha1(key.get(), *request, request); r != Result::kOk) return r;

    hash->clear();
    if (fields.scheme == pb::EMV_VISA) {
        *hash = Sha1(certificate);
    } else if (fields.scheme == pb::EMV_MASTERCARD) {
        hash->append(fields.bin).append(fields.serial);
        hash->push_back(static_cast<char>(kHashSha1));
        hash->append(Sha1(certificate));
        static_assert(4 + 3 + 1 + SHA_DIGEST_LENGTH == kMasterCardHashBytes);
    }
    return Result::kOk;
}

}  // namespace sim
