#include <gtest/gtest.h>

#include <string>

#include "admin/system_permissions.h"
#include "apps/mofn_status.h"
#include "qelvoarc.h"
#include "typed_terminal.h"

namespace {

struct Asked {
    uint32_t acl;
    std::string out;
};

Asked Ask(uint32_t allowed, uint32_t acl, const std::string &typed) {
    TypedTerminal terminal(typed);
    AskPermissions(allowed, &acl);
    return {acl, terminal->out};
}

TEST(AdminPermissions, AnOperatorIsAskedEveryPermissionWithTheCurrentBitAsDefault) {
    const Asked asked = Ask(Q_ACL_OPERATOR, Q_ACL_REMOTE_INFO | Q_ACL_FIRMWARE, "\nn\n\ny\nn\n");
    EXPECT_EQ(asked.out,
              "Create/Remove Users (y/[n]): List Users (y/[n]): Remote Info ([y]/n): "
              "Backup/Restore (y/[n]): Firmware Update ([y]/n): ");
    EXPECT_EQ(asked.acl, Q_ACL_REMOTE_INFO | Q_ACL_BACKUP);
}

TEST(AdminMofNStatus, NamesStatesAndPermissionsInTheirFixedOrder) {
    EXPECT_STREQ(MofNStateName(0), "State unknown - Error");
    EXPECT_STREQ(MofNStateName(4), "Authorized");
    EXPECT_STREQ(MofNStateName(5), "Invalid state");

    char text[64];
    EXPECT_STREQ(MofNPermissionList(0, text), "None");
    EXPECT_STREQ(MofNPermissionList(0x1F, text), "Read, Export, Destroy, Block, Partition Remove");
    EXPECT_STREQ(MofNPermissionList(0x10 | 0x01, text), "Destroy, Partition Remove");

    // Without the M of N right nothing is read from the HSM: no session is needed.
    TypedTerminal terminal;
    EXPECT_EQ(ShowMofNStatus(0, "alice", Q_ACL_LIST_USERS), Q_OK);
    EXPECT_EQ(terminal->out, "Partition M of N auth - no\n");
}

}  // namespace
