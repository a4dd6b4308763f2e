// Hashes computed on the HSM: the handle names a context that lives in the HSM's session.

#include <cstring>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// The digest size of a hash or HMAC algorithm in bytes, 0 for anything else.
uint32_t DigestSize(uint32_t algorithm) {
    switch (algorithm) {
        case Q_HASH_MD5:
        case Q_ALG_HMAC_MD5:
            return 16;
        case Q_HASH_SHA1:
        case Q_ALG_HMAC_SHA1:
            return 20;
        case Q_HASH_SHA224:
        case Q_HASH_SHA3_224:
        case Q_ALG_HMAC_SHA224:
        case Q_ALG_HMAC_SHA3_224:
            return 28;
        case Q_HASH_SHA256:
        case Q_HASH_SHA3_256:
        case Q_ALG_HMAC_SHA256:
        case Q_ALG_HMAC_SHA3_256:
            return 32;
        case Q_HASH_SHA384:
        case Q_HASH_SHA3_384:
        case Q_ALG_HMAC_SHA384:
        case Q_ALG_HMAC_SHA3_384:
            return 48;
        case Q_HASH_SHA512:
        case Q_HASH_SHA3_512:
        case Q_ALG_HMAC_SHA512:
        case Q_ALG_HMAC_SHA3_512:
            return 64;
        default:
            return 0;
    }
}

[[nodiscard]] uint32_t CreateHash(QSessionHandle handle, uint32_t algorithm, QKeyHandle key,
                                  QHashHandle *out) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (out == nullptr) return wire::ERR_INVALID_PARAMETER;
    const uint32_t digestSize = DigestSize(algorithm);
    if (digestSize == 0) return wire::ERR_BAD_ALGORITHM;
    pb::CreateHash request;
    request.set_algorithm(algorithm);
    if (key != 0) {
        std::shared_ptr<KeyObject> keyObject = FindKey(key, &status);
        if (keyObject == nullptr) return status;
        // The HSM keeps the key in the session that opened it.
        if (keyObject->session != session) return wire::ERR_INVALID_HANDLE;
        request.set_key_name(keyObject->info.name());
        request.set_key_object_id(keyObject->info.object_id());
    }
    uint64_t remoteId = 0;
    status = Remote<pb::CreateHashReply>(
        *session, std::move(request),
        [&](const pb::CreateHashReply &reply) { remoteId = reply.hash_id(); });
    if (status != wire::OK) return status;
    *out = LibraryState::Get().hashes.Add(
        std::make_shared<HashContext>(HashContext{std::move(session), remoteId, digestSize}));
    return wire::OK;
}

// The context of a hash handle, or null with *status set.
std::shared_ptr<HashContext> FindHash(QHashHandle handle, uint32_t *status) {
    if (!LibraryState::Get().initialized()) {
        *status = wire::ERR_NOT_INITIALIZED;
        return nullptr;
    }
    std::shared_ptr<HashContext> hash = LibraryState::Get().hashes.Find(handle);
    *status = hash == nullptr ? wire::ERR_INVALID_HANDLE : wire::OK;
    return hash;
}

[[nodiscard]] uint32_t HashData(QHashHandle handle, const uint8_t *data, uint32_t length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (data == nullptr && length != 0) return wire::ERR_INVALID_PARAMETER;
    pb::UpdateHash request;
    request.set_hash_id(hash->remoteId);
    request.set_data(data, length);
    return Remote<pb::UpdateHashReply>(*hash->session, std::move(request));
}

[[nodiscard]] uint32_t PutBytes(const void *bytes, size_t size, uint8_t *buffer, uint32_t *length) {
    if (*length < size) {
        *length = static_cast<uint32_t>(size);
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, bytes, size);
    *length = static_cast<uint32_t>(size);
    return wire::OK;
}

// The size is fixed by the algorithm and answered here; the value finishes the hash on the
// HSM.
[[nodiscard]] uint32_t GetHashParam(QHashHandle handle, uint32_t param, uint8_t *buffer,
                                    uint32_t *length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (length == nullptr || (buffer == nullptr && *length != 0))
        return wire::ERR_INVALID_PARAMETER;
    if (param == Q_HASH_PARAM_SIZE)
        return PutBytes(&hash->digestSize, sizeof hash->digestSize, buffer, length);
    if (param != Q_HASH_PARAM_VALUE) return wire::ERR_NOT_SUPPORTED;
    pb::FinishHash request;
    request.set_hash_id(hash->remoteId);
    return Remote<pb::FinishHashReply>(
        *hash->session, std::move(request), [&](const pb::FinishHashReply &reply) {
            return PutBytes(reply.digest().data(), reply.digest().size(), buffer, length);
        });
}

[[nodiscard]] uint32_t SetHashParam(QHashHandle handle, uint32_t param, const uint8_t *value,
                                    uint32_t length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (param != Q_HASH_PARAM_KEY) return wire::ERR_NOT_SUPPORTED;
    if (value == nullptr || length == 0) return wire::ERR_INVALID_PARAMETER;
    pb::SetHashKey request;
    request.set_hash_id(hash->remoteId);
    request.set_key(value, length);
    return Remote<pb::SetHashKeyReply>(*hash->session, std::move(request));
}

[[nodiscard]] uint32_t DestroyHash(QHashHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    std::shared_ptr<HashContext> hash = LibraryState::Get().hashes.Remove(handle);
    if (hash == nullptr) return wire::ERR_INVALID_HANDLE;
    pb::DestroyHash request;
    request.set_hash_id(hash->remoteId);
    uint32_t status = Remote<pb::DestroyHashReply>(*hash->session, std::move(request));
    // The handle is released either way; a session closed or lost meanwhile took the
    // context on the HSM with it.
    if (status == wire::ERR_INVALID_HANDLE || status == wire::ERR_CONNECTION_LOST) return wire::OK;
    return status;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QCreateHash(QSessionHandle session, uint32_t algorithm, QKeyHandle key, uint32_t,
                     QHashHandle *hash) {
    return Guarded([&] { return qelvoarc::CreateHash(session, algorithm, key, hash); });
}

uint32_t QHashData(QHashHandle hash, const uint8_t *data, uint32_t length, uint32_t) {
    return Guarded([&] { return qelvoarc::HashData(hash, data, length); });
}

uint32_t QGetHashParam(QHashHandle hash, uint32_t param, uint8_t *buffer, uint32_t *length,
                       uint32_t) {
    return Guarded([&] { return qelvoarc::GetHashParam(hash, param, buffer, length); });
}

uint32_t QSetHashParam(QHashHandle hash, uint32_t param, const uint8_t *value, uint32_t length,
                       uint32_t) {
    return Guarded([&] { return qelvoarc::SetHashParam(hash, param, value, length); });
}

uint32_t QDestroyHash(QHashHandle hash) {
    return Guarded([&] { return qelvoarc::DestroyHash(hash); });
}

}  // extern "C"
