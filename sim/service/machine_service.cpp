#include "service/machine_service.h"

#include "platform/loaded_modules.h"
#include "platform/machine_stats.h"
#include "platform/network_config.h"

namespace sim {

namespace {

Result HandleGetStatInfo(Call &call, const pb::GetStatInfo &, pb::GetStatInfoReply *reply) {
    const MemoryFigures memory = ReadMemory();
    reply->set_sessions(SaturateTo32(call.hsm.sessions.size()));
    reply->set_cpu_percent(CpuPercentSinceLastCall());
    reply->set_load_average(LoadAverageHundredths());
    reply->set_memory_total_kib(SaturateTo32(memory.totalKib));
    reply->set_memory_used_kib(SaturateTo32(memory.usedKib));
    reply->set_swap_total_kib(SaturateTo32(memory.swapTotalKib));
    reply->set_swap_used_kib(SaturateTo32(memory.swapUsedKib));
    return Result::kOk;
}

Result HandleGetNetInfo(Call &call, const pb::GetNetInfo &, pb::GetNetInfoReply *reply) {
    const NetworkConfig config = ReadNetworkConfig();
    for (const NetworkInterface &entry : config.interfaces) {
        pb::NetInterface *out = reply->add_interfaces();
        out->set_address(entry.address);
        out->set_mask(entry.mask);
        out->set_link_up(entry.linkUp);
        out->set_speed_mbps(entry.speedMbps);
        out->set_bond_member(entry.bondMember);
    }
    reply->set_gateway(config.gateway);
    reply->set_gateway_mask(config.gatewayMask);
    reply->set_bond(config.bond);
    reply->set_bond_mode(config.bondMode);
    for (const std::string &route : config.routes)
        reply->add_routes(route);
    const SnmpSettings &snmp = call.hsm.hardware.snmp;
    reply->set_sys_contact(snmp.contact);
    reply->set_sys_location(snmp.location);
    reply->set_community(snmp.community);
    for (const std::string &target : snmp.trapTargets)
        reply->add_trap_targets(target);
    return Result::kOk;
}

Result HandleListLoadedModules(Call &, const pb::ListLoadedModules &,
                               pb::ListLoadedModulesReply *reply) {
    for (std::string &module : LoadedModules())
        reply->add_modules(std::move(module));
    return Result::kOk;
}

Result HandleListSessions(Call &call, const pb::ListSessions &, pb::ListSessionsReply *reply) {
    for (const auto &session : call.hsm.sessions.List()) {
        pb::SessionEntry *entry = reply->add_sessions();
        entry->set_id(session->id);
        entry->set_start_time(static_cast<uint64_t>(session->origin.startTime));
        entry->set_address(session->origin.address);
        entry->set_tls(session->origin.tls);
        entry->set_user(session->user);
    }
    return Result::kOk;
}

}  // namespace

void RegisterMachineService(DispatchTable &table) {
    const Needs remoteInfo = Needs::Acl(pb::ACL_REMOTE_INFO);
    table.Add<&pb::Request::get_stat_info, &pb::Response::mutable_get_stat_info>(
        HandleGetStatInfo, remoteInfo, kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::get_net_info, &pb::Response::mutable_get_net_info>(
        HandleGetNetInfo, remoteInfo, kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::list_loaded_modules, &pb::Response::mutable_list_loaded_modules>(
        HandleListLoadedModules, remoteInfo, kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::list_sessions, &pb::Response::mutable_list_sessions>(
        HandleListSessions, remoteInfo, kNormalSessions | kAfterRestore);
}

}  // namespace sim
