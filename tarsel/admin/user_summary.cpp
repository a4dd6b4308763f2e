#include "admin/user_summary.h"

#include <cstring>
#include <span>

#include "app/process_state.h"
#include "apps/mofn_status.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/algorithm_tables.h"

namespace {

const char *YesNo(bool value) {
    return value ? "yes" : "no";
}

const char *SecondFactorName(uint32_t acl) {
    if ((acl & Q_ACL_OATH_2FA) != 0) return "OATH";
    if ((acl & Q_ACL_X509_2FA) != 0) return "X.509";
    return "no";
}

// The per-type counts of a partition; the entries are the library's and freed with it.
struct ObjectCounts {
    uint32_t rc = Q_OK;
    LibraryMemory<QObjectCountEntry> entries;
    size_t count = 0;

    std::span<const QObjectCountEntry> View() const { return {entries.Get(), count}; }
};

ObjectCounts ReadObjectCounts(QSessionHandle session, const char *userId) {
    QObjectCountQuery query{};
    strncpy(query.userId, userId, sizeof query.userId - 1);
    uint32_t length = sizeof query;
    ObjectCounts counts;
    counts.rc = QGetUserParam(session, Q_USER_PARAM_OBJECT_COUNT, &query, &length, 0);
    counts.entries = LibraryMemory<QObjectCountEntry>(query.entries);
    if (counts.rc == Q_OK) counts.count = size_t(query.entryCount);
    return counts;
}

}  // namespace

bool ReadUserBlocked(QSessionHandle session, const char *userId) {
    QUserStatusRecord status{};
    strncpy(status.userId, userId, sizeof status.userId - 1);
    uint32_t length = sizeof status;
    if (QGetUserParam(session, Q_USER_PARAM_BLOCK, &status, &length, 0) != Q_OK) return false;
    return status.blocked != 0;
}

void ShowUserSummary(QSessionHandle session, const char *userId, uint32_t acl, bool blocked) {
    const bool isOperator = (acl & Q_ACL_OPERATOR) != 0;
    OutPrintf("\n%-21s - %s\n", "Type", isOperator ? "Operator" : "User");
    OutPrintf("%-21s - %s\n", "Blocked", YesNo(blocked));
    (void)ShowMofNStatus(session, userId, acl);  // reports its own failure
    OutPrintf("%-21s - %s\n", "Local-crypto", YesNo((acl & Q_ACL_LOCAL_CRYPTO) != 0));
    OutPrintf("%-21s - %s\n", "Two Factor Auth", SecondFactorName(acl));
}

uint32_t ReadUserObjectTotal(QSessionHandle session, const char *userId, uint64_t *total) {
    const ObjectCounts counts = ReadObjectCounts(session, userId);
    if (counts.rc != Q_OK) return counts.rc;
    *total = 0;
    for (const QObjectCountEntry &entry : counts.View())
        *total += entry.count;
    return Q_OK;
}

void ShowUserObjects(QSessionHandle session, const char *userId) {
    if (!gState.fwAtLeast_5_0_32_0) return;
    const ObjectCounts counts = ReadObjectCounts(session, userId);
    if (counts.rc != Q_OK) return;
    OutPrintf("\nObjects: \n\n");
    unsigned long long total = 0;
    for (const QObjectCountEntry &entry : counts.View()) {
        OutPrintf(" %-20s - %llu\n", AlgorithmName(entry.objectType),
                  static_cast<unsigned long long>(entry.count));
        total += entry.count;
    }
    OutPrintf("\n %-20s - %llu\n", "TOTAL", total);
}
