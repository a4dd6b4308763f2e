// Safe keeping: secrets made and kept by the HSM, handed out as base62 shares, and the
// custodians' checksum of a share, computed here without the HSM.

#include <openssl/crypto.h>
#include <openssl/sha.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "abi_guard.h"
#include "base62.h"
#include "key_objects.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr size_t kMaxShareChars = Q_SKEEP_SHARE_SIZE - 1;

// The text of a share slot: ERR_INVALID_PARAMETER when it fills the slot unterminated.
[[nodiscard]] uint32_t ShareText(const QSKeepShare &share, std::string *text) {
    const size_t length = strnlen(share.text, sizeof share.text);
    if (length > kMaxShareChars) return wire::ERR_INVALID_PARAMETER;
    text->assign(share.text, length);
    return wire::OK;
}

// A creation or a removal: the secret's name with its level and type. Either way the name
// leaves the listing being delivered.
template <class Reply, class Request>
[[nodiscard]] uint32_t SendWithAttributes(QSessionHandle handle, const char *secretName,
                                          uint8_t level, uint16_t authType) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if ((status = ObjectName(secretName, &name)) != wire::OK) return status;
    Request request;
    request.set_name(name);
    request.set_level(level);
    request.set_auth_type(authType);
    status = Remote<Reply>(*session, std::move(request));
    if (status == wire::OK) ForgetListed(session.get(), name);
    return status;
}

[[nodiscard]] uint32_t NewSecret(QSessionHandle handle, const char *secretName, uint8_t level,
                                 uint16_t authType) {
    return SendWithAttributes<pb::NewSecretReply, pb::NewSecret>(handle, secretName, level,
                                                                 authType);
}

[[nodiscard]] uint32_t RemoveSecret(QSessionHandle handle, const char *secretName, uint8_t level,
                                    uint16_t authType) {
    return SendWithAttributes<pb::RemoveSecretReply, pb::RemoveSecret>(handle, secretName, level,
                                                                       authType);
}

[[nodiscard]] uint32_t ProbeSecret(QSessionHandle handle, const char *secretName, uint32_t *info) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (info == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(secretName, &name)) != wire::OK) return status;
    pb::ProbeSecret request;
    request.set_name(name);
    return Remote<pb::ProbeSecretReply>(
        *session, std::move(request), [&](const pb::ProbeSecretReply &reply) {
            *info = (reply.level() & 0xFFFFu) << 16 | (reply.auth_type() & 0xFFFFu);
        });
}

[[nodiscard]] uint32_t SplitSecret(QSessionHandle handle, const char *secretName, uint8_t level,
                                   uint16_t authType, uint8_t m, uint8_t n, QSKeepShare *shares) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (shares == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(secretName, &name)) != wire::OK) return status;
    pb::SplitSecret request;
    request.set_name(name);
    request.set_level(level);
    request.set_auth_type(authType);
    request.set_m(m);
    request.set_n(n);
    return Remote<pb::SplitSecretReply>(*session, std::move(request),
                                        [&](const pb::SplitSecretReply &reply) -> uint32_t {
                                            if (reply.shares_size() != n) return wire::ERR_PROTOCOL;
                                            for (const std::string &share : reply.shares())
                                                if (share.size() > kMaxShareChars)
                                                    return wire::ERR_PROTOCOL;
                                            for (int i = 0; i < n; ++i)
                                                CopyField(shares[i].text, reply.shares(i));
                                            return wire::OK;
                                        });
}

// The custodian's checksum: the first four bytes of the SHA-256 of the share's text, read
// big-endian, modulo 10000, in four digits.
[[nodiscard]] uint32_t CalcShareChecksum(uint32_t mode, const QSKeepShare *share, char *checksum) {
    if (share == nullptr || checksum == nullptr || mode != Q_SKEEP_CKS_MODE_DIGITS)
        return wire::ERR_INVALID_PARAMETER;
    std::string text;
    if (uint32_t status = ShareText(*share, &text); status != wire::OK) return status;
    const bool valid = wire::IsBase62(text);
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char *>(text.data()), text.size(), digest);
    OPENSSL_cleanse(text.data(), text.size());
    if (!valid) return wire::ERR_INVALID_PARAMETER;
    const uint32_t value = (uint32_t{digest[0]} << 24 | uint32_t{digest[1]} << 16 |
                            uint32_t{digest[2]} << 8 | digest[3]) %
                           10000;
    std::snprintf(checksum, Q_SKEEP_CKS_SIZE, "%04u", value);
    return wire::OK;
}

// The session and the request of a recovery or a match; on a refusal nothing is left of the
// shares in the request.
template <class Request>
[[nodiscard]] uint32_t PrepareShares(QSessionHandle handle, const char *secretName,
                                     const QSKeepShare *shares, uint32_t count,
                                     std::shared_ptr<Session> *session, Request *request) {
    uint32_t status;
    *session = FindSession(handle, &status);
    if (*session == nullptr) return status;
    std::string name;
    if ((status = ObjectName(secretName, &name)) != wire::OK) return status;
    request->set_name(name);
    if (count != 0 && shares == nullptr) return wire::ERR_INVALID_PARAMETER;
    for (uint32_t i = 0; i < count; ++i) {
        if ((status = ShareText(shares[i], request->add_shares())) != wire::OK) {
            (void)wire::WipeSecretFields(*request);
            return status;
        }
    }
    return wire::OK;
}

[[nodiscard]] uint32_t RecoverSecret(QSessionHandle handle, const char *secretName,
                                     const QSKeepShare *shares, uint32_t count, uint8_t *secret) {
    std::shared_ptr<Session> session;
    pb::RecoverSecret request;
    if (secret == nullptr) return wire::ERR_INVALID_PARAMETER;
    if (uint32_t status = PrepareShares(handle, secretName, shares, count, &session, &request);
        status != wire::OK)
        return status;
    return Remote<pb::RecoverSecretReply>(
        *session, std::move(request), [&](const pb::RecoverSecretReply &reply) -> uint32_t {
            const std::string &bytes = reply.bytes();
            if (bytes.size() * 2 >= Q_SKEEP_SECRET_SIZE) return wire::ERR_PROTOCOL;
            std::memset(secret, 0, Q_SKEEP_SECRET_SIZE);
            static constexpr char kHex[] = "0123456789ABCDEF";
            for (size_t i = 0; i < bytes.size(); ++i) {
                const auto byte = static_cast<uint8_t>(bytes[i]);
                secret[2 * i] = static_cast<uint8_t>(kHex[byte >> 4]);
                secret[2 * i + 1] = static_cast<uint8_t>(kHex[byte & 0xF]);
            }
            return wire::OK;
        });
}

[[nodiscard]] uint32_t MatchSecret(QSessionHandle handle, const char *secretName,
                                   const QSKeepShare *shares, uint32_t count) {
    std::shared_ptr<Session> session;
    pb::MatchSecret request;
    if (uint32_t status = PrepareShares(handle, secretName, shares, count, &session, &request);
        status != wire::OK)
        return status;
    return Remote<pb::MatchSecretReply>(*session, std::move(request));
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QSKeepNewSecret(QSessionHandle session, const char *name, uint8_t level, uint16_t authType,
                         uint32_t) {
    return Guarded([&] { return qelvoarc::NewSecret(session, name, level, authType); });
}

uint32_t QSKeepProbeSecret(QSessionHandle session, const char *name, uint32_t *info) {
    return Guarded([&] { return qelvoarc::ProbeSecret(session, name, info); });
}

uint32_t QSKeepSplitSecret(QSessionHandle session, const char *name, uint8_t level,
                           uint16_t authType, uint8_t m, uint8_t n, QSKeepShare *shares, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::SplitSecret(session, name, level, authType, m, n, shares); });
}

uint32_t QSKeepCalcShareCks(uint32_t mode, const QSKeepShare *share, char *checksum) {
    return Guarded([&] { return qelvoarc::CalcShareChecksum(mode, share, checksum); });
}

uint32_t QSKeepRecoverSecret(QSessionHandle session, const char *name, const QSKeepShare *shares,
                             uint32_t count, uint8_t *secret, uint32_t) {
    return Guarded([&] { return qelvoarc::RecoverSecret(session, name, shares, count, secret); });
}

uint32_t QSKeepMatchSecret(QSessionHandle session, const char *name, const QSKeepShare *shares,
                           uint32_t count, uint32_t) {
    return Guarded([&] { return qelvoarc::MatchSecret(session, name, shares, count); });
}

uint32_t QSKeepRemoveSecret(QSessionHandle session, const char *name, uint8_t level,
                            uint16_t authType, uint32_t) {
    return Guarded([&] { return qelvoarc::RemoveSecret(session, name, level, authType); });
}

}  // extern "C"
