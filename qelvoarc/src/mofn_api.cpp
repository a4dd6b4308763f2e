// Server master key sets, the M of N state of the session's partition, and secrets split M of
// N. Shadows and shares are opaque here: the HSM made them and only the HSM checks them.

#include <openssl/crypto.h>

#include <cstring>
#include <string>

#include "abi_guard.h"
#include "card_serials.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr uint32_t kMaxSecretBytes = 256;

bool ValidQuorum(uint32_t m, uint32_t n) {
    return m >= 2 && m <= n && n <= Q_SVMK_MAX_SHADOWS;
}

// Puts the shadows into the request, each with the serial of the card it came from.
template <class Request>
void AddShadows(const QSmartCardShadow *shadows, uint32_t count, Request *request) {
    for (uint32_t i = 0; i < count; ++i) {
        request->add_shadows(reinterpret_cast<const char *>(&shadows[i]), sizeof shadows[i]);
        request->add_card_serials(CardSerialOf(shadows[i]));
    }
}

[[nodiscard]] uint32_t GenerateSvmk(QSessionHandle handle, uint32_t version, const uint8_t *svmk,
                                    uint8_t m, uint8_t n, QSmartCardShadow *shadows) {
    if (shadows == nullptr || (version != 1 && version != 2) || !ValidQuorum(m, n))
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::GenerateSvmk request;
    request.set_version(version);
    if (svmk != nullptr) request.set_svmk_blob(svmk, Q_SVMK_SIZE);
    request.set_m(m);
    request.set_n(n);
    return Remote<pb::GenerateSvmkReply>(
        handle, std::move(request), [&](const pb::GenerateSvmkReply &reply) -> uint32_t {
            if (reply.shadows_size() != n) return wire::ERR_PROTOCOL;
            for (const std::string &shadow : reply.shadows())
                if (shadow.size() != Q_SVMK_SHADOW_SIZE) return wire::ERR_PROTOCOL;
            for (int i = 0; i < n; ++i)
                std::memcpy(&shadows[i], reply.shadows(i).data(), Q_SVMK_SHADOW_SIZE);
            return wire::OK;
        });
}

[[nodiscard]] uint32_t RecoverSvmk(QSessionHandle handle, const QSmartCardShadow *shadows,
                                   uint8_t count, uint8_t *svmk) {
    if (shadows == nullptr || svmk == nullptr || count == 0 || count > Q_SVMK_MAX_SHADOWS)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::RecoverSvmk request;
    AddShadows(shadows, count, &request);
    return Remote<pb::RecoverSvmkReply>(
        handle, std::move(request), [&](const pb::RecoverSvmkReply &reply) -> uint32_t {
            if (reply.svmk_blob().size() != Q_SVMK_SIZE) return wire::ERR_PROTOCOL;
            std::memcpy(svmk, reply.svmk_blob().data(), Q_SVMK_SIZE);
            return wire::OK;
        });
}

[[nodiscard]] uint32_t SetMofNState(QSessionHandle handle, uint32_t permissionMask,
                                    uint32_t operation, const QSmartCardShadow *shadows,
                                    uint32_t count) {
    if (shadows == nullptr || count == 0 || count > Q_SVMK_MAX_SHADOWS ||
        !pb::MofNOperation_IsValid(static_cast<int>(operation)))
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::SetMofNState request;
    request.set_permission_mask(permissionMask);
    request.set_operation(static_cast<pb::MofNOperation>(operation));
    AddShadows(shadows, count, &request);
    return Remote<pb::SetMofNStateReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t SplitSecret(QSessionHandle handle, const uint8_t *secret,
                                   uint32_t secretLength, uint8_t m, uint8_t n, uint8_t **shares,
                                   uint32_t *shareLength) {
    if (secret == nullptr || secretLength == 0 || secretLength > kMaxSecretBytes ||
        shares == nullptr || shareLength == nullptr || !ValidQuorum(m, n))
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::MofNSplit request;
    request.set_data(secret, secretLength);
    request.set_m(m);
    request.set_n(n);
    return Remote<pb::MofNSplitReply>(
        handle, std::move(request), [&](const pb::MofNSplitReply &reply) -> uint32_t {
            if (reply.shares_size() != n) return wire::ERR_PROTOCOL;
            std::string all;
            for (const std::string &share : reply.shares()) {
                if (share.size() != reply.shares(0).size()) return wire::ERR_PROTOCOL;
                all += share;
            }
            uint32_t total = 0;
            const uint32_t status = HandOutBytes(all, shares, &total);
            OPENSSL_cleanse(all.data(), all.size());
            if (status == wire::OK) *shareLength = static_cast<uint32_t>(reply.shares(0).size());
            return status;
        });
}

[[nodiscard]] uint32_t RecoverSecret(QSessionHandle handle, const uint8_t *shares, uint8_t count,
                                     uint32_t shareLength, uint8_t **secret,
                                     uint32_t *secretLength) {
    if (shares == nullptr || count == 0 || shareLength == 0 || secret == nullptr ||
        secretLength == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::MofNRecover request;
    for (uint32_t i = 0; i < count; ++i)
        request.add_shares(reinterpret_cast<const char *>(shares) + size_t{i} * shareLength,
                           shareLength);
    return Remote<pb::MofNRecoverReply>(handle, std::move(request),
                                        [&](const pb::MofNRecoverReply &reply) {
                                            return HandOutBytes(reply.data(), secret, secretLength);
                                        });
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGenerateSVMK(QSessionHandle session, uint32_t version, const uint8_t *svmk, uint8_t m,
                       uint8_t n, QSmartCardShadow *shadows, uint32_t) {
    return Guarded([&] { return qelvoarc::GenerateSvmk(session, version, svmk, m, n, shadows); });
}

uint32_t QRecoverSVMK(QSessionHandle session, const QSmartCardShadow *shadows, uint8_t count,
                      uint8_t *svmk, uint32_t) {
    return Guarded([&] { return qelvoarc::RecoverSvmk(session, shadows, count, svmk); });
}

uint32_t QNSAuthSetState(QSessionHandle session, uint32_t permissionMask, uint32_t operation,
                         const QSmartCardShadow *shadows, uint32_t shadowCount, uint32_t) {
    return Guarded([&] {
        return qelvoarc::SetMofNState(session, permissionMask, operation, shadows, shadowCount);
    });
}

uint32_t QMofNSplit(QSessionHandle session, const uint8_t *secret, uint32_t secretLength, uint8_t m,
                    uint8_t n, uint8_t **shares, uint32_t *shareLength, uint32_t) {
    return Guarded([&] {
        return qelvoarc::SplitSecret(session, secret, secretLength, m, n, shares, shareLength);
    });
}

uint32_t QMofNRecover(QSessionHandle session, const uint8_t *shares, uint8_t count,
                      uint32_t shareLength, uint8_t **secret, uint32_t *secretLength, uint32_t) {
    return Guarded([&] {
        return qelvoarc::RecoverSecret(session, shares, count, shareLength, secret, secretLength);
    });
}

}  // extern "C"
