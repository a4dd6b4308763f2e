#include "remote_call.h"

namespace qelvoarc {

namespace remote {

Body BodyOf(const google::protobuf::Descriptor &request,
            const google::protobuf::Descriptor &reply) {
    const google::protobuf::Descriptor &requests = *pb::Request::descriptor();
    for (int i = 0; i < requests.field_count(); ++i) {
        const google::protobuf::FieldDescriptor *sent = requests.field(i);
        if (sent->message_type() != &request) continue;
        const google::protobuf::FieldDescriptor *answered =
            pb::Response::descriptor()->FindFieldByNumber(sent->number());
        if (answered != nullptr && answered->message_type() == &reply) return {sent, answered};
    }
    return {};
}

}  // namespace remote

uint32_t Refuse(QSessionHandle handle, uint32_t status) {
    uint32_t found;
    return FindSession(handle, &found) == nullptr ? found : status;
}

}  // namespace qelvoarc
