// OATH second factors: assigning a user's token, removing it, resynchronising it and
// checking an OTP.

#include <openssl/crypto.h>

#include <string>

#include "abi_guard.h"
#include "callback_delivery.h"
#include "library_state.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

// OTPs are read into 16-character fields.
constexpr size_t kMaxOtp = 16;

void Wipe(std::string *secret) {
    OPENSSL_cleanse(secret->data(), secret->size());
}

void WipeOathSecrets(pb::Request &request) {
    switch (request.body_case()) {
        case pb::Request::kAssignOathToken:
            Wipe(request.mutable_assign_oath_token()->mutable_seed());
            break;
        case pb::Request::kOathResync:
            Wipe(request.mutable_oath_resync()->mutable_first_otp());
            Wipe(request.mutable_oath_resync()->mutable_next_otp());
            break;
        case pb::Request::kOathCheck:
            Wipe(request.mutable_oath_check()->mutable_otp());
            break;
        default:
            break;
    }
}

// The seed length of the record counts hexadecimal characters, two per seed byte.
size_t SeedBytes(const QOathTokenRecord &record) {
    return record.seedLength / 2u;
}

uint32_t AssignToken(QSessionHandle handle, const char *userId, uint32_t tokenType,
                     const QOathTokenRecord *record, uint32_t recordLength) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || record == nullptr) return wire::ERR_INVALID_PARAMETER;
    const uint32_t needed =
        tokenType == Q_TOKEN_OATH_TIME ? Q_OATH_TOTP_RECORD_SIZE : Q_OATH_HOTP_RECORD_SIZE;
    if ((tokenType != Q_TOKEN_OATH_EVENT && tokenType != Q_TOKEN_OATH_TIME) ||
        recordLength < needed || SeedBytes(*record) == 0 ||
        SeedBytes(*record) > sizeof record->seed)
        return wire::ERR_INVALID_PARAMETER;
    return session->CallWithSecret(
        [&](pb::Request &request) {
            pb::AssignOathToken *assign = request.mutable_assign_oath_token();
            assign->set_user(BoundedText(userId, Q_MAX_USER_ID));
            assign->set_token_type(tokenType);
            assign->set_seed(record->seed, SeedBytes(*record));
            if (tokenType == Q_TOKEN_OATH_TIME) {
                assign->set_time_step(record->timeStep);
                assign->set_initial_time(record->initialTime);
            }
        },
        WipeOathSecrets);
}

uint32_t UnassignToken(QSessionHandle handle, uint32_t tokenType, const char *userId) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || (tokenType != Q_TOKEN_OATH_EVENT && tokenType != Q_TOKEN_OATH_TIME))
        return wire::ERR_INVALID_PARAMETER;
    return session->Call([&](pb::Request &request) {
        request.mutable_unassign_oath_token()->set_user(BoundedText(userId, Q_MAX_USER_ID));
    });
}

uint32_t Resync(QSessionHandle handle, const char *userId, const char *firstOtp,
                const char *nextOtp) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || firstOtp == nullptr || nextOtp == nullptr)
        return wire::ERR_INVALID_PARAMETER;
    return session->CallWithSecret(
        [&](pb::Request &request) {
            pb::OathResync *resync = request.mutable_oath_resync();
            resync->set_user(BoundedText(userId, Q_MAX_USER_ID));
            resync->set_first_otp(BoundedText(firstOtp, kMaxOtp));
            resync->set_next_otp(BoundedText(nextOtp, kMaxOtp));
        },
        WipeOathSecrets);
}

uint32_t CheckOtp(QSessionHandle handle, const char *userId, const char *otp) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || otp == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->CallWithSecret(
        [&](pb::Request &request) {
            pb::OathCheck *check = request.mutable_oath_check();
            check->set_user(BoundedText(userId, Q_MAX_USER_ID));
            check->set_otp(BoundedText(otp, kMaxOtp));
        },
        WipeOathSecrets);
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QAssignToken(QSessionHandle session, const char *userId, uint32_t tokenType,
                      const QOathTokenRecord *record, uint32_t recordLength) {
    return Guarded(
        [&] { return qelvoarc::AssignToken(session, userId, tokenType, record, recordLength); });
}

uint32_t QUnassignToken(QSessionHandle session, uint32_t tokenType, const char *userId) {
    return Guarded([&] { return qelvoarc::UnassignToken(session, tokenType, userId); });
}

uint32_t QOATHResync(QSessionHandle session, const char *userId, const char *firstOtp,
                     const char *nextOtp, uint32_t) {
    return Guarded([&] { return qelvoarc::Resync(session, userId, firstOtp, nextOtp); });
}

uint32_t QOATHCheckHOTP(QSessionHandle session, const char *userId, const char *otp, uint32_t) {
    return Guarded([&] { return qelvoarc::CheckOtp(session, userId, otp); });
}

}  // extern "C"
