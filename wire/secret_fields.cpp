#include "secret_fields.h"

#include <openssl/crypto.h>

#include <string>
#include <vector>

#include "options.pb.h"

namespace wire {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Reflection hands out the field's own string; it is overwritten where it lies so that no
// copy is left in freed memory.
void Cleanse(const std::string &stored) {
    OPENSSL_cleanse(const_cast<char *>(stored.data()), stored.size());
}

bool WipeField(Message &message, const Reflection &reflection, const FieldDescriptor &field) {
    std::string scratch;
    bool held = false;
    if (field.is_repeated()) {
        for (int i = 0; i < reflection.FieldSize(message, &field); ++i) {
            const std::string &stored =
                reflection.GetRepeatedStringReference(message, &field, i, &scratch);
            held = held || !stored.empty();
            Cleanse(stored);
        }
    } else {
        const std::string &stored = reflection.GetStringReference(message, &field, &scratch);
        held = !stored.empty();
        Cleanse(stored);
    }
    reflection.ClearField(&message, &field);
    return held;
}

}  // namespace

bool WipeSecretFields(Message &message) {
    const Reflection &reflection = *message.GetReflection();
    std::vector<const FieldDescriptor *> fields;
    reflection.ListFields(message, &fields);
    bool held = false;
    for (const FieldDescriptor *field : fields) {
        if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            if (field->is_repeated()) {
                for (int i = 0; i < reflection.FieldSize(message, field); ++i)
                    held =
                        WipeSecretFields(*reflection.MutableRepeatedMessage(&message, field, i)) ||
                        held;
            } else {
                held = WipeSecretFields(*reflection.MutableMessage(&message, field)) || held;
            }
        } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_STRING &&
                   field->options().GetExtension(pb::secret)) {
            held = WipeField(message, reflection, *field) || held;
        }
    }
    return held;
}

}  // namespace wire
