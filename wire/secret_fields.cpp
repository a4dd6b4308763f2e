#include "secret_fields.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "options.pb.h"

namespace wire {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::OneofDescriptor;
using google::protobuf::Reflection;

// Where the secrets of one message type are: its own marked fields, and the fields whose
// message type holds some. Worked out once per type from the schema, so a wipe visits only
// those fields instead of listing every field of every message on each call. Holders inside
// a oneof (the envelope's bodies) are found through the one member that is set.
struct WipePlan {
    std::vector<const FieldDescriptor *> secrets;
    std::vector<std::pair<const FieldDescriptor *, const WipePlan *>> holders;
    std::vector<const OneofDescriptor *> oneofs;
    std::unordered_map<const FieldDescriptor *, const WipePlan *> oneofHolders;

    bool Empty() const { return secrets.empty() && holders.empty() && oneofHolders.empty(); }
};

// Node-based, so a plan stays where it is while others are added; descriptors live as long
// as the process.
using Plans = std::unordered_map<const Descriptor *, WipePlan>;

const WipePlan &Build(const Descriptor *type, Plans &plans) {
    auto [entry, added] = plans.try_emplace(type);
    // An entry already there is finished, or is an enclosing type being built (a message
    // that holds itself), whose secrets are wiped where it is met first.
    if (!added) return entry->second;
    WipePlan plan;
    for (int i = 0; i < type->field_count(); ++i) {
        const FieldDescriptor *field = type->field(i);
        if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING &&
            field->options().GetExtension(pb::secret)) {
            plan.secrets.push_back(field);
        } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            const WipePlan &inner = Build(field->message_type(), plans);
            if (inner.Empty()) continue;
            if (const OneofDescriptor *oneof = field->real_containing_oneof()) {
                plan.oneofHolders.emplace(field, &inner);
                if (std::find(plan.oneofs.begin(), plan.oneofs.end(), oneof) == plan.oneofs.end())
                    plan.oneofs.push_back(oneof);
            } else {
                plan.holders.emplace_back(field, &inner);
            }
        }
    }
    entry->second = std::move(plan);
    return entry->second;
}

const WipePlan &PlanOf(const Descriptor *type) {
    static std::shared_mutex mutex;
    static Plans plans;
    {
        std::shared_lock lock(mutex);
        if (auto found = plans.find(type); found != plans.end()) return found->second;
    }
    std::unique_lock lock(mutex);
    return Build(type, plans);
}

// Reflection hands out the field's own string; it is overwritten where it lies so that no
// copy is left in freed memory.
bool Cleanse(const std::string &stored) {
    OPENSSL_cleanse(const_cast<char *>(stored.data()), stored.size());
    return !stored.empty();
}

bool WipeField(Message &message, const Reflection &reflection, const FieldDescriptor &field) {
    std::string scratch;
    bool held = false;
    if (field.is_repeated()) {
        for (int i = 0; i < reflection.FieldSize(message, &field); ++i)
            held = Cleanse(reflection.GetRepeatedStringReference(message, &field, i, &scratch)) ||
                   held;
    } else {
        held = Cleanse(reflection.GetStringReference(message, &field, &scratch));
    }
    if (held) reflection.ClearField(&message, &field);
    return held;
}

bool Wipe(Message &message, const WipePlan &plan) {
    const Reflection &reflection = *message.GetReflection();
    bool held = false;
    for (const FieldDescriptor *field : plan.secrets)
        held = WipeField(message, reflection, *field) || held;
    for (const auto &[field, inner] : plan.holders) {
        if (field->is_repeated()) {
            for (int i = 0; i < reflection.FieldSize(message, field); ++i)
                held = Wipe(*reflection.MutableRepeatedMessage(&message, field, i), *inner) || held;
        } else if (reflection.HasField(message, field)) {
            held = Wipe(*reflection.MutableMessage(&message, field), *inner) || held;
        }
    }
    for (const OneofDescriptor *oneof : plan.oneofs) {
        const FieldDescriptor *set = reflection.GetOneofFieldDescriptor(message, oneof);
        if (set == nullptr) continue;
        if (auto holder = plan.oneofHolders.find(set); holder != plan.oneofHolders.end())
            held = Wipe(*reflection.MutableMessage(&message, set), *holder->second) || held;
    }
    return held;
}

}  // namespace

bool WipeSecretFields(Message &message) {
    const WipePlan &plan = PlanOf(message.GetDescriptor());
    return !plan.Empty() && Wipe(message, plan);
}

}  // namespace wire
