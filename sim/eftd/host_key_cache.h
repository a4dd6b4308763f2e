#pragma once
// The keys of partition eftd0 that one host connection has opened. A host sends its commands
// by the thousand on a few keys, and opening a key costs a database read and an unsealing
// each time; a kept key is used for as long as the key store has not changed since it was
// read. Owned by the connection's thread; the clear keys are wiped when it ends.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "core/secret.h"
#include "service/hsm_context.h"

namespace sim {

class HostKeyCache {
  public:
    explicit HostKeyCache(HsmContext &hsm) : hsm_(hsm) {}

    // The key `name` of partition eftd0 when it passes CheckUsable: its algorithm and a copy
    // of its clear material. Fails as OpenUsableKey does.
    Result Open(std::string_view name, bool desFamily, uint32_t *algorithm, SecretBytes *material);

  private:
    struct Entry {
        StoredObject object;  // without its sealed material
        SecretBytes material;
    };

    HsmContext &hsm_;
    uint64_t generation_ = 0;
    std::map<std::string, Entry, std::less<>> entries_;
};

}  // namespace sim
