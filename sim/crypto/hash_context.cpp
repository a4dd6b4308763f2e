#include "crypto/hash_context.h"

#include <openssl/core_names.h>
#include <openssl/params.h>

#include <stdexcept>

#include "constants.pb.h"

namespace sim {

namespace {

namespace pb = ::wire::pb;

// The protocol's numbers for each digest, plain and as HMAC.
struct Algorithm {
    uint32_t plain;
    uint32_t keyed;
    const char *name;
};

constexpr Algorithm kAlgorithms[] = {
    {pb::HASH_MD5, pb::ALG_HMAC_MD5, "MD5"},
    {pb::HASH_SHA1, pb::ALG_HMAC_SHA1, "SHA1"},
    {pb::HASH_SHA256, pb::ALG_HMAC_SHA256, "SHA256"},
    {pb::HASH_SHA384, pb::ALG_HMAC_SHA384, "SHA384"},
    {pb::HASH_SHA512, pb::ALG_HMAC_SHA512, "SHA512"},
    {pb::HASH_SHA224, pb::ALG_HMAC_SHA224, "SHA224"},
    {pb::HASH_SHA3_224, pb::ALG_HMAC_SHA3_224, "SHA3-224"},
    {pb::HASH_SHA3_256, pb::ALG_HMAC_SHA3_256, "SHA3-256"},
    {pb::HASH_SHA3_384, pb::ALG_HMAC_SHA3_384, "SHA3-384"},
    {pb::HASH_SHA3_512, pb::ALG_HMAC_SHA3_512, "SHA3-512"},
};

}  // namespace

Result HashContext::Create(uint32_t algorithm, std::unique_ptr<HashContext> *out) {
    for (const Algorithm &a : kAlgorithms) {
        if (algorithm != a.plain && algorithm != a.keyed) continue;
        const EVP_MD *md = EVP_get_digestbyname(a.name);
        if (md == nullptr) return Result::kBadAlgorithm;
        EVP_MAC *mac = nullptr;
        if (algorithm == a.keyed) {
            mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
            if (mac == nullptr) return Result::kInternal;
        }
        out->reset(new HashContext(md, mac, a.name));
        return Result::kOk;
    }
    return Result::kBadAlgorithm;
}

HashContext::HashContext(const EVP_MD *md, EVP_MAC *mac, const char *digestName)
    : mac_(mac),
      md_(md),
      digestName_(digestName),
      size_(static_cast<size_t>(EVP_MD_get_size(md))),
      state_(mac ? State::kNeedsKey : State::kOpen) {
    if (mac_ == nullptr) {
        mdCtx_ = EVP_MD_CTX_new();
        if (mdCtx_ == nullptr || EVP_DigestInit_ex(mdCtx_, md_, nullptr) != 1) {
            EVP_MD_CTX_free(mdCtx_);
            throw std::runtime_error("EVP_DigestInit_ex failed");
        }
    }
}

HashContext::~HashContext() {
    EVP_MD_CTX_free(mdCtx_);
    EVP_MAC_CTX_free(macCtx_);
    EVP_MAC_free(mac_);
}

Result HashContext::SetKey(std::string_view key) {
    if (mac_ == nullptr || hasData_ || state_ == State::kFinished) return Result::kBadState;
    if (key.empty()) return Result::kInvalidLength;
    EVP_MAC_CTX *ctx = EVP_MAC_CTX_new(mac_);
    if (ctx == nullptr) return Result::kInternal;
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char *>(digestName_), 0),
        OSSL_PARAM_construct_end()};
    if (EVP_MAC_init(ctx, reinterpret_cast<const unsigned char *>(key.data()), key.size(),
                     params) != 1) {
        EVP_MAC_CTX_free(ctx);
        return Result::kInternal;
    }
    EVP_MAC_CTX_free(macCtx_);
    macCtx_ = ctx;
    state_ = State::kOpen;
    return Result::kOk;
}

Result HashContext::Update(std::string_view data) {
    if (state_ != State::kOpen) return Result::kBadState;
    const auto *bytes = reinterpret_cast<const unsigned char *>(data.data());
    int ok = macCtx_ ? EVP_MAC_update(macCtx_, bytes, data.size())
                     : EVP_DigestUpdate(mdCtx_, bytes, data.size());
    if (ok != 1) return Result::kInternal;
    hasData_ = true;
    return Result::kOk;
}

Result HashContext::Finish(std::string *digest) {
    if (state_ != State::kOpen) return Result::kBadState;
    digest->assign(size_, '\0');
    auto *out = reinterpret_cast<unsigned char *>(digest->data());
    size_t written = 0;
    unsigned int mdWritten = 0;
    int ok = macCtx_ ? EVP_MAC_final(macCtx_, out, &written, size_)
                     : EVP_DigestFinal_ex(mdCtx_, out, &mdWritten);
    if (ok != 1) return Result::kInternal;
    state_ = State::kFinished;
    return Result::kOk;
}

}  // namespace sim
