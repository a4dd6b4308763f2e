// "List": every account with its type, permissions and object count.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "admin/user_actions.h"
#include "admin/user_dialogs.h"
#include "admin/user_summary.h"
#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr const char *kRowFormat = "%-32s%-11s%-4s%-4s%-4s%-4s%-4s%16s\n";

struct Listing {
    QSessionHandle session;
    std::vector<std::array<char, kUserIdBuffer>> users;
    uint32_t rc = Q_OK;
};

const char *YesNo(uint32_t acl, uint32_t bit) {
    return (acl & bit) != 0 ? "yes" : "no";
}

void PrintUserRow(QSessionHandle session, const char *userId, uint32_t acl) {
    char objects[24] = "-";
    uint64_t total = 0;
    if (gState.fwAtLeast_5_0_32_0 && ReadUserObjectTotal(session, userId, &total) == Q_OK) {
        snprintf(objects, sizeof objects, "%llu", static_cast<unsigned long long>(total));
    }
    if ((acl & Q_ACL_OPERATOR) != 0) {
        OutPrintf(kRowFormat, userId, "Operator", "", "", "", "", "", objects);
        return;
    }
    OutPrintf(kRowFormat, userId, "User", YesNo(acl, Q_ACL_CREATE_USERS),
              YesNo(acl, Q_ACL_LIST_USERS), YesNo(acl, Q_ACL_REMOTE_INFO), YesNo(acl, Q_ACL_BACKUP),
              YesNo(acl, Q_ACL_FIRMWARE), objects);
}

// Rows are printed once the whole list has arrived; after the first failed ACL read no
// further row is printed and that failure is the listing's result.
void PrintRows(Listing *listing) {
    for (const auto &user : listing->users) {
        uint32_t acl = 0;
        const uint32_t rc = QGetUserAcl(listing->session, user.data(), &acl);
        if (rc != Q_OK) {
            listing->rc = rc;
            return;
        }
        PrintUserRow(listing->session, user.data(), acl);
    }
}

uint32_t CollectUser(const char *name, void *context, int isFinal) {
    auto *listing = static_cast<Listing *>(context);
    if (isFinal) {
        PrintRows(listing);
        return listing->rc;
    }
    std::array<char, kUserIdBuffer> user{};
    strncpy(user.data(), name, kUserIdChars);
    listing->users.push_back(user);
    return Q_OK;
}

}  // namespace

int32_t ListUsers(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf(kRowFormat, "User", "Type", "Crt", "Lst", "Log", "Bkp", "Frw", "Objs");
    OutPrintf("%s\n", std::string(79, '=').c_str());

    Listing listing{session, {}, Q_OK};
    uint32_t rc = QListUsers(session, CollectUser, &listing);
    if (rc == Q_OK) rc = listing.rc;
    OutPrintf("\n%s%d\n ", "Total of users: ", int(listing.users.size()));
    if (rc != Q_OK) PrintError("Error listing users.", rc);
    return int32_t(rc);
}
