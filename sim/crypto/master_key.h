#pragma once
// The HSM's master key: secrets at rest are sealed under it with AES-256-GCM.

#include <optional>
#include <string>
#include <string_view>

#include "core/secret.h"

namespace sim {

class MasterKey {
  public:
    // Reads the 32-byte key file, or creates it (mode 0600) when it does not exist.
    // Throws std::runtime_error on I/O failure or a file of the wrong size.
    static MasterKey LoadOrCreate(const std::string &path);

    // nonce (12) || ciphertext || tag (16). `associated` is authenticated with the data but
    // not stored: Open needs the same bytes. Thread-safe.
    std::string Seal(std::string_view plain, std::string_view associated = {}) const;
    // nullopt when the data was not sealed under this key with `associated`, or was
    // altered. Thread-safe.
    std::optional<SecretBytes> Open(std::string_view sealed,
                                    std::string_view associated = {}) const;

    // 16 bytes that name this key without revealing it (an HMAC of a fixed text under it), so
    // that a blob can say which HSM's key sealed it. Thread-safe.
    std::string Id() const;
    // A 32-byte key for one purpose (`label`), an HMAC of the label under the master key: the
    // nodes of a replication domain, which share the master key, derive the same. Thread-safe.
    SecretBytes Derive(std::string_view label) const;
    // The key sealed under another 32-byte key (nonce || ciphertext || tag), for a backup.
    std::string WrapUnder(std::string_view keyEncryptionKey, std::string_view associated) const;
    // The 32 key bytes of a WrapUnder result; nullopt when `keyEncryptionKey` or `associated`
    // differ or the bytes were altered.
    static std::optional<SecretBytes> Unwrap(std::string_view keyEncryptionKey,
                                             std::string_view wrapped, std::string_view associated);

  private:
    explicit MasterKey(SecretBytes key) : key_(std::move(key)) {}
    SecretBytes key_;
};

}  // namespace sim
