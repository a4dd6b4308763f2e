// Menus under "Users".
#include "admin/access_token_actions.h"
#include "console/menus/menu_table.h"

using namespace menu_table;

namespace {

constexpr MenuEntry kAccessTokensItems[] = {
    Title(0, ""),
    Action(0, "Info", Q_ACL_REMOTE_INFO, ShowTokenInfo),
    Action(0, "Issue", kAnyone, IssueToken),
    Action(0, "Revoke", kAnyone, RevokeToken),
    Action(0, "Details", kAnyone, ShowTokenDetails),
    Action(0, "List", kAnyone, ListTokens),
    Action(0, "Run GC", Q_ACL_REMOTE_INFO, RunTokenGc),
};

}  // namespace

constexpr MenuDefinition kAccessTokensMenu =
    DefineMenu("Users - Access Tokens", kAccessTokensItems);
