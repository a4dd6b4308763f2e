#include "service/access_token_service.h"

#include "core/secret.h"
#include "core/user_rights.h"
#include "service/access_token.h"

namespace sim {

namespace {

bool SeesEveryToken(const UserRecord &caller) {
    return rights::Holds(caller.acl, pb::ACL_REMOTE_INFO);
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

void AddInfo(const AccessTokenListing &token, pb::ListAccessTokensReply *reply) {
    pb::AccessTokenInfo *info = reply->add_tokens();
    info->set_expiration(token.expires == 0 ? kNoExpiration : static_cast<uint64_t>(token.expires));
    info->set_owner(token.userId);
    info->set_key(token.secretHash.substr(0, kAccessTokenKeyBytes));
}

// A token for the session's user.
Result HandleIssueAccessToken(Call &call, const pb::IssueAccessToken &request,
                              pb::IssueAccessTokenReply *reply) {
    const UserRecord &caller = *call.caller;
    int64_t expires = 0;
    if (request.expiration() != kNoExpiration) {
        if (request.expiration() > static_cast<uint64_t>(INT64_MAX) ||
            static_cast<int64_t>(request.expiration()) <= call.hsm.clock.Now())
            return Result::kInvalidParameter;
        expires = static_cast<int64_t>(request.expiration());
    }
    std::string secretHash;
    SecretBytes token(NewAccessToken(caller.id, &secretHash));
    if (Result r = call.hsm.tokens.Add(call.actor(), secretHash, caller.id, expires);
        r != Result::kOk)
        return r;
    reply->set_token(token.view());
    return Result::kOk;
}

Result HandleRevokeAccessToken(Call &call, const pb::RevokeAccessToken &request,
                               pb::RevokeAccessTokenReply *) {
    const UserRecord &caller = *call.caller;
    std::optional<AccessTokenListing> token = Resolve(call.hsm, request.token());
    // Another user's token is answered as absent, so its existence is not disclosed.
    if (!token || (token->userId != caller.id && !SeesEveryToken(caller))) return Result::kNotFound;
    return call.hsm.tokens.Revoke(call.actor(), token->secretHash);
}

Result HandleListAccessTokens(Call &call, const pb::ListAccessTokens &request,
                              pb::ListAccessTokensReply *reply) {
    const UserRecord &caller = *call.caller;
    bool everyone = SeesEveryToken(caller);
    if (!request.token().empty()) {
        std::optional<AccessTokenListing> token = Resolve(call.hsm, request.token());
        if (token && (everyone || token->userId == caller.id)) AddInfo(*token, reply);
        return Result::kOk;
    }
    for (const AccessTokenListing &token : call.hsm.tokens.List(everyone ? "" : caller.id))
        AddInfo(token, reply);
    return Result::kOk;
}

Result HandleCountAccessTokens(Call &call, const pb::CountAccessTokens &,
                               pb::CountAccessTokensReply *reply) {
    reply->set_count(call.hsm.tokens.Count());
    return Result::kOk;
}

Result HandleCollectAccessTokens(Call &call, const pb::CollectAccessTokens &,
                                 pb::CollectAccessTokensReply *reply) {
    reply->set_collected(call.hsm.tokens.Collect(call.actor(), call.hsm.clock.Now()));
    return Result::kOk;
}

}  // namespace

void RegisterAccessTokenService(DispatchTable &table) {
    table.Add<&pb::Request::issue_access_token, &pb::Response::mutable_issue_access_token>(
        HandleIssueAccessToken, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::revoke_access_token, &pb::Response::mutable_revoke_access_token>(
        HandleRevokeAccessToken, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::list_access_tokens, &pb::Response::mutable_list_access_tokens>(
        HandleListAccessTokens, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::count_access_tokens, &pb::Response::mutable_count_access_tokens>(
        HandleCountAccessTokens, Needs::Acl(pb::ACL_REMOTE_INFO), kNormalSessions);
    table.Add<&pb::Request::collect_access_tokens, &pb::Response::mutable_collect_access_tokens>(
        HandleCollectAccessTokens, Needs::Acl(pb::ACL_REMOTE_INFO), kNormalSessions);
}

}  // namespace sim
