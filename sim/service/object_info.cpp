#include "service/object_info.h"

namespace sim {

void FillObjectInfo(const StoredObject &object, wire::pb::ObjectInfo *info) {
    info->set_object_id(static_cast<uint64_t>(object.id));
    info->set_name(object.name);
    info->set_kind(static_cast<uint32_t>(object.kind));
    info->set_algorithm(object.algorithm);
    info->set_attributes(object.attributes);
    info->set_length(object.length);
    info->set_public_exponent(object.publicExponent);
    info->set_created(object.created);
    // Keys are active from the moment they exist: this HSM has no pre-activation state.
    info->set_activated(object.created);
    info->set_label(object.label);
    info->set_target(object.target);
    info->set_second(object.second);
    info->set_p11_label(object.p11Label);
}

std::string SealingContext(std::string_view owner, std::string_view name) {
    std::string context(owner);
    context.push_back('\0');
    context.append(name);
    return context;
}

Result CheckObjectName(std::string_view name) {
    if (name.empty() || name.size() > kMaxObjectNameLength ||
        name.find('\0') != std::string_view::npos)
        return Result::kInvalidParameter;
    return Result::kOk;
}

}  // namespace sim
