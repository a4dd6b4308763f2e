// Writes the seed corpora of the protocol fuzzers from the typed messages: one request (and
// one reply) of every kind the envelope carries, each field set to a small plausible value,
// so the fuzzers start from well-formed messages of every family.
//
// Usage: make_seeds DIR  (writes DIR/<fuzzer>/<message name>)
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <google/protobuf/reflection.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "envelope.pb.h"

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Sets every field of `message`: repeated fields get two elements, nested messages are
// filled down to a few levels.
void Fill(Message &message, int depth) {
    const auto *descriptor = message.GetDescriptor();
    const auto *reflection = message.GetReflection();
    for (int i = 0; i < descriptor->field_count(); ++i) {
        const FieldDescriptor *field = descriptor->field(i);
        if (field->containing_oneof() != nullptr && i > 0 &&
            descriptor->field(i - 1)->containing_oneof() == field->containing_oneof())
            continue;  // the first member of a oneof stands for all
        const int count = field->is_repeated() ? 2 : 1;
        for (int n = 0; n < count; ++n) {
            switch (field->cpp_type()) {
                case FieldDescriptor::CPPTYPE_MESSAGE:
                    if (depth < 3)
                        Fill(field->is_repeated() ? *reflection->AddMessage(&message, field)
                                                  : *reflection->MutableMessage(&message, field),
                             depth + 1);
                    break;
                case FieldDescriptor::CPPTYPE_STRING: {
                    std::string value = field->type() == FieldDescriptor::TYPE_BYTES
                                            ? std::string(16, '\x5a')
                                            : std::string(n == 0 ? "k" : "clerk");
                    field->is_repeated() ? reflection->AddString(&message, field, value)
                                         : reflection->SetString(&message, field, value);
                    break;
                }
                case FieldDescriptor::CPPTYPE_ENUM: {
                    const auto *values = field->enum_type();
                    const auto *value = values->value(values->value_count() > 1 ? 1 : 0);
                    field->is_repeated() ? reflection->AddEnum(&message, field, value)
                                         : reflection->SetEnum(&message, field, value);
                    break;
                }
                case FieldDescriptor::CPPTYPE_BOOL:
                    field->is_repeated() ? reflection->AddBool(&message, field, true)
                                         : reflection->SetBool(&message, field, true);
                    break;
                case FieldDescriptor::CPPTYPE_INT32:
                    field->is_repeated() ? reflection->AddInt32(&message, field, 9)
                                         : reflection->SetInt32(&message, field, 9);
                    break;
                case FieldDescriptor::CPPTYPE_INT64:
                    field->is_repeated() ? reflection->AddInt64(&message, field, 9)
                                         : reflection->SetInt64(&message, field, 9);
                    break;
                case FieldDescriptor::CPPTYPE_UINT32:
                    field->is_repeated() ? reflection->AddUInt32(&message, field, 9)
                                         : reflection->SetUInt32(&message, field, 9);
                    break;
                case FieldDescriptor::CPPTYPE_UINT64:
                    field->is_repeated() ? reflection->AddUInt64(&message, field, 9)
                                         : reflection->SetUInt64(&message, field, 9);
                    break;
                case FieldDescriptor::CPPTYPE_DOUBLE:
                case FieldDescriptor::CPPTYPE_FLOAT:
                    break;  // the protocol has no floating-point field
            }
        }
    }
}

std::string Frame(const Message &message) {
    std::string bytes = message.SerializeAsString();
    const auto length = static_cast<uint32_t>(bytes.size());
    std::string frame{static_cast<char>(length >> 24), static_cast<char>(length >> 16),
                      static_cast<char>(length >> 8), static_cast<char>(length)};
    return frame + bytes;
}

void Write(const std::filesystem::path &path, const std::string &bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds DIR\n");
        return 2;
    }
    const std::filesystem::path dir = argv[1];
    const auto *requests = wire::pb::Request::descriptor();
    for (int i = 0; i < requests->field_count(); ++i) {
        const FieldDescriptor *body = requests->field(i);
        wire::pb::Request request;
        Fill(*request.GetReflection()->MutableMessage(&request, body), 0);
        const std::string frame = Frame(request);
        Write(dir / "frame_fuzzer" / body->name(), frame);
        // The operator's session for most; every other one as a user with ordinary rights.
        Write(dir / "dispatch_fuzzer" / body->name(),
              std::string(1, static_cast<char>(i % 2)) + frame);

        wire::pb::Response response;
        const FieldDescriptor *reply =
            wire::pb::Response::descriptor()->FindFieldByNumber(body->number());
        Fill(*response.GetReflection()->MutableMessage(&response, reply), 0);
        Write(dir / "library_reply_fuzzer" / reply->name(), std::string(1, '\0') + Frame(response));
    }
    return 0;
}
