#pragma once
// Bind keys: what the cloud service hands an HSM so that it binds to an account. A bind key is
// one line of text, "<payload>.<signature>", both standard base64 (no line breaks). The
// payload is "orvena-bind-1\n<account>\n<hsm id>\n<telemetry url>"; the signature is the
// cloud's over the payload bytes: Ed25519, or ECDSA/RSA (PKCS#1 v1.5) with SHA-256. The HSM
// trusts the certificate cloud.crt of its data directory.

#include <string>
#include <string_view>

#include "core/result.h"
#include "store/cloud_store.h"

namespace sim {

// The longest bind key the console's prompt takes, terminator excluded.
inline constexpr size_t kMaxBindKeyBytes = 1023;

// A bind key for `binding`, signed with the private key of the PEM file `keyPath`. Throws
// std::runtime_error when the key cannot be read or signs nothing, when a field is empty or
// holds a line break, when the URL is not https, or when the key would exceed
// kMaxBindKeyBytes.
std::string MakeBindKey(const CloudBinding &binding, const std::string &keyPath);

// The binding `text` carries when its signature holds under the certificate in `certPath`
// (PEM): kNoCloudCert when that file is missing or unreadable, kBindKeyInvalid when the text
// is not a bind key or the signature fails.
Result ReadBindKey(std::string_view text, const std::string &certPath, CloudBinding *binding);

}  // namespace sim
