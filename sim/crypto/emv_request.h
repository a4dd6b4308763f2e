#pragma once
// Issuer public key certification requests of the EMV card schemes, self-signed with the
// issuer's RSA key. The byte layout is the one documented with QGenerateEMV_CSREx.

#include <string>
#include <string_view>

#include "core/result.h"
#include "emv.pb.h"

namespace sim {

struct EmvRequestFields {
    wire::pb::EmvScheme scheme = wire::pb::EMV_SCHEME_NONE;
    std::string_view serial;     // 3 bytes
    std::string_view typeField;  // 4 bytes
    std::string_view bin;        // 4 bytes, BCD padded with F
    std::string_view expiry;     // "MMYY"
};

// Builds the request of `fields` signed by `privateKeyDer` (an RSA key, PKCS#8 DER) into
// *request, and the scheme's hash into *hash (empty for schemes that take none). Refuses
// kInvalidParameter (scheme or field sizes), kEmvBadBin, kEmvBadExpiry, kBadAlgorithm (not
// RSA, or an exponent other than 3 and 65537) and kEmvKeyLength.
Result BuildEmvRequest(const EmvRequestFields &fields, std::string_view privateKeyDer,
                       std::string *request, std::string *hash);

}  // namespace sim
