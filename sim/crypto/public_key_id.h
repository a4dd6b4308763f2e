#pragma once
// CKA_ID of asymmetric keys and certificates as PKCS#11 tools derive it: the SHA-1 of the
// subject public key (the BIT STRING inside SubjectPublicKeyInfo), so a key pair and its
// certificate share one id.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

// The id of the public half of a private key held as PKCS#8 DER; nullopt when it cannot be
// read. The decoded key is released (and wiped by OpenSSL) before returning.
std::optional<std::string> PrivateKeyId(std::string_view pkcs8Der);

// The id of a certificate's public key; nullopt when the DER is not a certificate.
std::optional<std::string> CertificateKeyId(std::string_view certificateDer);

}  // namespace sim
