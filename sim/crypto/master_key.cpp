#include "crypto/master_key.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

#include "aes_gcm.h"

namespace sim {

namespace {

constexpr size_t kKeyBytes = 32;
constexpr size_t kIdBytes = 16;

const unsigned char *Bytes(std::string_view s) {
    return reinterpret_cast<const unsigned char *>(s.data());
}

// nonce || ciphertext || tag of `plain` under `key`, with a fresh random nonce.
std::string SealWith(std::string_view key, std::string_view plain, std::string_view associated) {
    std::string out(wire::kGcmNonceBytes + plain.size() + wire::kGcmTagBytes, '\0');
    auto *nonce = reinterpret_cast<unsigned char *>(out.data());
    if (RAND_bytes(nonce, wire::kGcmNonceBytes) != 1) throw std::runtime_error("RAND_bytes failed");
    wire::GcmSeal(key, nonce, plain, associated, nonce + wire::kGcmNonceBytes);
    return out;
}

std::optional<SecretBytes> OpenWith(std::string_view key, std::string_view sealed,
                                    std::string_view associated) {
    if (sealed.size() < wire::kGcmNonceBytes + wire::kGcmTagBytes) return std::nullopt;
    SecretBytes plain(std::string(sealed.size() - wire::kGcmNonceBytes - wire::kGcmTagBytes, '\0'));
    if (!wire::GcmOpen(key, reinterpret_cast<const unsigned char *>(sealed.data()),
                       sealed.substr(wire::kGcmNonceBytes), associated,
                       reinterpret_cast<unsigned char *>(plain.mutable_bytes().data())))
        return std::nullopt;
    return plain;
}

SecretBytes ReadKeyFile(int fd) {
    SecretBytes key(std::string(kKeyBytes + 1, '\0'));
    ssize_t got = ::read(fd, key.mutable_bytes().data(), kKeyBytes + 1);
    if (got != static_cast<ssize_t>(kKeyBytes)) throw std::runtime_error("bad master key file");
    key.mutable_bytes().resize(kKeyBytes);
    return key;
}

// Writes `key` as a key file (mode 0600) and syncs it. Throws std::runtime_error.
void WriteKeyFile(const std::string &path, const SecretBytes &key) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) throw std::runtime_error("cannot create " + path);
    bool ok = ::write(fd, key.view().data(), key.size()) == static_cast<ssize_t>(key.size()) &&
              ::fsync(fd) == 0;
    ::close(fd);
    if (!ok) throw std::runtime_error("cannot write " + path);
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
    // Written to a private temporary name and linked so no reader sees a partial key.
    std::string temporary = path + ".tmp";
    WriteKeyFile(temporary, key);
    if (::link(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return LoadOrCreate(path);  // another process created it first
    }
    ::unlink(temporary.c_str());
    return MasterKey(std::move(key));
}

std::string MasterKey::Seal(std::string_view plain, std::string_view associated) const {
    return SealWith(key_.view(), plain, associated);
}

std::optional<SecretBytes> MasterKey::Open(std::string_view sealed,
                                           std::string_view associated) const {
    return OpenWith(key_.view(), sealed, associated);
}

std::string MasterKey::WrapUnder(std::string_view keyEncryptionKey,
                                 std::string_view associated) const {
    return SealWith(keyEncryptionKey, key_.view(), associated);
}

std::optional<SecretBytes> MasterKey::Unwrap(std::string_view keyEncryptionKey,
                                             std::string_view wrapped,
                                             std::string_view associated) {
    std::optional<SecretBytes> key = OpenWith(keyEncryptionKey, wrapped, associated);
    if (key && key->size() != kKeyBytes) return std::nullopt;
    return key;
}

std::string MasterKey::Mac(std::string_view label) const {
    unsigned char mac[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, Bytes(key_.view()), kKeyBytes,
                  Bytes(label), label.size(), mac, sizeof mac, &length) == nullptr)
        throw std::runtime_error("HMAC failed");
    std::string out(reinterpret_cast<const char *>(mac), length);
    OPENSSL_cleanse(mac, sizeof mac);
    return out;
}

std::string MasterKey::Id() const {
    return Mac("orvena master key id").substr(0, kIdBytes);
}

SecretBytes MasterKey::DeriveKey(std::string_view purpose) const {
    return SecretBytes(Mac("orvena derived key: " + std::string(purpose)));
}

}  // namespace sim
