#pragma once
// Issuing, revoking and listing access tokens, and the HSM-wide token cache.
//
// The HSM keeps only a digest of each token's secret, so a listing shows the owner and the
// first 16 bytes of that digest (the token's key). The owner and key identify a token for
// revocation and look-up as well as the token itself does, yet cannot open a session. A user
// sees and revokes its own tokens; with the remote-information permission, everyone's.

#include "service/dispatch_table.h"

namespace sim {

inline constexpr uint64_t kNoExpiration = UINT64_MAX;
inline constexpr size_t kAccessTokenKeyBytes = 16;

void RegisterAccessTokenService(DispatchTable &table);

}  // namespace sim
