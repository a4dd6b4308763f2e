// Keys: generation, clear import (certificates too), opening by name, release, parameter
// reads and blocking. A key handle carries the key's attributes, so parameter reads need no
// round trip.

#include <cstring>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_memory.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// Life-cycle usage bits (QKeyLifeCycle.usageMask).
constexpr uint64_t kSign = 0x1, kVerify = 0x2, kEncrypt = 0x4, kDecrypt = 0x8, kWrap = 0x10,
                   kUnwrap = 0x20, kExport = 0x40, kMacGenerate = 0x80, kMacVerify = 0x100,
                   kDerive = 0x200, kKeyAgreement = 0x800;

bool IsRsa(uint32_t algorithm) {
    switch (algorithm) {
        case Q_ALG_RSA_512:
        case Q_ALG_RSA_1024:
        case Q_ALG_RSA_1152:
        case Q_ALG_RSA_1408:
        case Q_ALG_RSA_1536:
        case Q_ALG_RSA_1976:
        case Q_ALG_RSA_1984:
        case Q_ALG_RSA_2048:
        case Q_ALG_RSA_2304:
        case Q_ALG_RSA_2560:
        case Q_ALG_RSA_2816:
        case Q_ALG_RSA_3072:
        case Q_ALG_RSA_4096:
        case Q_ALG_RSA_8192:
            return true;
        default:
            return false;
    }
}

// What a key of this algorithm may be used for.
uint64_t UsageMask(const pb::ObjectInfo &info) {
    if (info.kind() != pb::OBJECT_KEY) return 0;
    uint32_t algorithm = info.algorithm();
    uint64_t mask = 0;
    if (algorithm >= Q_ALG_HMAC_MD5 && algorithm <= Q_ALG_HMAC_SHA3_512)
        mask = kMacGenerate | kMacVerify;
    else if (IsRsa(algorithm))
        mask = kSign | kVerify | kEncrypt | kDecrypt | kWrap | kUnwrap;
    else if (algorithm >= Q_ALG_ECC_FIRST && algorithm <= Q_ALG_ECC_LAST)
        mask = kSign | kVerify | kDerive | kKeyAgreement;
    else if (algorithm == Q_ALG_ED25519 || algorithm == Q_ALG_ED448)
        mask = kSign | kVerify;
    else if (algorithm == Q_ALG_X25519 || algorithm == Q_ALG_X448)
        mask = kDerive | kKeyAgreement;
    else
        mask = kEncrypt | kDecrypt | kWrap | kUnwrap;
    if (info.attributes() & Q_KEY_EXPORTABLE) mask |= kExport;
    return mask;
}

[[nodiscard]] uint32_t Put(const void *value, uint32_t size, void *buffer, uint32_t *length) {
    if (*length < size) {
        *length = size;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, value, size);
    *length = size;
    return wire::OK;
}

[[nodiscard]] uint32_t PutWord(uint32_t value, void *buffer, uint32_t *length) {
    return Put(&value, sizeof value, buffer, length);
}

[[nodiscard]] uint32_t ReadMapSlots(const pb::ObjectInfo &info, void *buffer, uint32_t *length) {
    if (info.kind() != pb::OBJECT_MAP) return wire::ERR_WRONG_OBJECT_TYPE;
    QMapSlots slots{};
    CopyField(slots.slot1Name, info.target());
    slots.slot1Type = info.target_type();
    CopyField(slots.slot2Name, info.second());
    slots.slot2Type = info.second_type();
    return Put(&slots, sizeof slots, buffer, length);
}

[[nodiscard]] uint32_t ReadPkcs11MapName(const pb::ObjectInfo &info, void *buffer,
                                         uint32_t *length) {
    if (info.kind() != pb::OBJECT_KEY && info.kind() != pb::OBJECT_CERTIFICATE)
        return wire::ERR_WRONG_OBJECT_TYPE;
    char name[Q_MAX_OBJ_NAME + 1] = {};
    CopyField(name, info.pkcs11_map());
    return Put(name, sizeof name, buffer, length);
}

[[nodiscard]] uint32_t ReadKeyParam(const KeyObject &key, uint32_t param, void *buffer,
                                    uint32_t *length) {
    const pb::ObjectInfo &info = key.info;
    const bool isKey = info.kind() == pb::OBJECT_KEY;
    switch (param) {
        case Q_KEY_PARAM_ALGORITHM:
            return PutWord(info.algorithm(), buffer, length);
        case Q_KEY_PARAM_EXPORT:
            return PutWord((info.attributes() & Q_KEY_EXPORTABLE) ? 0 : 1, buffer, length);
        case Q_KEY_PARAM_ATTRIBUTE:
            // Key material is always held sealed under the HSM's master key.
            return PutWord(isKey ? 1 : 0, buffer, length);
        case Q_KEY_PARAM_LENGTH:
            return PutWord(info.length(), buffer, length);
        case Q_KEY_PARAM_TEMPORARY:
            return PutWord(1, buffer, length);  // every object is persistent
        case Q_KEY_PARAM_BLOCKED:
            return PutWord(key.blocked ? 1 : 0, buffer, length);
        case Q_KEY_PARAM_RSA_EXPONENT: {
            if (info.public_exponent().empty()) return wire::ERR_WRONG_OBJECT_TYPE;
            if (*length < sizeof(uint8_t *)) {
                *length = sizeof(uint8_t *);
                return wire::ERR_BUFFER_TOO_SMALL;
            }
            const std::string &exponent = info.public_exponent();
            void *copy = CopyToLibraryMemory(exponent.data(), exponent.size());
            if (copy == nullptr) return wire::ERR_NO_MEMORY;
            std::memcpy(buffer, &copy, sizeof copy);
            *length = static_cast<uint32_t>(exponent.size());
            return wire::OK;
        }
        case Q_KEY_PARAM_LIFE_CYCLE: {
            QKeyLifeCycle cycle{};
            auto created = static_cast<uint64_t>(info.created());
            cycle.initialDate = created;
            cycle.activationDate = static_cast<uint64_t>(info.activated());
            cycle.lastChangeDate = created;
            cycle.originalCreationDate = created;
            cycle.usageMask = UsageMask(info);
            cycle.state = Q_KEY_STATE_ACTIVE;
            return Put(&cycle, sizeof cycle, buffer, length);
        }
        case Q_KEY_PARAM_RECORD: {
            QKeyRecord record{};
            record.algorithm = info.algorithm();
            record.attributes = info.attributes();
            record.length = info.length();
            return Put(&record, sizeof record, buffer, length);
        }
        case Q_KEY_PARAM_MAP_SLOTS:
            return ReadMapSlots(info, buffer, length);
        case Q_KEY_PARAM_PKCS11_MAP:
            return ReadPkcs11MapName(info, buffer, length);
        default:
            return wire::ERR_NOT_SUPPORTED;
    }
}

[[nodiscard]] uint32_t GenerateKey(QSessionHandle handle, const char *name, uint32_t algorithm,
                                   uint32_t flags, QKeyHandle *key) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string keyName;
    if (key == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(name, &keyName)) != wire::OK) return status;
    pb::GenerateKey request;
    request.set_name(keyName);
    request.set_algorithm(static_cast<pb::Algorithm>(algorithm));
    request.set_attributes(flags);
    pb::ObjectInfo info;
    status = Remote<pb::GenerateKeyReply>(*session, std::move(request), KeepObject(&info));
    if (status != wire::OK) return status;
    *key = AddKeyHandle(std::move(session), info);
    return wire::OK;
}

[[nodiscard]] uint32_t ImportKey(QSessionHandle handle, const char *name, QKeyHandle kek,
                                 uint32_t blobType, uint32_t algorithm, uint32_t attributes,
                                 const uint8_t *blob, uint32_t blobLength, QKeyHandle *key) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string keyName;
    if (key == nullptr || blob == nullptr || blobLength == 0) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(name, &keyName)) != wire::OK) return status;
    // Only clear blobs are served; wrapped imports need key-encryption keys on the HSM.
    if (kek != 0 || (blobType != Q_BLOB_CLEAR_SYMMETRIC && blobType != Q_BLOB_X509_CERT))
        return wire::ERR_NOT_SUPPORTED;
    pb::ImportKey request;
    request.set_name(keyName);
    request.set_blob_type(static_cast<pb::BlobType>(blobType));
    request.set_algorithm(static_cast<pb::Algorithm>(algorithm));
    request.set_attributes(attributes);
    request.set_material(blob, blobLength);
    pb::ObjectInfo info;
    status = Remote<pb::ImportKeyReply>(*session, std::move(request), KeepObject(&info));
    if (status != wire::OK) return status;
    ForgetListed(session.get(), keyName);
    *key = AddKeyHandle(std::move(session), info);
    return wire::OK;
}

[[nodiscard]] uint32_t GetUserKey(QSessionHandle handle, const char *name, uint32_t options,
                                  QKeyHandle *key) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string keyName;
    if (key == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(name, &keyName)) != wire::OK) return status;
    if (options != Q_KEY_OPEN_DEFAULT && options != Q_KEY_OPEN_MOFN)
        return wire::ERR_INVALID_PARAMETER;
    pb::ObjectInfo info;
    if ((status = OpenObject(*session, keyName, options, &info)) != wire::OK) return status;
    *key = AddKeyHandle(std::move(session), info);
    return wire::OK;
}

[[nodiscard]] uint32_t DestroyKey(QKeyHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    return LibraryState::Get().keys.Remove(handle) ? wire::OK : wire::ERR_INVALID_HANDLE;
}

[[nodiscard]] uint32_t GetKeyParam(QKeyHandle handle, uint32_t param, void *buffer,
                                   uint32_t *length) {
    uint32_t status;
    std::shared_ptr<KeyObject> key = FindKey(handle, &status);
    if (key == nullptr) return status;
    if (length == nullptr || (buffer == nullptr && *length != 0))
        return wire::ERR_INVALID_PARAMETER;
    return ReadKeyParam(*key, param, buffer, length);
}

[[nodiscard]] uint32_t SetKeyParam(QKeyHandle handle, uint32_t param, const void *data,
                                   uint32_t length) {
    uint32_t status;
    std::shared_ptr<KeyObject> key = FindKey(handle, &status);
    if (key == nullptr) return status;
    // The blocked flag is the only parameter with a value format to send.
    if (param != Q_KEY_PARAM_BLOCKED || data == nullptr) return wire::ERR_INVALID_PARAMETER;
    uint32_t value = 0;
    if (length != sizeof value) return wire::ERR_INVALID_LENGTH;
    std::memcpy(&value, data, sizeof value);
    if (value > 1) return wire::ERR_INVALID_PARAMETER;
    pb::SetKeyBlocked request;
    request.set_name(key->info.name());
    request.set_object_id(key->info.object_id());
    request.set_blocked(value == 1);
    pb::ObjectInfo info;
    status = Remote<pb::SetKeyBlockedReply>(*key->session, std::move(request), KeepObject(&info));
    if (status != wire::OK) return status;
    key->blocked = info.blocked();
    ForgetListed(key->session.get(), key->info.name());
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGenerateKey(QSessionHandle session, const char *name, uint32_t algorithm, uint32_t flags,
                      QKeyHandle *key) {
    return Guarded([&] { return qelvoarc::GenerateKey(session, name, algorithm, flags, key); });
}

uint32_t QImportKey(QSessionHandle session, const char *name, QKeyHandle kek, uint32_t blobType,
                    uint32_t algorithm, uint32_t attributes, const uint8_t *blob,
                    uint32_t blobLength, QKeyHandle *key) {
    return Guarded([&] {
        return qelvoarc::ImportKey(session, name, kek, blobType, algorithm, attributes, blob,
                                   blobLength, key);
    });
}

uint32_t QGetUserKey(QSessionHandle session, const char *name, uint32_t options, QKeyHandle *key) {
    return Guarded([&] { return qelvoarc::GetUserKey(session, name, options, key); });
}

uint32_t QDestroyKey(QKeyHandle key, uint32_t) {
    return Guarded([&] { return qelvoarc::DestroyKey(key); });
}

uint32_t QGetKeyParam(QKeyHandle key, uint32_t param, void *buffer, uint32_t *length, uint32_t) {
    return Guarded([&] { return qelvoarc::GetKeyParam(key, param, buffer, length); });
}

uint32_t QSetKeyParam(QKeyHandle key, uint32_t param, const void *data, uint32_t length, uint32_t) {
    return Guarded([&] { return qelvoarc::SetKeyParam(key, param, data, length); });
}

}  // extern "C"
