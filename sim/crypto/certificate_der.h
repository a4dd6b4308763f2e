#pragma once
// X.509 certificates as the HSM keeps them: DER.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

// The DER form of one certificate given in PEM or DER; nullopt unless it parses whole (no
// bytes after a DER certificate) and its public key can be read.
std::optional<std::string> CertificateToDer(std::string_view pemOrDer);

}  // namespace sim
