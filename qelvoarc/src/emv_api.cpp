// EMV issuer public key certification requests, built by the HSM.

#include <cstring>
#include <string>
#include <utility>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr size_t kSerialBytes = 3;
constexpr size_t kFieldBytes = 4;
constexpr size_t kHashBufferBytes = 28;

[[nodiscard]] uint32_t GenerateEmvRequest(QSessionHandle handle, uint32_t scheme,
                                          const char *keyName, const uint8_t *serial,
                                          const uint8_t *typeField, const uint8_t *bin,
                                          const char *expiry, QLibBuffer *result, uint8_t *hash) {
    std::string name;
    if (serial == nullptr || typeField == nullptr || bin == nullptr || expiry == nullptr ||
        result == nullptr || hash == nullptr || scheme < Q_EMV_VISA || scheme > Q_EMV_JCB)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (uint32_t status = ObjectName(keyName, &name); status != wire::OK)
        return Refuse(handle, status);
    pb::GenerateEmvRequest request;
    request.set_scheme(static_cast<pb::EmvScheme>(scheme));
    request.set_name(name);
    request.set_serial(serial, kSerialBytes);
    request.set_type_field(typeField, kFieldBytes);
    request.set_bin(bin, kFieldBytes);
    request.set_expiry(expiry);
    return Remote<pb::GenerateEmvRequestReply>(
        handle, std::move(request), [&](const pb::GenerateEmvRequestReply &reply) -> uint32_t {
            if (reply.hash().size() > kHashBufferBytes || reply.request().empty())
                return wire::ERR_PROTOCOL;
            uint8_t *data = nullptr;
            uint32_t length = 0;
            if (uint32_t status = HandOutBytes(reply.request(), &data, &length); status != wire::OK)
                return status;
            std::memset(hash, 0, kHashBufferBytes);
            std::memcpy(hash, reply.hash().data(), reply.hash().size());
            *result = QLibBuffer{data, length};
            return wire::OK;
        });
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QGenerateEMV_CSREx(QSessionHandle session, uint32_t scheme, const char *keyName,
                            const uint8_t *firstField, const uint8_t *typeField, const uint8_t *bin,
                            const char *expiry, QLibBuffer *result, uint8_t *hash, uint32_t) {
    return qelvoarc::Guarded([&] {
        return qelvoarc::GenerateEmvRequest(session, scheme, keyName, firstField, typeField, bin,
                                            expiry, result, hash);
    });
}

}  // extern "C"
