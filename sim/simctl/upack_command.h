#pragma once
// orvena-simctl make-upack: builds a signed firmware update package.

#include <ostream>
#include <string>
#include <vector>

namespace sim {

inline constexpr const char *kMakeUpackCommand = "make-upack";

// Runs `make-upack --data DIR --version A.B.C.D --description TEXT --out FILE [--key PEM]`
// (`args` starts with its name). The package is signed with the data directory's vendor key
// (made when missing), or with the Ed25519 key of --key. Returns the process exit status:
// 0 written, 1 a failure, 2 bad usage.
int RunMakeUpack(const std::vector<std::string> &args, std::ostream &out, std::ostream &err);

}  // namespace sim
