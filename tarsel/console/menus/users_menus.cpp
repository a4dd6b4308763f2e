// Menus under "Users".
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"

using namespace menu_table;
namespace titles = menu_titles;

namespace {

// clang-format off
constexpr MenuEntry kAccessTokensMenu[] = {
    Title(0, ""),
    Action(0, "Info", kAclHsmOperation, NotAvailableAction),
    Action(0, "Issue", kAnyone, NotAvailableAction),
    Action(0, "Revoke", kAnyone, NotAvailableAction),
    Action(0, "Details", kAnyone, NotAvailableAction),
    Action(0, "List", kAnyone, NotAvailableAction),
    Action(0, "Run GC", kAclHsmOperation, NotAvailableAction),
};
// clang-format on

}  // namespace

int BuildAccessTokensMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kAccessTokens, kAccessTokensMenu);
}
