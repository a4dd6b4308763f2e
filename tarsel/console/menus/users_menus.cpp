// Menus under "Users".
#include "admin/access_token_actions.h"
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"

using namespace menu_table;
namespace titles = menu_titles;

namespace {

// clang-format off
constexpr MenuEntry kAccessTokensMenu[] = {
    Title(0, ""),
    Action(0, "Info", Q_ACL_REMOTE_INFO, ShowTokenInfo),
    Action(0, "Issue", kAnyone, IssueToken),
    Action(0, "Revoke", kAnyone, RevokeToken),
    Action(0, "Details", kAnyone, ShowTokenDetails),
    Action(0, "List", kAnyone, ListTokens),
    Action(0, "Run GC", Q_ACL_REMOTE_INFO, RunTokenGc),
};
// clang-format on

}  // namespace

int BuildAccessTokensMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kAccessTokens, kAccessTokensMenu);
}
