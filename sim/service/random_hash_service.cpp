#include "service/random_hash_service.h"

#include <openssl/rand.h>

#include "service/object_info.h"

namespace sim {

namespace {

constexpr uint32_t kHashParamKey = 1;
constexpr uint32_t kHashParamValue = 2;
constexpr uint32_t kHashParamSize = 4;

HashContext *FindHash(ConnectionState &conn, uint64_t id) {
    auto it = conn.session->hashes.find(id);
    return it == conn.session->hashes.end() ? nullptr : it->second.get();
}

// Keys a new HMAC context with a stored key of the caller's partition; the clear material
// stays in this process and is wiped when it goes.
Result KeyFromStore(HsmContext &hsm, const ConnectionState &conn,
                    const wire::pb::HashCreate &request, HashContext *context) {
    StoredObject key;
    if (Result r = FindHandleObject(hsm.keys, conn.session->user, request.key_name(),
                                    request.key_object_id(), true, &key);
        r != Result::kOk)
        return r;
    if (key.kind != ObjectKind::kKey || key.algorithm != request.algorithm() || !context->keyed())
        return Result::kWrongObjectType;
    if (key.blocked) return Result::kKeyBlocked;
    SecretBytes material;
    if (Result r = UnsealMaterial(hsm.masterKey, key, &material); r != Result::kOk) return r;
    return context->SetKey(material.view());
}

}  // namespace

Result HandleGetRandom(const wire::pb::GetRandom &request, wire::pb::Response *response) {
    if (request.length() == 0 || request.length() > kMaxRandomBytes) return Result::kInvalidLength;
    std::string *data = response->mutable_data();
    data->resize(request.length());
    if (RAND_bytes(reinterpret_cast<unsigned char *>(data->data()),
                   static_cast<int>(request.length())) != 1) {
        data->clear();
        return Result::kInternal;
    }
    return Result::kOk;
}

Result HandleHashCreate(HsmContext &hsm, ConnectionState &conn, const wire::pb::HashCreate &request,
                        wire::pb::Response *response) {
    if (conn.session->hashes.size() >= kMaxHashesPerSession) return Result::kNoMemory;
    std::unique_ptr<HashContext> context;
    if (Result r = HashContext::Create(request.algorithm(), &context); r != Result::kOk) return r;
    if (!request.key_name().empty()) {
        if (Result r = KeyFromStore(hsm, conn, request, context.get()); r != Result::kOk) return r;
    }
    uint64_t id = hsm.sessions.NextHashId();
    conn.session->hashes.emplace(id, std::move(context));
    response->set_value(id);
    return Result::kOk;
}

Result HandleHashData(ConnectionState &conn, const wire::pb::HashData &request) {
    HashContext *hash = FindHash(conn, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    return hash->Update(request.data());
}

Result HandleHashGetParam(ConnectionState &conn, const wire::pb::HashGetParam &request,
                          wire::pb::Response *response) {
    HashContext *hash = FindHash(conn, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    switch (request.param()) {
        case kHashParamSize:
            response->set_value(hash->size());
            return Result::kOk;
        case kHashParamValue:
            return hash->Finish(response->mutable_data());
        default:
            return Result::kInvalidParameter;
    }
}

Result HandleHashSetParam(ConnectionState &conn, const wire::pb::HashSetParam &request) {
    HashContext *hash = FindHash(conn, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    if (request.param() != kHashParamKey) return Result::kNotSupported;
    return hash->SetKey(request.value());
}

Result HandleHashDestroy(ConnectionState &conn, const wire::pb::HashDestroy &request) {
    return conn.session->hashes.erase(request.hash_id()) > 0 ? Result::kOk : Result::kInvalidHandle;
}

}  // namespace sim
