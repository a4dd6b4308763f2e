// The secrets the protocol carries: each is marked (secret) in the schema, and
// WipeSecretFields zeroes it where it lies in every request and reply, inside the envelope
// both ends wipe.

#include <google/protobuf/arena.h>
#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "envelope.pb.h"
#include "options.pb.h"
#include "secret_fields.h"

#include <gtest/gtest.h>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

// Passwords, OTPs, access tokens, OATH seeds, key material and components, HMAC keys, random
// bytes, kept secrets and their shares.
const std::set<std::string> kSecretFields = {
    "wire.pb.Login.password",
    "wire.pb.Login.otp",
    "wire.pb.Login.access_token",
    "wire.pb.GetRandomReply.data",
    "wire.pb.CreateUser.password",
    "wire.pb.SetOwnPassword.password",
    "wire.pb.SetUserPassword.password",
    "wire.pb.AssignOathToken.seed",
    "wire.pb.OathResync.first_otp",
    "wire.pb.OathResync.next_otp",
    "wire.pb.OathCheck.otp",
    "wire.pb.IssueAccessTokenReply.token",
    "wire.pb.RevokeAccessToken.token",
    "wire.pb.ListAccessTokens.token",
    "wire.pb.ImportKey.material",
    "wire.pb.ImportKeyComponents.components",
    "wire.pb.ExportKeyReply.material",
    "wire.pb.SetHashKey.key",
    "wire.pb.StartBackup.password",
    "wire.pb.StartRestore.password",
    "wire.pb.ExportKeyComponentsReply.components",
    "wire.pb.GenerateSvmkReply.shadows",
    "wire.pb.RecoverSvmk.shadows",
    "wire.pb.SetMofNState.shadows",
    "wire.pb.MofNSplit.data",
    "wire.pb.MofNSplitReply.shares",
    "wire.pb.NodeHello.proof",
    "wire.pb.NodeHelloReply.proof",
    "wire.pb.MofNRecover.shares",
    "wire.pb.MofNRecoverReply.data",
    "wire.pb.SplitSecretReply.shares",
    "wire.pb.RecoverSecret.shares",
    "wire.pb.RecoverSecretReply.bytes",
    "wire.pb.MatchSecret.shares",
    "wire.pb.BindHsm.bind_key",
};

// Names that sound secret and are not: key names, check values (they prove a key, never
// reveal it) and a token's key (a digest of its secret).
const std::set<std::string> kPublicLookalikes = {
    "wire.pb.CreateHash.key_name",
    "wire.pb.CreatePkcs11Map.key_name",
    "wire.pb.ImportKeyComponents.component_check_values",
    "wire.pb.ImportKeyComponents.key_check_value",
    "wire.pb.ImportKeyUnderKek.key_check_value",
    "wire.pb.ExportKeyUnderKekReply.key_check_value",
    "wire.pb.ExportKeyComponentsReply.component_check_values",
    "wire.pb.ExportKeyComponentsReply.key_check_value",
    "wire.pb.AccessTokenInfo.key",
    "wire.pb.GetHsmStatusReply.tp_key",  // the id of the HSM's public TLS key
};

const std::regex kSecretSounding("password|otp|seed|material|component|token|secret|key|random");

bool IsText(const FieldDescriptor &field) {
    return field.cpp_type() == FieldDescriptor::CPPTYPE_STRING;
}

bool IsSecret(const FieldDescriptor &field) {
    return field.options().GetExtension(wire::pb::secret);
}

// Every message type a request or a reply can hold.
void CollectTypes(const Descriptor &type, std::set<const Descriptor *> *seen) {
    if (!seen->insert(&type).second) return;
    for (int i = 0; i < type.field_count(); ++i)
        if (const Descriptor *inner = type.field(i)->message_type()) CollectTypes(*inner, seen);
}

// Fills every text field of `message` and of the messages it holds (two entries of each
// repeated one) with a long, distinct value, and notes where each secret one is stored.
struct Filled {
    struct Secret {
        const char *bytes;
        size_t size;
    };
    std::vector<Secret> secrets;
    std::map<std::string, std::string> kept;  // non-secret text by field, as set
};

void Fill(Message &message, Filled *filled) {
    const Reflection &reflection = *message.GetReflection();
    const Descriptor &type = *message.GetDescriptor();
    for (int i = 0; i < type.field_count(); ++i) {
        const FieldDescriptor &field = *type.field(i);
        const int entries = field.is_repeated() ? 2 : 1;
        for (int n = 0; n < entries; ++n) {
            if (field.message_type() != nullptr) {
                Fill(field.is_repeated() ? *reflection.AddMessage(&message, &field)
                                         : *reflection.MutableMessage(&message, &field),
                     filled);
                continue;
            }
            if (!IsText(field)) continue;
            // Longer than any small-string buffer: the wipe has to reach the heap.
            std::string value = field.full_name() + std::string(40, 'S') + std::to_string(n);
            if (field.is_repeated())
                reflection.AddString(&message, &field, value);
            else
                reflection.SetString(&message, &field, value);
            std::string scratch;
            const std::string &stored =
                field.is_repeated()
                    ? reflection.GetRepeatedStringReference(message, &field, n, &scratch)
                    : reflection.GetStringReference(message, &field, &scratch);
            if (IsSecret(field))
                filled->secrets.push_back({stored.data(), stored.size()});
            else
                filled->kept[field.full_name() + "#" + std::to_string(n)] = value;
        }
    }
}

// The kept text of `message` as Fill noted it, read back after the wipe.
void ReadKept(const Message &message, std::map<std::string, std::string> *kept) {
    const Reflection &reflection = *message.GetReflection();
    std::vector<const FieldDescriptor *> fields;
    reflection.ListFields(message, &fields);
    for (const FieldDescriptor *field : fields) {
        const int entries = field->is_repeated() ? reflection.FieldSize(message, field) : 1;
        for (int n = 0; n < entries; ++n) {
            if (field->message_type() != nullptr)
                ReadKept(field->is_repeated() ? reflection.GetRepeatedMessage(message, field, n)
                                              : reflection.GetMessage(message, field),
                         kept);
            else if (IsText(*field))
                (*kept)[field->full_name() + "#" + std::to_string(n)] =
                    field->is_repeated() ? reflection.GetRepeatedString(message, field, n)
                                         : reflection.GetString(message, field);
        }
    }
}

bool Zeroed(const Filled::Secret &secret) {
    for (size_t i = 0; i < secret.size; ++i)
        if (secret.bytes[i] != '\0') return false;
    return true;
}

TEST(SecretFields, EverySecretOfTheProtocolIsMarkedAndNothingElseIs) {
    std::set<const Descriptor *> types;
    CollectTypes(*wire::pb::Request::descriptor(), &types);
    CollectTypes(*wire::pb::Response::descriptor(), &types);
    std::set<std::string> marked;
    for (const Descriptor *type : types) {
        for (int i = 0; i < type->field_count(); ++i) {
            const FieldDescriptor &field = *type->field(i);
            if (IsSecret(field)) {
                EXPECT_TRUE(IsText(field)) << field.full_name() << ": only bytes can be wiped";
                marked.insert(field.full_name());
            } else if (IsText(field) && std::regex_search(field.name(), kSecretSounding)) {
                EXPECT_TRUE(kPublicLookalikes.count(field.full_name()))
                    << field.full_name() << " sounds secret: mark it, or list it as public";
            }
        }
    }
    EXPECT_EQ(marked, kSecretFields);
}

// Each body of the envelope, filled completely: its secrets end zeroed where they lay and
// empty, everything else stays, and the wipe tells whether there was a secret.
void ExpectEachBodyWiped(const Message &prototype) {
    const Descriptor &envelope = *prototype.GetDescriptor();
    const auto *bodies = envelope.FindOneofByName("body");
    ASSERT_NE(bodies, nullptr);
    for (int i = 0; i < bodies->field_count(); ++i) {
        const FieldDescriptor &body = *bodies->field(i);
        SCOPED_TRACE(body.full_name());
        // On an arena, what the wipe releases stays readable until the arena goes.
        google::protobuf::Arena arena;
        Message *message = prototype.New(&arena);
        Filled filled;
        Fill(*message->GetReflection()->MutableMessage(message, &body), &filled);
        EXPECT_EQ(wire::WipeSecretFields(*message), !filled.secrets.empty());
        for (const Filled::Secret &secret : filled.secrets)
            EXPECT_TRUE(Zeroed(secret));
        std::map<std::string, std::string> kept;
        ReadKept(*message, &kept);
        EXPECT_EQ(kept, filled.kept);
    }
}

TEST(SecretFields, EveryRequestAndReplyIsWipedInPlace) {
    ExpectEachBodyWiped(wire::pb::Request::default_instance());
    ExpectEachBodyWiped(wire::pb::Response::default_instance());
}

}  // namespace
