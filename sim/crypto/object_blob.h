#pragma once
// The blob one object is backed up in: sealed under the HSM's master key, with the id of that
// key in clear so that a blob of another HSM is told apart from a damaged one. The layout is
// written down in qelvoarc.h, beside QBackupObject.

#include <string>
#include <string_view>

#include "core/result.h"
#include "core/secret.h"
#include "crypto/master_key.h"

namespace sim {

// The blob holding `plain`. Thread-safe.
std::string SealObjectBlob(const MasterKey &masterKey, std::string_view plain);

// kOk with *plain set when `blob` was sealed by SealObjectBlob under `masterKey` and not
// altered since; kBlobForeignHsm when another master key sealed it; kBlobDamaged otherwise.
Result OpenObjectBlob(const MasterKey &masterKey, std::string_view blob, SecretBytes *plain);

}  // namespace sim
