// OATH second factors: assigning a user's token, removing it, resynchronising it and
// checking an OTP.

#include <cstring>
#include <string>

#include "abi_guard.h"
#include "callback_delivery.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// OTPs are read into 16-character fields.
constexpr size_t kMaxOtp = 16;

// The seed length of the record counts hexadecimal characters, two per seed byte.
size_t SeedBytes(const QOathTokenRecord &record) {
    return record.seedLength / 2u;
}

bool IsOathToken(uint32_t tokenType) {
    return tokenType == Q_TOKEN_OATH_EVENT || tokenType == Q_TOKEN_OATH_TIME;
}

// The length of a caller's OTP; it is set from the caller's text so that no temporary copy
// is left unwiped.
size_t OtpLength(const char *otp) {
    return strnlen(otp, kMaxOtp);
}

[[nodiscard]] uint32_t AssignToken(QSessionHandle handle, const char *userId, uint32_t tokenType,
                                   const QOathTokenRecord *record, uint32_t recordLength) {
    if (userId == nullptr || record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    const uint32_t needed =
        tokenType == Q_TOKEN_OATH_TIME ? Q_OATH_TOTP_RECORD_SIZE : Q_OATH_HOTP_RECORD_SIZE;
    if (!IsOathToken(tokenType) || recordLength < needed || SeedBytes(*record) == 0 ||
        SeedBytes(*record) > sizeof record->seed)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::AssignOathToken request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    request.set_token_type(static_cast<pb::OathTokenType>(tokenType));
    request.set_seed(record->seed, SeedBytes(*record));
    if (tokenType == Q_TOKEN_OATH_TIME) {
        request.set_time_step(record->timeStep);
        request.set_initial_time(record->initialTime);
    }
    return Remote<pb::AssignOathTokenReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t UnassignToken(QSessionHandle handle, uint32_t tokenType,
                                     const char *userId) {
    if (userId == nullptr || !IsOathToken(tokenType))
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::UnassignOathToken request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    return Remote<pb::UnassignOathTokenReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t Resync(QSessionHandle handle, const char *userId, const char *firstOtp,
                              const char *nextOtp) {
    if (userId == nullptr || firstOtp == nullptr || nextOtp == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::OathResync request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    request.set_first_otp(firstOtp, OtpLength(firstOtp));
    request.set_next_otp(nextOtp, OtpLength(nextOtp));
    return Remote<pb::OathResyncReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t CheckOtp(QSessionHandle handle, const char *userId, const char *otp) {
    if (userId == nullptr || otp == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::OathCheck request;
    request.set_user(BoundedText(userId, Q_MAX_USER_ID));
    request.set_otp(otp, OtpLength(otp));
    return Remote<pb::OathCheckReply>(handle, std::move(request));
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
