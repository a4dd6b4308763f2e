#include "eftd_config_api.h"

#include <cstring>

#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t GetConfig(QSessionHandle handle, void *data, uint32_t length) {
    if (length < sizeof(QEftdConfig)) return Refuse(handle, wire::ERR_BUFFER_TOO_SMALL);
    return Remote<pb::GetEftdConfigReply>(
        handle, pb::GetEftdConfig(), [&](const pb::GetEftdConfigReply &reply) -> uint32_t {
            const pb::EftdConfig &config = reply.config();
            if (config.header_length() > UINT8_MAX || config.pin_length() > UINT8_MAX)
                return wire::ERR_PROTOCOL;
            const QEftdConfig record{static_cast<uint8_t>(config.header_length()),
                                     static_cast<uint8_t>(config.pin_length()),
                                     static_cast<uint8_t>(config.authorized() ? 1 : 0)};
            std::memcpy(data, &record, sizeof record);
            return wire::OK;
        });
}

// The one byte of a length; its range is the HSM's to judge.
template <class Request, class Reply>
[[nodiscard]] uint32_t SetLength(QSessionHandle handle, const void *data, uint32_t length) {
    if (length != 1) return Refuse(handle, wire::ERR_INVALID_LENGTH);
    Request request;
    request.set_length(*static_cast<const uint8_t *>(data));
    return Remote<Reply>(handle, std::move(request));
}

[[nodiscard]] uint32_t SetAuthorized(QSessionHandle handle, bool authorized) {
    pb::SetEftdAuthorized request;
    request.set_authorized(authorized);
    return Remote<pb::SetEftdAuthorizedReply>(handle, std::move(request));
}

}  // namespace

uint32_t EftdAdmOperation(QSessionHandle handle, uint32_t operation, void *data, uint32_t length) {
    switch (operation) {
        case Q_ADM_EFTD_GET_CONFIG:
            return GetConfig(handle, data, length);
        case Q_ADM_EFTD_AUTHORIZE:
            return SetAuthorized(handle, true);
        case Q_ADM_EFTD_DEAUTHORIZE:
            return SetAuthorized(handle, false);
        case Q_ADM_EFTD_SET_HEADER_LEN:
            return SetLength<pb::SetEftdHeaderLength, pb::SetEftdHeaderLengthReply>(handle, data,
                                                                                    length);
        case Q_ADM_EFTD_SET_PIN_LEN:
            return SetLength<pb::SetEftdPinLength, pb::SetEftdPinLengthReply>(handle, data, length);
        default:
            return Remote<pb::ResetEftdConfigReply>(handle, pb::ResetEftdConfig());
    }
}

}  // namespace qelvoarc
