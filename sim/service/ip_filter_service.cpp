#include "service/ip_filter_service.h"

#include <optional>

namespace sim {

namespace {

std::optional<IpFilterEntry> Decode(const pb::IpFilterEntry &in) {
    std::optional<std::string> host = CanonicalHost(in.host());
    if (!host || in.user().size() > kMaxUserIdLength) return std::nullopt;
    return IpFilterEntry{*host, in.user()};
}

IpFilterRequester RequesterOf(const Call &call) {
    return {call.actor(), call.conn.peerAddress};
}

Result HandleGetIpFilter(Call &call, const pb::GetIpFilter &, pb::GetIpFilterReply *reply) {
    const IpFilter filter = call.hsm.ipFilter.Load();
    reply->set_enabled(filter.enabled);
    for (const IpFilterEntry &entry : filter.entries) {
        pb::IpFilterEntry *out = reply->add_entries();
        out->set_host(entry.host);
        out->set_user(entry.user);
    }
    return Result::kOk;
}

Result HandleAddIpFilterEntry(Call &call, const pb::AddIpFilterEntry &request,
                              pb::AddIpFilterEntryReply *) {
    std::optional<IpFilterEntry> entry = Decode(request.entry());
    if (!entry) return Result::kInvalidParameter;
    return call.hsm.ipFilter.Add(call.actor(), *entry);
}

Result HandleRemoveIpFilterEntry(Call &call, const pb::RemoveIpFilterEntry &request,
                                 pb::RemoveIpFilterEntryReply *) {
    std::optional<IpFilterEntry> entry = Decode(request.entry());
    if (!entry) return Result::kInvalidParameter;
    return call.hsm.ipFilter.Remove(RequesterOf(call), *entry);
}

Result HandleSetIpFilterEnabled(Call &call, const pb::SetIpFilterEnabled &request,
                                pb::SetIpFilterEnabledReply *) {
    return call.hsm.ipFilter.SetEnabled(RequesterOf(call), request.enabled());
}

}  // namespace

void RegisterIpFilterService(DispatchTable &table) {
    table.Add<&pb::Request::get_ip_filter, &pb::Response::mutable_get_ip_filter>(
        HandleGetIpFilter, Needs::Acl(pb::ACL_REMOTE_INFO), kNormalSessions);
    table.Add<&pb::Request::add_ip_filter_entry, &pb::Response::mutable_add_ip_filter_entry>(
        HandleAddIpFilterEntry, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::remove_ip_filter_entry, &pb::Response::mutable_remove_ip_filter_entry>(
        HandleRemoveIpFilterEntry, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::set_ip_filter_enabled, &pb::Response::mutable_set_ip_filter_enabled>(
        HandleSetIpFilterEnabled, Needs::Operator(), kNormalSessions);
}

}  // namespace sim
