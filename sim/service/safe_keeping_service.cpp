#include "service/safe_keeping_service.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <array>
#include <string>
#include <vector>

#include "crypto/shamir.h"
#include "crypto/share_text.h"
#include "service/logged_outcome.h"
#include "service/mofn_guard.h"
#include "service/object_info.h"

namespace sim {

namespace {

constexpr uint32_t kAuthMofN = 0x1;
constexpr uint32_t kAuthOath = 0x2;
constexpr uint32_t kAuthX509 = 0x4;
constexpr uint32_t kMinShares = 2;
constexpr uint32_t kMaxShares = 16;

// Secret bytes of security levels 1 to 5 (64, 96, 112, 128 and 160 bits).
constexpr std::array<uint32_t, 5> kLevelBytes = {8, 12, 14, 16, 20};

uint32_t LevelOfLength(uint32_t length) {
    for (size_t i = 0; i < kLevelBytes.size(); ++i)
        if (kLevelBytes[i] == length) return static_cast<uint32_t>(i + 1);
    return 0;
}

// A secret asks for one second factor at most: OATH and X.509 exclude each other.
bool ValidAuthType(uint32_t authType) {
    return (authType & ~(kAuthMofN | kAuthOath | kAuthX509)) == 0 &&
           (authType & (kAuthOath | kAuthX509)) != (kAuthOath | kAuthX509);
}

// The secret `name` of the caller's partition, with its sealed bytes when `withSecret`.
Result FindSecret(Call &call, const std::string &name, bool withSecret, StoredObject *secret) {
    if (Result r = CheckObjectName(name); r != Result::kOk) return r;
    std::optional<StoredObject> found = call.hsm.keys.Find(call.session().user, name, withSecret);
    if (!found) return Result::kNotFound;
    if (found->kind != ObjectKind::kSecret) return Result::kWrongObjectType;
    *secret = std::move(*found);
    return Result::kOk;
}

// The operations that name a secret's level and type name the secret's own.
Result CheckAttributes(const StoredObject &secret, uint32_t level, uint32_t authType) {
    return LevelOfLength(secret.length) == level && secret.targetType == authType
               ? Result::kOk
               : Result::kSecretAttributesDiffer;
}

Result NewSecret(Call &call, const pb::NewSecret &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.level() < 1 || request.level() > kLevelBytes.size()) return Result::kSecretBadLevel;
    if (!ValidAuthType(request.auth_type())) return Result::kSecretBadAuthType;
    SecretBytes bytes;
    bytes.mutable_bytes().resize(kLevelBytes[request.level() - 1]);
    if (RAND_priv_bytes(reinterpret_cast<unsigned char *>(bytes.mutable_bytes().data()),
                        static_cast<int>(bytes.size())) != 1)
        return Result::kInternal;
    StoredObject secret;
    secret.owner = call.session().user;
    secret.name = request.name();
    secret.kind = ObjectKind::kSecret;
    secret.algorithm = pb::ALG_OBJ_SECRET;
    secret.targetType = request.auth_type();
    secret.length = static_cast<uint32_t>(bytes.size());
    secret.sealed =
        call.hsm.masterKey.Seal(bytes.view(), SealingContext(secret.owner, secret.name));
    secret.generated = true;
    return call.hsm.keys.Insert(call.actor(), &secret,
                                "Secret created (level " + std::to_string(request.level()) +
                                    ", authentication type " + std::to_string(request.auth_type()) +
                                    "): " + request.name());
}

Result HandleNewSecret(Call &call, const pb::NewSecret &request, pb::NewSecretReply *) {
    return Logged(call, "Secret creation: " + request.name(), NewSecret(call, request), true);
}

Result HandleProbeSecret(Call &call, const pb::ProbeSecret &request, pb::ProbeSecretReply *reply) {
    StoredObject secret;
    if (Result r = FindSecret(call, request.name(), false, &secret); r != Result::kOk) return r;
    reply->set_level(LevelOfLength(secret.length));
    reply->set_auth_type(secret.targetType);
    return Result::kOk;
}

Result SplitSecret(Call &call, const pb::SplitSecret &request, pb::SplitSecretReply *reply) {
    StoredObject secret;
    if (Result r = FindSecret(call, request.name(), true, &secret); r != Result::kOk) return r;
    if (Result r = CheckAttributes(secret, request.level(), request.auth_type()); r != Result::kOk)
        return r;
    if (request.n() < kMinShares || request.n() > kMaxShares || request.m() < kMinShares ||
        request.m() > request.n())
        return Result::kSecretBadCounts;
    SecretBytes bytes;
    if (Result r = UnsealMaterial(call.hsm.masterKey, secret, &bytes); r != Result::kOk) return r;
    std::vector<ShamirShare> shares;
    const auto m = static_cast<uint8_t>(request.m());
    if (Result r = ShamirSplit(bytes.view(), m, static_cast<uint8_t>(request.n()), &shares);
        r != Result::kOk)
        return r;
    for (const ShamirShare &share : shares)
        reply->add_shares(ShareToText(share, m));
    return Result::kOk;
}

Result HandleSplitSecret(Call &call, const pb::SplitSecret &request, pb::SplitSecretReply *reply) {
    return Logged(call,
                  "Secret split into " + std::to_string(request.n()) + " shares, " +
                      std::to_string(request.m()) + " to recover: " + request.name(),
                  SplitSecret(call, request, reply), false);
}

// kOk when the shares give back `bytes`. Every share must be one of a secret of that length,
// each point once, all of one split and at least its threshold of them.
Result CheckShares(const SecretBytes &bytes,
                   const google::protobuf::RepeatedPtrField<std::string> &texts) {
    if (texts.empty()) return Result::kSecretTooFewShares;
    std::vector<ShamirShare> shares;
    uint8_t threshold = 0;
    for (const std::string &text : texts) {
        std::optional<ShareOfText> parsed = ShareFromText(text, bytes.size());
        if (!parsed) return Result::kSecretBadShare;
        for (const ShamirShare &share : shares)
            if (share.x == parsed->share.x) return Result::kSecretBadShare;
        // Shares of two splits never interpolate to the secret.
        if (threshold != 0 && parsed->threshold != threshold) return Result::kSecretSharesMismatch;
        threshold = parsed->threshold;
        shares.push_back(std::move(parsed->share));
    }
    if (shares.size() < threshold) return Result::kSecretTooFewShares;
    SecretBytes combined = ShamirCombine(shares);
    return combined.size() == bytes.size() &&
                   CRYPTO_memcmp(combined.view().data(), bytes.view().data(), bytes.size()) == 0
               ? Result::kOk
               : Result::kSecretSharesMismatch;
}

// The second factors and the M of N partition a secret's type asks of the session.
Result CheckAuthType(const Call &call, uint32_t authType) {
    if ((authType & kAuthMofN) != 0 && !UnderMofN(*call.caller)) return Result::kSecretNeedsMofN;
    if ((authType & kAuthOath) != 0 && call.session().origin.proof != LoginProof::kPasswordAndOtp)
        return Result::kSecretNeedsOath;
    if ((authType & kAuthX509) != 0 && call.session().origin.proof != LoginProof::kMutualTls)
        return Result::kSecretNeedsX509;
    return Result::kOk;
}

Result RecoverSecret(Call &call, const pb::RecoverSecret &request, pb::RecoverSecretReply *reply) {
    StoredObject secret;
    if (Result r = FindSecret(call, request.name(), true, &secret); r != Result::kOk) return r;
    if (Result r = CheckAuthType(call, secret.targetType); r != Result::kOk) return r;
    SecretBytes bytes;
    if (Result r = UnsealMaterial(call.hsm.masterKey, secret, &bytes); r != Result::kOk) return r;
    if (Result r = CheckShares(bytes, request.shares()); r != Result::kOk) return r;
    reply->set_bytes(bytes.view());
    return Result::kOk;
}

Result HandleRecoverSecret(Call &call, const pb::RecoverSecret &request,
                           pb::RecoverSecretReply *reply) {
    return Logged(call,
                  "Secret recovered from " + std::to_string(request.shares_size()) +
                      " shares: " + request.name(),
                  RecoverSecret(call, request, reply), false);
}

Result MatchSecret(Call &call, const pb::MatchSecret &request) {
    StoredObject secret;
    if (Result r = FindSecret(call, request.name(), true, &secret); r != Result::kOk) return r;
    SecretBytes bytes;
    if (Result r = UnsealMaterial(call.hsm.masterKey, secret, &bytes); r != Result::kOk) return r;
    return CheckShares(bytes, request.shares());
}

Result HandleMatchSecret(Call &call, const pb::MatchSecret &request, pb::MatchSecretReply *) {
    return Logged(call,
                  "Secret matched against " + std::to_string(request.shares_size()) +
                      " shares: " + request.name(),
                  MatchSecret(call, request), false);
}

Result RemoveSecret(Call &call, const pb::RemoveSecret &request) {
    StoredObject secret;
    if (Result r = FindSecret(call, request.name(), false, &secret); r != Result::kOk) return r;
    if (Result r = CheckAttributes(secret, request.level(), request.auth_type()); r != Result::kOk)
        return r;
    return call.hsm.keys.Remove(call.actor(), secret.owner, secret.name);
}

Result HandleRemoveSecret(Call &call, const pb::RemoveSecret &request, pb::RemoveSecretReply *) {
    return Logged(call, "Secret removal: " + request.name(), RemoveSecret(call, request), true);
}

}  // namespace

void RegisterSafeKeepingService(DispatchTable &table) {
    table.Add<&pb::Request::new_secret, &pb::Response::mutable_new_secret>(
        HandleNewSecret, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::probe_secret, &pb::Response::mutable_probe_secret>(
        HandleProbeSecret, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::split_secret, &pb::Response::mutable_split_secret>(
        HandleSplitSecret, Needs::Nothing(), kNormalSessions);
    // The account is read fresh: the M of N condition is the partition's state now.
    table.Add<&pb::Request::recover_secret, &pb::Response::mutable_recover_secret>(
        HandleRecoverSecret, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::match_secret, &pb::Response::mutable_match_secret>(
        HandleMatchSecret, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::remove_secret, &pb::Response::mutable_remove_secret>(
        HandleRemoveSecret, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
