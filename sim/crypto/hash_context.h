#pragma once
// One running hash or HMAC computation, identified by the protocol's algorithm numbers.
// Not thread-safe: a context belongs to one session.

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"

namespace sim {

class HashContext {
  public:
    // Stores a new context in *out, or returns kBadAlgorithm for an unknown number.
    static Result Create(uint32_t algorithm, std::unique_ptr<HashContext> *out);
    ~HashContext();
    HashContext(const HashContext &) = delete;
    HashContext &operator=(const HashContext &) = delete;

    bool keyed() const { return mac_ != nullptr; }
    // REQUIRES for success: a keyed context that has seen no data yet.
    Result SetKey(std::string_view key);
    // kBadState before the key of a keyed hash or after Finish.
    Result Update(std::string_view data);
    // Writes the digest; the context then accepts nothing more.
    Result Finish(std::string *digest);

  private:
    enum class State { kNeedsKey, kOpen, kFinished };
    HashContext(const EVP_MD *md, EVP_MAC *mac, const char *digestName);

    EVP_MD_CTX *mdCtx_ = nullptr;
    EVP_MAC *mac_ = nullptr;
    EVP_MAC_CTX *macCtx_ = nullptr;
    const EVP_MD *md_ = nullptr;
    const char *digestName_;
    size_t size_ = 0;
    bool hasData_ = false;
    State state_;
};

}  // namespace sim
