#pragma once
// "HSM - IP Filter": the client hosts the HSM admits, with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Add" and "Remove": an entry of a host, optionally tied to one user.
int32_t AddFilterEntry(QSessionHandle session, const MenuItem &item);
int32_t RemoveFilterEntry(QSessionHandle session, const MenuItem &item);
// "List": the entries under a header, after the filter's state.
int32_t ListFilterEntries(QSessionHandle session, const MenuItem &item);
// "Status": the state, and the offer to turn the filter the other way.
int32_t ToggleFilter(QSessionHandle session, const MenuItem &item);
