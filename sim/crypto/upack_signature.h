#pragma once
// The signatures of firmware update packages: Ed25519 over the package's signed part, by a
// key the package names through the SHA-256 of its SubjectPublicKeyInfo.

#include <string>
#include <string_view>

#include "core/result.h"
#include "upack.h"

namespace sim {

// A whole package of `version` and `description`, signed with the Ed25519 private key of the
// PEM file `keyPath`. Throws std::runtime_error when the key cannot be read or is not
// Ed25519. REQUIRES: 1 to wire::kUpackMaxDescription bytes of description.
std::string SignUpack(const wire::FirmwareVersion &version, std::string_view description,
                      const std::string &keyPath);

// Checks packages against the one signer the HSM trusts. Thread-safe.
class UpackVerifier {
  public:
    // The signer of the certificate in `certPath` (PEM or DER). Throws std::runtime_error
    // when it cannot be read or its key is not Ed25519.
    explicit UpackVerifier(const std::string &certPath);

    // kOk with *contents filled for a package of the trusted signer whose signature holds;
    // otherwise kUpackMalformed, kUpackUnknownSigner or kUpackBadSignature.
    Result Verify(std::string_view package, wire::UpackContents *contents) const;

  private:
    std::string publicKey_;  // SubjectPublicKeyInfo, DER
    std::string signerId_;
};

}  // namespace sim
