#pragma once
// The EFT daemon's host commands on the keys of partition eftd0. The message and answer
// layouts and the error codes are in HOST_COMMANDS.md beside this file.

#include <string>
#include <string_view>

#include "eftd/host_key_cache.h"
#include "service/hsm_context.h"

namespace sim {

// The answer to one host command `message` (without its length prefix), under the
// configuration the HSM holds now, with the keys `keys` opens. Never fails: every refusal is an
// error code in the answer. Host commands are not event-logged: a payment switch sends them by the
// thousand, and they change nothing.
std::string AnswerHostCommand(HsmContext &hsm, HostKeyCache &keys, std::string_view message);

}  // namespace sim
