#include "info_record.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "key_objects.h"

namespace qelvoarc {

namespace {

void BigEndian(uint64_t value, uint8_t (&out)[8]) {
    for (int i = 7; i >= 0; --i, value >>= 8)
        out[i] = static_cast<uint8_t>(value & 0xFF);
}

void LayOutReplication(const pb::ReplicationStatus &status, QReplicationStatus *out) {
    BigEndian(status.pending_transactions(), out->pendingTransactions);
    out->when = status.when();
    out->state = status.state();
    out->joinedDomain = status.joined_domain() ? 1 : 0;
    BigEndian(status.sync_point(), out->syncPoint);
    out->syncCounter = static_cast<uint16_t>(status.sync_counter());
    out->managerPulsing = status.manager_pulsing() ? 1 : 0;
    out->managerInterval = status.manager_interval();
    out->recoveryPulsing = status.recovery_pulsing() ? 1 : 0;
    out->recoveryInterval = status.recovery_interval();
    const int binds = std::min<int>(status.binds_size(), Q_REPL_MAX_BINDS);
    out->bindCount = static_cast<uint32_t>(binds);
    for (int i = 0; i < binds; ++i) {
        CopyField(out->binds[i].interfaceName, status.binds(i).interface_name());
        CopyField(out->binds[i].address, status.binds(i).address());
    }
}

// Joins whole entries with ';' while they fit the field, leaving room for a terminator.
template <size_t N>
void JoinInto(char (&field)[N], const google::protobuf::RepeatedPtrField<std::string> &entries) {
    std::string joined;
    for (const std::string &entry : entries) {
        const size_t grown = joined.size() + (joined.empty() ? 0 : 1) + entry.size();
        if (grown >= N) break;
        if (!joined.empty()) joined += ';';
        joined += entry;
    }
    CopyField(field, joined);
}

}  // namespace

void LayOutHsmInfoRecord(const pb::GetHsmStatusReply &reply, QHsmInfoRecord *record) {
    record->version = reply.version();
    record->sessions = reply.sessions();
    record->cpuPercent = reply.cpu_percent();
    record->memoryTotal = reply.memory_total_kib();
    record->memoryUsed = reply.memory_used_kib();
    record->operationMode = reply.operation_mode();
    record->storageTotal = reply.storage_total_mib();
    record->storageFree = reply.storage_free_mib();
    record->clock = reply.clock();
    record->userCount = reply.user_count();
    record->objectCount = reply.object_count();
    record->databaseSize = reply.database_bytes();
    record->backupPending = reply.backup_pending() ? 1 : 0;
    CopyField(record->pendingUpdate, reply.pending_update());
    CopyField(record->manufacturer, reply.manufacturer());
    CopyField(record->model, reply.model());
    CopyField(record->hardwareProfile, reply.hardware_profile());
    CopyField(record->engineDescription, reply.engine_description());
    CopyField(record->tpKey, reply.tp_key());
    CopyField(record->svmkFingerprint, reply.svmk_fingerprint());
    CopyField(record->machineAlias, reply.machine_alias());
    LayOutReplication(reply.replication(), &record->replication);
}

void LayOutReplicationNodes(const pb::GetReplicationNodesReply &reply, QReplicationNodes *nodes) {
    const int count = std::min<int>(reply.nodes_size(), Q_REPL_MAX_NODES);
    nodes->count = static_cast<uint32_t>(count);
    for (int i = 0; i < count; ++i)
        CopyField(nodes->nodes[i], reply.nodes(i));
}

void LayOutNetInfo(const pb::GetNetInfoReply &reply, QNetInfo *info) {
    const int count = std::min<int>(reply.interfaces_size(), std::size(info->interfaces));
    info->interfaceCount = static_cast<uint32_t>(count);
    for (int i = 0; i < count; ++i) {
        const pb::NetInterface &from = reply.interfaces(i);
        QNetInterface &to = info->interfaces[i];
        CopyField(to.address, from.address());
        CopyField(to.mask, from.mask());
        to.linkUp = from.link_up() ? 1 : 0;
        to.speedMbps = from.speed_mbps();
        to.bondMember = from.bond_member() ? 1 : 0;
    }
    CopyField(info->gateway, reply.gateway());
    CopyField(info->gatewayMask, reply.gateway_mask());
    CopyField(info->bond, reply.bond());
    CopyField(info->bondMode, reply.bond_mode());
    CopyField(info->sysContact, reply.sys_contact());
    CopyField(info->sysLocation, reply.sys_location());
    CopyField(info->community, reply.community());
    JoinInto(info->trapTargets, reply.trap_targets());
    JoinInto(info->routes, reply.routes());
}

}  // namespace qelvoarc
