#pragma once
// Issuing, revoking and listing access tokens, and the HSM-wide token cache.
//
// The HSM keeps only a digest of each token's secret, so a listing shows the owner and the
// first 16 bytes of that digest (the token's key). The owner and key identify a token for
// revocation and look-up as well as the token itself does, yet cannot open a session.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint64_t kNoExpiration = UINT64_MAX;
inline constexpr size_t kAccessTokenKeyBytes = 16;
inline constexpr uint32_t kTokenCacheCount = 0;
inline constexpr uint32_t kTokenCacheCollect = 1;

// REQUIRES (all): conn.session is set.
// A token for the session's user; response->data holds the 32-byte token.
Result HandleAccessTokenIssue(HsmContext &hsm, const ConnectionState &conn,
                              const wire::pb::AccessTokenIssue &request,
                              wire::pb::Response *response);
// Own tokens, or anyone's with the remote-information permission.
Result HandleAccessTokenRevoke(HsmContext &hsm, const ConnectionState &conn,
                               const wire::pb::AccessTokenRevoke &request);
// The caller's tokens; every user's with the remote-information permission.
Result HandleAccessTokenList(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::AccessTokenList &request,
                             wire::pb::Response *response);
// Needs the remote-information permission. response->value: the count, or the number of
// tokens collected.
Result HandleAccessTokenCache(HsmContext &hsm, const ConnectionState &conn,
                              const wire::pb::AccessTokenCache &request,
                              wire::pb::Response *response);

}  // namespace sim
