#pragma once
// X.509 certificates as the user store keeps them: DER.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

// The DER form of one certificate given in PEM or DER; nullopt when it is neither.
std::optional<std::string> CertificateToDer(std::string_view pemOrDer);

}  // namespace sim
