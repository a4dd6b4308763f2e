#include "crypto/shamir.h"

// The library's header declares C functions without saying so.
extern "C" {
#include <libgfshare.h>
}
#include <openssl/rand.h>

#include <memory>
#include <mutex>

namespace sim {

namespace {

// libgfshare draws its polynomial coefficients through one global hook, which returns no
// status: a failure is kept per thread and read after the split.
thread_local bool randomFailed = false;

void FillFromOpenSsl(unsigned char *buffer, unsigned int length) {
    if (RAND_priv_bytes(buffer, static_cast<int>(length)) != 1) randomFailed = true;
}

void UseOpenSslRandom() {
    static std::once_flag once;
    std::call_once(once, [] { gfshare_fill_rand = FillFromOpenSsl; });
}

struct ContextFree {
    void operator()(gfshare_ctx *context) const { gfshare_ctx_free(context); }
};
using Context = std::unique_ptr<gfshare_ctx, ContextFree>;

unsigned char *Bytes(std::string &text) {
    return reinterpret_cast<unsigned char *>(text.data());
}

}  // namespace

Result ShamirSplit(std::string_view secret, uint8_t threshold, uint8_t count,
                   std::vector<ShamirShare> *shares) {
    UseOpenSslRandom();
    std::vector<unsigned char> points(count);
    for (uint8_t i = 0; i < count; ++i)
        points[i] = static_cast<unsigned char>(i + 1);
    const auto size = static_cast<unsigned int>(secret.size());
    Context context(gfshare_ctx_init_enc(points.data(), count, threshold, size));
    if (!context) return Result::kInternal;
    SecretBytes copy{std::string(secret)};  // libgfshare takes a mutable buffer
    randomFailed = false;
    gfshare_ctx_enc_setsecret(context.get(), Bytes(copy.mutable_bytes()));
    if (randomFailed) return Result::kInternal;
    shares->clear();
    for (uint8_t i = 0; i < count; ++i) {
        ShamirShare share;
        share.x = points[i];
        share.y.mutable_bytes().resize(size);
        gfshare_ctx_enc_getshare(context.get(), i, Bytes(share.y.mutable_bytes()));
        shares->push_back(std::move(share));
    }
    return Result::kOk;
}

SecretBytes ShamirCombine(const std::vector<ShamirShare> &shares) {
    UseOpenSslRandom();  // libgfshare scrubs its buffers with the hook when it frees them
    std::vector<unsigned char> points;
    for (const ShamirShare &share : shares)
        points.push_back(share.x);
    const auto size = static_cast<unsigned int>(shares.front().y.size());
    Context context(
        gfshare_ctx_init_dec(points.data(), static_cast<unsigned int>(points.size()), size));
    SecretBytes secret;
    if (!context) return secret;
    for (size_t i = 0; i < shares.size(); ++i) {
        std::string y = shares[i].y.view();
        gfshare_ctx_dec_giveshare(context.get(), static_cast<unsigned char>(i), Bytes(y));
        OPENSSL_cleanse(y.data(), y.size());
    }
    secret.mutable_bytes().resize(size);
    gfshare_ctx_dec_extract(context.get(), Bytes(secret.mutable_bytes()));
    return secret;
}

}  // namespace sim
