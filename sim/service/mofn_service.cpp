#include "service/mofn_service.h"

#include <openssl/rand.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "crypto/custodian_shares.h"
#include "service/mofn_guard.h"
#include "service/security_policy.h"

namespace sim {

namespace {

constexpr uint32_t kMaxSecretBytes = 256;
constexpr uint32_t kGrantable = pb::MOFN_PERMISSION_DESTROY | pb::MOFN_PERMISSION_READ |
                                pb::MOFN_PERMISSION_EXPORT | pb::MOFN_PERMISSION_BLOCK |
                                pb::MOFN_PERMISSION_PARTITION_REMOVE;

bool ValidQuorum(uint32_t m, uint32_t n) {
    return m >= kMinShares && m <= n && n <= kMaxShares;
}

std::vector<std::string_view> Views(const google::protobuf::RepeatedPtrField<std::string> &all) {
    return {all.begin(), all.end()};
}

// A card serial number as the library reads it: 24 hexadecimal digits.
bool IsCardSerial(const std::string &text) {
    return text.size() == 24 &&
           std::all_of(text.begin(), text.end(), [](char c) { return std::isxdigit(c) != 0; });
}

// "cards A, B" for the event log: serial numbers only, never a byte of a shadow. The client
// names them, so anything that is not a serial number is logged as unknown.
std::string CardList(const google::protobuf::RepeatedPtrField<std::string> &serials,
                     int shadowCount) {
    std::string text = "cards ";
    for (int i = 0; i < shadowCount; ++i) {
        if (i > 0) text += ", ";
        text += i < serials.size() && IsCardSerial(serials[i]) ? serials[i] : "unknown";
    }
    return text;
}

std::string Hex(uint32_t value) {
    char text[16];
    snprintf(text, sizeof text, "0x%02X", value);
    return text;
}

// The SVMK of a set of shadows and the set's parameters.
Result JoinShadows(Call &call, const google::protobuf::RepeatedPtrField<std::string> &shadows,
                   SecretBytes *svmk, ShareSet *set) {
    if (Result r = JoinShares(call.hsm.masterKey, SharePurpose::kShadow, Views(shadows), svmk, set);
        r != Result::kOk)
        return r;
    if (svmk->size() != kSvmkBytes || (set->version != 1 && set->version != 2))
        return Result::kShadowTampered;
    return Result::kOk;
}

Result HandleGenerateSvmk(Call &call, const pb::GenerateSvmk &request,
                          pb::GenerateSvmkReply *reply) {
    if ((request.version() != 1 && request.version() != 2) ||
        !ValidQuorum(request.m(), request.n()))
        return Result::kInvalidParameter;
    SecretBytes svmk;
    const bool resplit = !request.svmk_blob().empty();
    if (resplit) {
        std::optional<SecretBytes> opened = OpenSvmk(call.hsm.masterKey, request.svmk_blob());
        if (!opened) return Result::kSvmkBlob;
        svmk = std::move(*opened);
    } else {
        svmk.mutable_bytes().assign(kSvmkBytes, '\0');
        if (RAND_priv_bytes(reinterpret_cast<unsigned char *>(svmk.mutable_bytes().data()),
                            kSvmkBytes) != 1)
            throw std::runtime_error("no random bytes");
    }
    const auto m = static_cast<uint8_t>(request.m());
    const auto n = static_cast<uint8_t>(request.n());
    for (SecretBytes &shadow : SplitShares(call.hsm.masterKey, SharePurpose::kShadow,
                                           request.version(), svmk.view(), m, n))
        reply->add_shadows(shadow.view());
    const std::string fingerprint = SvmkFingerprint(svmk.view());
    call.hsm.mofn.SetCurrentSvmk(call.actor(), fingerprint,
                                 std::string(resplit ? "SVMK re-split" : "SVMK generated") +
                                     ": version " + std::to_string(request.version()) + ", " +
                                     std::to_string(m) + " of " + std::to_string(n) +
                                     ", fingerprint " + fingerprint);
    return Result::kOk;
}

Result HandleRecoverSvmk(Call &call, const pb::RecoverSvmk &request, pb::RecoverSvmkReply *reply) {
    const std::string event =
        "SVMK recovered from " + CardList(request.card_serials(), request.shadows_size());
    SecretBytes svmk;
    ShareSet set;
    if (Result r = JoinShadows(call, request.shadows(), &svmk, &set); r != Result::kOk) {
        call.hsm.events.Record(call.actor(), event, "refused");
        return r;
    }
    reply->set_svmk_blob(SealSvmk(call.hsm.masterKey, svmk.view()));
    call.hsm.events.Record(call.actor(), event + ", fingerprint " + SvmkFingerprint(svmk.view()),
                           kEventOk);
    return Result::kOk;
}

const char *OperationName(pb::MofNOperation operation) {
    switch (operation) {
        case pb::MOFN_ASSOCIATE:
            return "associate";
        case pb::MOFN_RESET:
            return "reset";
        case pb::MOFN_AUTHORIZE:
            return "authorize";
        case pb::MOFN_SESSION_AUTHORIZE:
            return "session authorize";
        case pb::MOFN_CHECK:
            return "check";
        default:
            return nullptr;
    }
}

// Where the HSM's security policy decides whether custodians may authorize a partition over
// the network at all. Every authorization (persistent or for the session) passes here first.
Result AdmitRemoteAuthorization(Call &call) {
    return AuthorizedStateOnline(call.hsm) ? Result::kOk : Result::kAuthorizedStateOffline;
}

std::string NewAssociation() {
    unsigned char bytes[8];
    if (RAND_bytes(bytes, sizeof bytes) != 1) throw std::runtime_error("no random bytes");
    std::string id;
    for (unsigned char byte : bytes)
        id += Hex(byte).substr(2);
    return id;
}

// The partition after `operation` with a set whose SVMK has `fingerprint`.
Result NextState(pb::MofNOperation operation, uint32_t mask, const std::string &fingerprint,
                 MofNPartition *partition) {
    const bool initial = partition->state == MofNState::kInitial;
    const bool associate = operation == pb::MOFN_ASSOCIATE;
    if (initial && (associate || operation == pb::MOFN_CHECK)) {
        if (associate) *partition = {MofNState::kAssociated, mask, fingerprint, NewAssociation()};
        return Result::kOk;
    }
    if (initial) return Result::kMofNState;
    if (fingerprint != partition->setFingerprint) return Result::kMofNWrongSet;
    switch (operation) {
        case pb::MOFN_ASSOCIATE:
            partition->state = MofNState::kAssociated;
            partition->permissions = mask;
            break;
        case pb::MOFN_AUTHORIZE:
            partition->state = MofNState::kAuthorized;
            partition->permissions = mask;
            break;
        case pb::MOFN_RESET:
            *partition = {};
            break;
        default:  // session authorization and check leave the partition as it is
            break;
    }
    return Result::kOk;
}

Result HandleSetMofNState(Call &call, const pb::SetMofNState &request, pb::SetMofNStateReply *) {
    const pb::MofNOperation operation = request.operation();
    const char *name = OperationName(operation);
    const bool setsMask = operation == pb::MOFN_ASSOCIATE || operation == pb::MOFN_AUTHORIZE;
    if (name == nullptr || (request.permission_mask() & ~kGrantable) != 0 ||
        (!setsMask && request.permission_mask() != 0))
        return Result::kInvalidParameter;
    const UserRecord &account = *call.caller;
    if (!UnderMofN(account)) return Result::kMofNNotEnabled;
    if (operation == pb::MOFN_AUTHORIZE || operation == pb::MOFN_SESSION_AUTHORIZE) {
        if (Result r = AdmitRemoteAuthorization(call); r != Result::kOk) return r;
    }
    // Reading is never withheld from the partition's owner, so every grant includes it.
    const uint32_t mask = setsMask ? request.permission_mask() | pb::MOFN_PERMISSION_READ : 0;
    std::string event = "M of N " + std::string(name) + " of partition " + account.id + ": " +
                        CardList(request.card_serials(), request.shadows_size());
    if (setsMask) event += ", permissions " + Hex(mask);

    SecretBytes svmk;
    ShareSet set;
    MofNPartition partition = call.hsm.mofn.Read(account.id);
    Result result = JoinShadows(call, request.shadows(), &svmk, &set);
    if (result == Result::kOk)
        result = NextState(operation, mask, SvmkFingerprint(svmk.view()), &partition);
    if (result != Result::kOk) {
        call.hsm.events.Record(call.actor(), event, "refused");
        return result;
    }
    Session &session = call.session();
    if (operation == pb::MOFN_SESSION_AUTHORIZE) {
        session.mofnSessionGrant = partition.association;
    } else if (operation != pb::MOFN_CHECK) {
        session.mofnSessionGrant.clear();
    }
    if (operation == pb::MOFN_CHECK || operation == pb::MOFN_SESSION_AUTHORIZE) {
        call.hsm.events.Record(call.actor(), event, kEventOk);
        return Result::kOk;
    }
    return call.hsm.mofn.Write(call.actor(), account.id, partition, event);
}

Result HandleMofNSplit(Call &call, const pb::MofNSplit &request, pb::MofNSplitReply *reply) {
    if (request.data().empty() || request.data().size() > kMaxSecretBytes ||
        !ValidQuorum(request.m(), request.n()))
        return Result::kInvalidParameter;
    for (SecretBytes &share :
         SplitShares(call.hsm.masterKey, SharePurpose::kSecret, 0, request.data(),
                     static_cast<uint8_t>(request.m()), static_cast<uint8_t>(request.n())))
        reply->add_shares(share.view());
    call.hsm.events.Record(
        call.actor(),
        "Secret split " + std::to_string(request.m()) + " of " + std::to_string(request.n()),
        kEventOk);
    return Result::kOk;
}

Result HandleMofNRecover(Call &call, const pb::MofNRecover &request, pb::MofNRecoverReply *reply) {
    SecretBytes secret;
    ShareSet set;
    Result r = JoinShares(call.hsm.masterKey, SharePurpose::kSecret, Views(request.shares()),
                          &secret, &set);
    call.hsm.events.Record(
        call.actor(), "Secret recovered from " + std::to_string(request.shares_size()) + " shares",
        r == Result::kOk ? kEventOk : "refused");
    if (r == Result::kOk) reply->set_data(secret.view());
    return r;
}

}  // namespace

void RegisterMofNService(DispatchTable &table) {
    table.Add<&pb::Request::generate_svmk, &pb::Response::mutable_generate_svmk>(
        HandleGenerateSvmk, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::recover_svmk, &pb::Response::mutable_recover_svmk>(
        HandleRecoverSvmk, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_mofn_state, &pb::Response::mutable_set_mofn_state>(
        HandleSetMofNState, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::mofn_split, &pb::Response::mutable_mofn_split>(
        HandleMofNSplit, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::mofn_recover, &pb::Response::mutable_mofn_recover>(
        HandleMofNRecover, Needs::Account(), kNormalSessions);
}

}  // namespace sim
