#pragma once
// The one place where secrets carried by protocol messages are wiped. A field is secret when
// the schema marks it [(secret) = true] (options.proto); both ends call this on every
// request and reply once it has been handled, so no handler or library function keeps a
// wipe routine of its own.

#include <google/protobuf/message.h>

namespace wire {

// Overwrites every secret field of `message` and of the messages it holds with zeros, then
// clears it. Returns true when a secret field held bytes: the serialised copies of the
// message then hold secrets too, and are the caller's to wipe.
bool WipeSecretFields(google::protobuf::Message &message);

}  // namespace wire
