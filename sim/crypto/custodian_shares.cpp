#include "crypto/custodian_shares.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <memory>
#include <stdexcept>

#include "crypto/shamir.h"

namespace sim {

namespace {

constexpr size_t kHeadBytes = 7;
constexpr size_t kSetIdBytes = 8;
constexpr size_t kTagBytes = 16;
constexpr size_t kShareStart = kHeadBytes + kSetIdBytes;
constexpr std::string_view kBlobMark{"SVMKBLOB", 8};

const unsigned char *Bytes(std::string_view s) {
    return reinterpret_cast<const unsigned char *>(s.data());
}

std::string_view TagPurpose(SharePurpose purpose) {
    return purpose == SharePurpose::kShadow ? "svmk shadow tag" : "split secret tag";
}

std::string Tag(const MasterKey &key, SharePurpose purpose, std::string_view body) {
    const SecretBytes tagKey = key.DeriveKey(TagPurpose(purpose));
    unsigned char mac[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, Bytes(tagKey.view()), tagKey.size(),
                  Bytes(body), body.size(), mac, sizeof mac, &length) == nullptr)
        throw std::runtime_error("HMAC failed");
    return std::string(reinterpret_cast<const char *>(mac), kTagBytes);
}

uint32_t ReadVersion(std::string_view share) {
    uint32_t version = 0;
    for (int i = 3; i >= 0; --i)
        version = (version << 8) | static_cast<uint8_t>(share[static_cast<size_t>(i)]);
    return version;
}

bool SameSet(std::string_view a, std::string_view b) {
    // Version, m, n and set id; the position (byte 4) is what differs.
    return a.substr(0, 4) == b.substr(0, 4) &&
           a.substr(5, kShareStart - 5) == b.substr(5, kShareStart - 5);
}

}  // namespace

std::vector<SecretBytes> SplitShares(const MasterKey &key, SharePurpose purpose, uint32_t version,
                                     std::string_view secret, uint8_t m, uint8_t n) {
    std::vector<ShamirShare> parts;
    if (ShamirSplit(secret, m, n, &parts) != Result::kOk)
        throw std::runtime_error("cannot split a secret");
    std::string setId(kSetIdBytes, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(setId.data()), kSetIdBytes) != 1)
        throw std::runtime_error("no random bytes");
    std::vector<SecretBytes> shares;
    for (const ShamirShare &part : parts) {
        SecretBytes share{std::string(kShareStart, '\0')};
        std::string &bytes = share.mutable_bytes();
        bytes.reserve(kShareStart + part.y.size() + kTagBytes);  // no copy left behind unwiped
        for (int b = 0; b < 4; ++b)
            bytes[static_cast<size_t>(b)] = static_cast<char>((version >> (8 * b)) & 0xFF);
        bytes[4] = static_cast<char>(part.x);
        bytes[5] = static_cast<char>(m);
        bytes[6] = static_cast<char>(n);
        bytes.replace(kHeadBytes, kSetIdBytes, setId);
        bytes += part.y.view();
        bytes += Tag(key, purpose, bytes);
        shares.push_back(std::move(share));
    }
    return shares;
}

Result JoinShares(const MasterKey &key, SharePurpose purpose,
                  const std::vector<std::string_view> &shares, SecretBytes *secret, ShareSet *set) {
    if (shares.empty()) return Result::kShadowsTooFew;
    const size_t length = shares.front().size();
    for (std::string_view share : shares) {
        if (share.size() != length || length <= kShareOverheadBytes) return Result::kShadowTampered;
        const std::string_view body = share.substr(0, length - kTagBytes);
        const std::string expected = Tag(key, purpose, body);
        if (CRYPTO_memcmp(expected.data(), share.data() + body.size(), kTagBytes) != 0)
            return Result::kShadowTampered;
        const auto position = static_cast<uint8_t>(share[4]);
        if (position == 0 || position > static_cast<uint8_t>(share[6]))
            return Result::kShadowTampered;
    }
    for (std::string_view share : shares)
        if (!SameSet(share, shares.front())) return Result::kShadowsMixed;
    std::array<bool, 256> seen{};
    for (std::string_view share : shares) {
        const auto position = static_cast<uint8_t>(share[4]);
        if (seen[position]) return Result::kShadowDuplicate;
        seen[position] = true;
    }
    const std::string_view first = shares.front();
    set->version = ReadVersion(first);
    set->m = static_cast<uint8_t>(first[5]);
    set->n = static_cast<uint8_t>(first[6]);
    if (shares.size() < set->m) return Result::kShadowsTooFew;

    const size_t size = length - kShareOverheadBytes;
    std::vector<ShamirShare> parts;
    for (std::string_view share : shares)
        parts.push_back({static_cast<uint8_t>(share[4]),
                         SecretBytes{std::string(share.substr(kShareStart, size))}});
    *secret = ShamirCombine(parts);
    return Result::kOk;
}

namespace {

// AES-256 key wrap (RFC 3394) in one direction; false when the integrity check fails.
bool KeyWrap(const MasterKey &key, bool wrap, std::string_view in, std::string *out) {
    const SecretBytes wrapKey = key.DeriveKey("svmk blob");
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        EVP_CIPHER_CTX_free);
    if (!ctx) throw std::runtime_error("no cipher context");
    EVP_CIPHER_CTX_set_flags(ctx.get(), EVP_CIPHER_CTX_FLAG_WRAP_ALLOW);
    if (EVP_CipherInit_ex(ctx.get(), EVP_aes_256_wrap(), nullptr, Bytes(wrapKey.view()), nullptr,
                          wrap ? 1 : 0) != 1)
        throw std::runtime_error("key wrap unavailable");
    out->assign(in.size() + 8, '\0');
    int length = 0;
    int last = 0;
    auto *dest = reinterpret_cast<unsigned char *>(out->data());
    if (EVP_CipherUpdate(ctx.get(), dest, &length, Bytes(in), static_cast<int>(in.size())) != 1 ||
        EVP_CipherFinal_ex(ctx.get(), dest + length, &last) != 1) {
        OPENSSL_cleanse(out->data(), out->size());
        out->clear();
        return false;
    }
    out->resize(static_cast<size_t>(length + last));
    return true;
}

}  // namespace

std::string SealSvmk(const MasterKey &key, std::string_view svmk) {
    std::string wrapped;
    if (!KeyWrap(key, true, svmk, &wrapped)) throw std::runtime_error("key wrap failed");
    return std::string(kBlobMark) + wrapped;
}

std::optional<SecretBytes> OpenSvmk(const MasterKey &key, std::string_view blob) {
    if (blob.size() != kSvmkBlobBytes || blob.substr(0, kBlobMark.size()) != kBlobMark)
        return std::nullopt;
    SecretBytes svmk;
    if (!KeyWrap(key, false, blob.substr(kBlobMark.size()), &svmk.mutable_bytes()))
        return std::nullopt;
    return svmk;
}

std::string SvmkFingerprint(std::string_view svmk) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(svmk.data(), svmk.size(), digest, &length, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 failed");
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (size_t i = 0; i < 16; ++i) {
        hex += kDigits[digest[i] >> 4];
        hex += kDigits[digest[i] & 15];
    }
    return hex;
}

}  // namespace sim
