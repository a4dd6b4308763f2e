#pragma once
// Collects the names that a library enumeration (QListObjs, QListPkcs11Maps) delivers, so
// that each can be opened once the enumeration has returned: its callback may not call the
// library on the same session.

#include <cstdint>
#include <string>
#include <vector>

#include "qelvoarc.h"

using NameEnumerator = uint32_t (*)(QSessionHandle, QNameCallback, void *);

// Runs the enumeration and appends the names in the order delivered. Returns its status.
uint32_t CollectNames(QSessionHandle session, NameEnumerator enumerate,
                      std::vector<std::string> *names);
