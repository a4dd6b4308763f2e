#include "service/emv_service.h"

#include <string>

#include "crypto/emv_request.h"
#include "service/logged_outcome.h"
#include "service/partition_keys.h"

namespace sim {

namespace {

Result GenerateEmvRequest(Call &call, const pb::GenerateEmvRequest &request,
                          pb::GenerateEmvRequestReply *reply) {
    StoredObject key;
    SecretBytes material;
    if (Result r = OpenKey(call, request.name(), &key, &material); r != Result::kOk) return r;
    if (key.blocked) return Result::kKeyBlocked;
    const EmvRequestFields fields{request.scheme(), request.serial(), request.type_field(),
                                  request.bin(), request.expiry()};
    return BuildEmvRequest(fields, material.view(), reply->mutable_request(),
                           reply->mutable_hash());
}

Result HandleGenerateEmvRequest(Call &call, const pb::GenerateEmvRequest &request,
                                pb::GenerateEmvRequestReply *reply) {
    return Logged(call,
                  "EMV issuer request (" + pb::EmvScheme_Name(request.scheme()) +
                      ") with key: " + request.name(),
                  GenerateEmvRequest(call, request, reply), false);
}

}  // namespace

void RegisterEmvService(DispatchTable &table) {
    table.Add<&pb::Request::generate_emv_request, &pb::Response::mutable_generate_emv_request>(
        HandleGenerateEmvRequest, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
