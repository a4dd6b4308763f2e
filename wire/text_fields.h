#pragma once
// Text fields of protocol messages must be UTF-8: protobuf logs an error line on each side
// and the receiver refuses the whole message otherwise. A sender checks before it sends, so
// a name typed in another character set is refused as a bad parameter, quietly.

#include <google/protobuf/message.h>

namespace wire {

// True when every text (not bytes) field set in `message` and in the messages it holds is
// valid UTF-8.
bool TextFieldsAreUtf8(const google::protobuf::Message &message);

}  // namespace wire
