#pragma once
// The node-list display of the replication screens, over the records of the node list tool.

#include <cstddef>

#include "qelvoarc.h"

// Prints "Node List -", then each record: the node's line, then its error or its version and
// list. A node whose list or version differs from those of the HSM that answered is marked
// for checking, as is one that could not be asked.
void PrintNodeList(const QNodeRecord *records, size_t count);
