#include "text_fields.h"

#include <google/protobuf/stubs/common.h>

#include <string>
#include <vector>

namespace wire {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

bool IsUtf8(const std::string &text) {
    // The check protobuf itself makes when it serialises or parses a text field.
    return google::protobuf::internal::IsStructurallyValidUTF8(text.data(),
                                                               static_cast<int>(text.size()));
}

}  // namespace

bool TextFieldsAreUtf8(const Message &message) {
    const Reflection *reflection = message.GetReflection();
    std::vector<const FieldDescriptor *> fields;
    reflection->ListFields(message, &fields);  // only those set: a part's bytes cost nothing
    for (const FieldDescriptor *field : fields) {
        if (field->type() == FieldDescriptor::TYPE_STRING) {
            if (!field->is_repeated()) {
                if (!IsUtf8(reflection->GetString(message, field))) return false;
                continue;
            }
            for (int i = 0; i < reflection->FieldSize(message, field); ++i)
                if (!IsUtf8(reflection->GetRepeatedString(message, field, i))) return false;
        } else if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            if (!field->is_repeated()) {
                if (!TextFieldsAreUtf8(reflection->GetMessage(message, field))) return false;
                continue;
            }
            for (int i = 0; i < reflection->FieldSize(message, field); ++i)
                if (!TextFieldsAreUtf8(reflection->GetRepeatedMessage(message, field, i)))
                    return false;
        }
    }
    return true;
}

}  // namespace wire
