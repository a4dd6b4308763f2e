#include "service/random_hash_service.h"

#include <openssl/rand.h>

#include "service/object_info.h"

namespace sim {

namespace {

HashContext *FindHash(Call &call, uint64_t id) {
    auto it = call.session().hashes.find(id);
    return it == call.session().hashes.end() ? nullptr : it->second.get();
}

// Keys a new HMAC context with a stored key of the caller's partition; the clear material
// stays in this process and is wiped when it goes.
Result KeyFromStore(Call &call, const pb::CreateHash &request, HashContext *context) {
    StoredObject key;
    if (Result r = FindHandleObject(call.hsm.keys, call.session().user, request.key_name(),
                                    request.key_object_id(), true, &key);
        r != Result::kOk)
        return r;
    if (key.kind != ObjectKind::kKey || key.algorithm != request.algorithm() || !context->keyed())
        return Result::kWrongObjectType;
    if (key.blocked) return Result::kKeyBlocked;
    SecretBytes material;
    if (Result r = UnsealMaterial(call.hsm.masterKey, key, &material); r != Result::kOk) return r;
    return context->SetKey(material.view());
}

Result HandleGetRandom(Call &, const pb::GetRandom &request, pb::GetRandomReply *reply) {
    if (request.length() == 0 || request.length() > kMaxRandomBytes) return Result::kInvalidLength;
    std::string *data = reply->mutable_data();
    data->resize(request.length());
    if (RAND_bytes(reinterpret_cast<unsigned char *>(data->data()),
                   static_cast<int>(request.length())) != 1)
        return Result::kInternal;
    return Result::kOk;
}

Result HandleCreateHash(Call &call, const pb::CreateHash &request, pb::CreateHashReply *reply) {
    if (call.session().hashes.size() >= kMaxHashesPerSession) return Result::kNoMemory;
    std::unique_ptr<HashContext> context;
    if (Result r = HashContext::Create(request.algorithm(), &context); r != Result::kOk) return r;
    if (!request.key_name().empty()) {
        if (Result r = KeyFromStore(call, request, context.get()); r != Result::kOk) return r;
    }
    uint64_t id = call.hsm.sessions.NextHashId();
    call.session().hashes.emplace(id, std::move(context));
    reply->set_hash_id(id);
    return Result::kOk;
}

Result HandleUpdateHash(Call &call, const pb::UpdateHash &request, pb::UpdateHashReply *) {
    HashContext *hash = FindHash(call, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    return hash->Update(request.data());
}

Result HandleSetHashKey(Call &call, const pb::SetHashKey &request, pb::SetHashKeyReply *) {
    HashContext *hash = FindHash(call, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    return hash->SetKey(request.key());
}

Result HandleFinishHash(Call &call, const pb::FinishHash &request, pb::FinishHashReply *reply) {
    HashContext *hash = FindHash(call, request.hash_id());
    if (hash == nullptr) return Result::kInvalidHandle;
    return hash->Finish(reply->mutable_digest());
}

Result HandleDestroyHash(Call &call, const pb::DestroyHash &request, pb::DestroyHashReply *) {
    return call.session().hashes.erase(request.hash_id()) > 0 ? Result::kOk
                                                              : Result::kInvalidHandle;
}

}  // namespace

void RegisterRandomHashService(DispatchTable &table) {
    table.Add<&pb::Request::get_random, &pb::Response::mutable_get_random>(
        HandleGetRandom, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::create_hash, &pb::Response::mutable_create_hash>(
        HandleCreateHash, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::update_hash, &pb::Response::mutable_update_hash>(
        HandleUpdateHash, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::set_hash_key, &pb::Response::mutable_set_hash_key>(
        HandleSetHashKey, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::finish_hash, &pb::Response::mutable_finish_hash>(
        HandleFinishHash, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::destroy_hash, &pb::Response::mutable_destroy_hash>(
        HandleDestroyHash, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
