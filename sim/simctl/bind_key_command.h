#pragma once
// orvena-simctl make-bind-key: the cloud service's side of binding, for tests and rehearsals.

#include <ostream>
#include <string>
#include <vector>

namespace sim {

inline constexpr const char *kMakeBindKeyCommand = "make-bind-key";

// Runs `make-bind-key --account ID --hsm-id ID --url URL --key KEY.pem` (`args` starts with
// its name) and writes the bind key (crypto/bind_key.h), one line, to `out`. The HSM accepts
// it when its data directory's cloud.crt certifies KEY.pem's key and ID is its serial number.
// Returns the process exit status: 0 written, 1 a failure, 2 bad usage.
int RunMakeBindKey(const std::vector<std::string> &args, std::ostream &out, std::ostream &err);

}  // namespace sim
