#include "crypto/master_key.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace sim {

namespace {

constexpr size_t kKeyBytes = 32;
constexpr size_t kNonceBytes = 12;
constexpr size_t kTagBytes = 16;
constexpr size_t kIdBytes = 16;

using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherCtx NewCtx() {
    CipherCtx ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    if (!ctx) throw std::runtime_error("EVP_CIPHER_CTX_new failed");
    return ctx;
}

const unsigned char *Bytes(std::string_view s) {
    return reinterpret_cast<const unsigned char *>(s.data());
}

SecretBytes ReadKeyFile(int fd) {
    SecretBytes key(std::string(kKeyBytes + 1, '\0'));
    ssize_t got = ::read(fd, key.mutable_bytes().data(), kKeyBytes + 1);
    if (got != static_cast<ssize_t>(kKeyBytes)) throw std::runtime_error("bad master key file");
    key.mutable_bytes().resize(kKeyBytes);
    return key;
}

}  // namespace

MasterKey MasterKey::LoadOrCreate(const std::string &path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        try {
            SecretBytes key = ReadKeyFile(fd);
            ::close(fd);
            return MasterKey(std::move(key));
        } catch (...) {
            ::close(fd);
            throw;
        }
    }
    SecretBytes key(std::string(kKeyBytes, '\0'));
    if (RAND_bytes(reinterpret_cast<unsigned char *>(key.mutable_bytes().data()), kKeyBytes) != 1)
        throw std::runtime_error("RAND_bytes failed");
    // Written to a private temporary name and renamed so no reader sees a partial key.
    std::string temporary = path + ".tmp";
    fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) throw std::runtime_error("cannot create " + temporary);
    bool ok = ::write(fd, key.view().data(), kKeyBytes) == static_cast<ssize_t>(kKeyBytes) &&
              ::fsync(fd) == 0;
    ::close(fd);
    if (!ok || ::link(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        if (ok) return LoadOrCreate(path);  // another process created it first
        throw std::runtime_error("cannot write " + path);
    }
    ::unlink(temporary.c_str());
    return MasterKey(std::move(key));
}

std::string MasterKey::Seal(std::string_view plain, std::string_view associated) const {
    std::string out(kNonceBytes + plain.size() + kTagBytes, '\0');
    auto *nonce = reinterpret_cast<unsigned char *>(out.data());
    if (RAND_bytes(nonce, kNonceBytes) != 1) throw std::runtime_error("RAND_bytes failed");
    CipherCtx ctx = NewCtx();
    int length = 0;
    if (EVP_EncryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, Bytes(key_.view()), nonce) != 1 ||
        (!associated.empty() && EVP_EncryptUpdate(ctx.get(), nullptr, &length, Bytes(associated),
                                                  static_cast<int>(associated.size())) != 1) ||
        EVP_EncryptUpdate(ctx.get(), nonce + kNonceBytes, &length, Bytes(plain),
                          static_cast<int>(plain.size())) != 1 ||
        EVP_EncryptFinal_ex(ctx.get(), nonce + kNonceBytes + length, &length) != 1 ||
        EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, kTagBytes,
                            nonce + kNonceBytes + plain.size()) != 1)
        throw std::runtime_error("AES-GCM seal failed");
    return out;
}

std::optional<SecretBytes> MasterKey::Open(std::string_view sealed,
                                           std::string_view associated) const {
    if (sealed.size() < kNonceBytes + kTagBytes) return std::nullopt;
    size_t bodyBytes = sealed.size() - kNonceBytes - kTagBytes;
    SecretBytes plain(std::string(bodyBytes, '\0'));
    auto *out = reinterpret_cast<unsigned char *>(plain.mutable_bytes().data());
    std::string tag(sealed.substr(kNonceBytes + bodyBytes));
    CipherCtx ctx = NewCtx();
    int length = 0;
    if (EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, Bytes(key_.view()),
                           Bytes(sealed)) != 1 ||
        (!associated.empty() && EVP_DecryptUpdate(ctx.get(), nullptr, &length, Bytes(associated),
                                                  static_cast<int>(associated.size())) != 1) ||
        EVP_DecryptUpdate(ctx.get(), out, &length, Bytes(sealed) + kNonceBytes,
                          static_cast<int>(bodyBytes)) != 1 ||
        EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, kTagBytes, tag.data()) != 1 ||
        EVP_DecryptFinal_ex(ctx.get(), out + length, &length) != 1)
        return std::nullopt;
    return plain;
}

std::string MasterKey::Id() const {
    static constexpr std::string_view kLabel = "orvena master key id";
    unsigned char mac[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, Bytes(key_.view()), kKeyBytes,
                  Bytes(kLabel), kLabel.size(), mac, sizeof mac, &length) == nullptr)
        throw std::runtime_error("HMAC failed");
    return std::string(reinterpret_cast<const char *>(mac), kIdBytes);
}

}  // namespace sim
