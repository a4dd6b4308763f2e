#pragma once
// Byte strings that hold secrets: wiped with OPENSSL_cleanse when they go away.

#include <openssl/crypto.h>

#include <string>

namespace sim {

class SecretBytes {
  public:
    SecretBytes() = default;
    explicit SecretBytes(std::string bytes) : bytes_(std::move(bytes)) {}
    SecretBytes(const SecretBytes &) = delete;
    SecretBytes &operator=(const SecretBytes &) = delete;
    SecretBytes(SecretBytes &&other) noexcept : bytes_(std::move(other.bytes_)) { other.Wipe(); }
    SecretBytes &operator=(SecretBytes &&other) noexcept {
        if (this != &other) {
            Wipe();
            bytes_ = std::move(other.bytes_);
            other.Wipe();
        }
        return *this;
    }
    ~SecretBytes() { Wipe(); }

    const std::string &view() const { return bytes_; }
    std::string &mutable_bytes() { return bytes_; }
    size_t size() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }

  private:
    void Wipe() {
        if (!bytes_.empty()) OPENSSL_cleanse(bytes_.data(), bytes_.size());
        bytes_.clear();
    }
    std::string bytes_;
};

}  // namespace sim
