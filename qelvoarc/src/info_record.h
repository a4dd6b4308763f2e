#pragma once
// The C records of the HSM's information, laid out from the messages that carry them.

#include "info.pb.h"
#include "qelvoarc.h"

namespace qelvoarc {

namespace pb = ::wire::pb;

// REQUIRES: *record zeroed; fields the reply leaves out stay zero.
void LayOutHsmInfoRecord(const pb::GetHsmStatusReply &reply, QHsmInfoRecord *record);

// At most Q_REPL_MAX_NODES nodes; the rest are dropped. REQUIRES: *nodes zeroed.
void LayOutReplicationNodes(const pb::GetReplicationNodesReply &reply, QReplicationNodes *nodes);

// At most 8 interfaces; trap targets and routes joined with ';', whole entries only.
// REQUIRES: *info zeroed.
void LayOutNetInfo(const pb::GetNetInfoReply &reply, QNetInfo *info);

}  // namespace qelvoarc
