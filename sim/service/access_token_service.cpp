#include "service/access_token_service.h"

#include "core/secret.h"
#include "core/user_rights.h"
#include "service/access_token.h"
#include "service/caller.h"

namespace sim {

namespace {

bool SeesEveryToken(const UserRecord &caller) {
    return rights::Holds(caller.acl, acl::kRemoteInfo);
}

// The live token that `token` names, by its secret or by its owner and key.
std::optional<AccessTokenListing> Resolve(HsmContext &hsm, const std::string &token) {
    std::optional<ParsedAccessToken> parsed = ParseAccessToken(token);
    if (!parsed) return std::nullopt;
    std::optional<AccessTokenRecord> bySecret = hsm.tokens.Find(parsed->secretHash);
    if (bySecret && !bySecret->revoked && bySecret->userId == parsed->userId)
        return AccessTokenListing{bySecret->userId, bySecret->expires, parsed->secretHash};
    return hsm.tokens.FindByPrefix(
        parsed->userId, std::string_view(token).substr(kAccessTokenBytes - kAccessTokenKeyBytes));
}

void AddInfo(const AccessTokenListing &token, wire::pb::Response *response) {
    wire::pb::AccessTokenInfo *info = response->add_access_tokens();
    info->set_expiration(token.expires == 0 ? kNoExpiration : static_cast<uint64_t>(token.expires));
    info->set_owner(token.userId);
    info->set_key(token.secretHash.substr(0, kAccessTokenKeyBytes));
}

}  // namespace

Result HandleAccessTokenIssue(HsmContext &hsm, const ConnectionState &conn,
                              const wire::pb::AccessTokenIssue &request,
                              wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    int64_t expires = 0;
    if (request.expiration() != kNoExpiration) {
        if (request.expiration() > static_cast<uint64_t>(INT64_MAX) ||
            static_cast<int64_t>(request.expiration()) <= hsm.clock.Now())
            return Result::kInvalidParameter;
        expires = static_cast<int64_t>(request.expiration());
    }
    std::string secretHash;
    SecretBytes token(NewAccessToken(caller->id, &secretHash));
    if (Result r = hsm.tokens.Add(secretHash, caller->id, expires); r != Result::kOk) return r;
    response->set_data(token.view());
    return Result::kOk;
}

Result HandleAccessTokenRevoke(HsmContext &hsm, const ConnectionState &conn,
                               const wire::pb::AccessTokenRevoke &request) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    std::optional<AccessTokenListing> token = Resolve(hsm, request.token());
    // Another user's token is answered as absent, so its existence is not disclosed.
    if (!token || (token->userId != caller->id && !SeesEveryToken(*caller)))
        return Result::kNotFound;
    return hsm.tokens.Revoke(token->secretHash);
}

Result HandleAccessTokenList(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::AccessTokenList &request,
                             wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    bool everyone = SeesEveryToken(*caller);
    if (!request.token().empty()) {
        std::optional<AccessTokenListing> token = Resolve(hsm, request.token());
        if (token && (everyone || token->userId == caller->id)) AddInfo(*token, response);
        return Result::kOk;
    }
    for (const AccessTokenListing &token : hsm.tokens.List(everyone ? "" : caller->id))
        AddInfo(token, response);
    return Result::kOk;
}

Result HandleAccessTokenCache(HsmContext &hsm, const ConnectionState &conn,
                              const wire::pb::AccessTokenCache &request,
                              wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller || !SeesEveryToken(*caller)) return Result::kAccessDenied;
    switch (request.operation()) {
        case kTokenCacheCount:
            response->set_value(hsm.tokens.Count());
            return Result::kOk;
        case kTokenCacheCollect:
            response->set_value(hsm.tokens.Collect(hsm.clock.Now()));
            return Result::kOk;
        default:
            return Result::kInvalidParameter;
    }
}

}  // namespace sim
