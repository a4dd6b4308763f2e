#pragma once
// The replication tables of one node (see the schema): its node list, its sync point and the
// journal of committed changes. Every function works inside the caller's transaction on `db`.

#include <cstdint>
#include <string>
#include <vector>

#include "store/database.h"

namespace sim {

struct NodeEntry {
    std::string address;
    bool down = false;
};

// The nodes in the numeric order of their addresses.
std::vector<NodeEntry> ReadNodes(Database &db);
bool AddNodeEntry(Database &db, const std::string &address);     // false when present already
bool RemoveNodeEntry(Database &db, const std::string &address);  // false when absent
bool MarkNodeDown(Database &db, const std::string &address, bool down);  // false when absent

// The last transaction of the domain committed here.
uint64_t ReadSyncPoint(Database &db);
// Journals `changeset` as transaction `sequence`, which becomes the sync point.
void RecordChange(Database &db, uint64_t sequence, const std::string &changeset);
// Drops what no node needs from the journal: the changes through `everyNodeHas`, and all
// but the last `cap`. Works only every few sequences, so the bound is loose by that few.
void BoundJournal(Database &db, uint64_t sequence, uint64_t everyNodeHas, uint64_t cap);
// Empties the journal and sets the sync point: after a snapshot, or when this node's changes
// stopped being journaled (it was alone) and the journal would have a gap.
void RestartJournal(Database &db, uint64_t syncPoint);

struct JournalChange {
    uint64_t sequence = 0;
    std::string changeset;
};
// At most `limit` changes after `syncPoint`, in order.
std::vector<JournalChange> ReadChangesAfter(Database &db, uint64_t syncPoint, uint32_t limit);

// Applies another node's change. False when a row is not as the change expects: the nodes were
// not in step, part of the change may be applied, and the transaction must not commit.
// REQUIRES: inside a transaction, which the caller rolls back when this fails.
bool ApplyChange(Database &db, const std::string &changeset);

// Orders dotted IPv4 addresses numerically.
bool AddressBefore(const std::string &a, const std::string &b);
// Whether `text` is a dotted IPv4 address.
bool IsNodeAddress(const std::string &text);

}  // namespace sim
