// Hashes computed on the HSM: the handle names a context that lives in the HSM's session.

#include <openssl/crypto.h>

#include <cstring>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_state.h"
#include "qelvoarc.h"

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

uint32_t CreateHash(QSessionHandle handle, uint32_t algorithm, QKeyHandle key, uint32_t flags,
                    QHashHandle *out) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (out == nullptr) return wire::ERR_INVALID_PARAMETER;
    const uint32_t digestSize = DigestSize(algorithm);
    if (digestSize == 0) return wire::ERR_BAD_ALGORITHM;
    std::shared_ptr<KeyObject> keyObject;
    if (key != 0) {
        keyObject = FindKey(key, &status);
        if (keyObject == nullptr) return status;
        // The HSM keeps the key in the session that opened it.
        if (keyObject->session != session) return wire::ERR_INVALID_HANDLE;
    }
    uint64_t remoteId = 0;
    status = session->Call(
        [&](pb::Request &request) {
            pb::HashCreate *create = request.mutable_hash_create();
            create->set_algorithm(algorithm);
            create->set_flags(flags);
            if (keyObject != nullptr) {
                create->set_key_name(keyObject->info.name());
                create->set_key_object_id(keyObject->info.object_id());
            }
        },
        [&](const pb::Response &response) {
            remoteId = response.value();
            return static_cast<uint32_t>(wire::OK);
        });
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

uint32_t HashData(QHashHandle handle, const uint8_t *data, uint32_t length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (data == nullptr && length != 0) return wire::ERR_INVALID_PARAMETER;
    return hash->session->Call([&](pb::Request &request) {
        pb::HashData *message = request.mutable_hash_data();
        message->set_hash_id(hash->remoteId);
        message->set_data(data, length);
    });
}

uint32_t GetHashParam(QHashHandle handle, uint32_t param, uint8_t *buffer, uint32_t *length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (length == nullptr || (buffer == nullptr && *length != 0))
        return wire::ERR_INVALID_PARAMETER;
    if (param != Q_HASH_PARAM_SIZE && param != Q_HASH_PARAM_VALUE) return wire::ERR_NOT_SUPPORTED;
    if (param == Q_HASH_PARAM_SIZE) {
        if (*length < sizeof(uint32_t)) {
            *length = sizeof(uint32_t);
            return wire::ERR_BUFFER_TOO_SMALL;
        }
        std::memcpy(buffer, &hash->digestSize, sizeof hash->digestSize);
        *length = sizeof hash->digestSize;
        return wire::OK;
    }
    return hash->session->Call(
        [&](pb::Request &request) {
            pb::HashGetParam *message = request.mutable_hash_get_param();
            message->set_hash_id(hash->remoteId);
            message->set_param(param);
        },
        [&](const pb::Response &response) -> uint32_t {
            const std::string &value = response.data();
            if (*length < value.size()) {
                *length = static_cast<uint32_t>(value.size());
                return wire::ERR_BUFFER_TOO_SMALL;
            }
            std::memcpy(buffer, value.data(), value.size());
            *length = static_cast<uint32_t>(value.size());
            return wire::OK;
        });
}

uint32_t SetHashParam(QHashHandle handle, uint32_t param, const uint8_t *value, uint32_t length) {
    uint32_t status;
    std::shared_ptr<HashContext> hash = FindHash(handle, &status);
    if (hash == nullptr) return status;
    if (param != Q_HASH_PARAM_KEY) return wire::ERR_NOT_SUPPORTED;
    if (value == nullptr || length == 0) return wire::ERR_INVALID_PARAMETER;
    return hash->session->CallWithSecret(
        [&](pb::Request &request) {
            pb::HashSetParam *message = request.mutable_hash_set_param();
            message->set_hash_id(hash->remoteId);
            message->set_param(param);
            message->set_value(value, length);
        },
        [](pb::Request &request) {
            std::string *key = request.mutable_hash_set_param()->mutable_value();
            OPENSSL_cleanse(key->data(), key->size());
        });
}

uint32_t DestroyHash(QHashHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    std::shared_ptr<HashContext> hash = LibraryState::Get().hashes.Remove(handle);
    if (hash == nullptr) return wire::ERR_INVALID_HANDLE;
    uint32_t status = hash->session->Call(
        [&](pb::Request &request) { request.mutable_hash_destroy()->set_hash_id(hash->remoteId); });
    // The handle is released either way; a session closed or lost meanwhile took the
    // context on the HSM with it.
    if (status == wire::ERR_INVALID_HANDLE || status == wire::ERR_CONNECTION_LOST) return wire::OK;
    return status;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QCreateHash(QSessionHandle session, uint32_t algorithm, QKeyHandle key, uint32_t flags,
                     QHashHandle *hash) {
    return Guarded([&] { return qelvoarc::CreateHash(session, algorithm, key, flags, hash); });
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
