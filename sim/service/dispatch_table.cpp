#include "service/dispatch_table.h"

#include <stdexcept>
#include <string>

namespace sim {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;

// The one field of the `body` oneof of `envelope` whose message type is `type`.
const FieldDescriptor *BodyField(const Descriptor &envelope, const Descriptor &type) {
    const FieldDescriptor *found = nullptr;
    const google::protobuf::OneofDescriptor *body = envelope.FindOneofByName("body");
    for (int i = 0; body != nullptr && i < body->field_count(); ++i) {
        const FieldDescriptor *field = body->field(i);
        if (field->message_type() != &type) continue;
        if (found != nullptr)
            throw std::logic_error(type.full_name() + " appears twice in " + envelope.full_name());
        found = field;
    }
    if (found == nullptr)
        throw std::logic_error(type.full_name() + " is not a body of " + envelope.full_name());
    return found;
}

}  // namespace

int DispatchTable::BodyNumber(const Descriptor &request, const Descriptor &reply) {
    const FieldDescriptor *asked = BodyField(*pb::Request::descriptor(), request);
    const FieldDescriptor *answered = BodyField(*pb::Response::descriptor(), reply);
    if (asked->number() != answered->number())
        throw std::logic_error(reply.full_name() + " does not answer " + request.full_name());
    return asked->number();
}

void DispatchTable::Add(int bodyNumber, Rule rule, Run run) {
    if (!entries_.try_emplace(bodyNumber, Entry{rule, std::move(run)}).second)
        throw std::logic_error("request " + std::to_string(bodyNumber) + " registered twice");
}

const DispatchTable::Entry *DispatchTable::Find(int bodyNumber) const {
    auto it = entries_.find(bodyNumber);
    return it == entries_.end() ? nullptr : &it->second;
}

}  // namespace sim
