#pragma once
// A new node's data directory made from a node of a replication domain: the same database and
// master key, so that it is in step with the domain from its first start. The caller then
// gives it its own TLS identity (and serial) as for any new directory.

#include <string>

namespace sim {

// Copies the database (a consistent snapshot, while the node may be running) and the master
// key of `existingDir` into `newDir`, created when missing. The copy belongs to no domain yet:
// its node list is empty until a node of the domain adds it. Throws std::runtime_error when
// `newDir` holds a database already or a copy fails.
void CopyNodeDirectory(const std::string &existingDir, const std::string &newDir);

}  // namespace sim
