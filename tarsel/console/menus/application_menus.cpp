// Menus under "HSM" for its applications: SPB, EFT, safe keeping, smart cards, blockchain
// and tests.
#include "apps/import_key_components.h"
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"

using namespace menu_table;
namespace titles = menu_titles;

namespace {

// clang-format off
constexpr MenuEntry kSpbMenu[] = {
    Title(0, ""),
    Action(0, "Generate Key", kAnyone, NotAvailableAction),
    Action(0, "Generate PKCS#10 CSR", kAnyone, NotAvailableAction),
    Action(0, "Import Certificate", kAnyone, NotAvailableAction),
    Action(0, "Import PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "Export PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "Import PKCS#8", kAnyone, NotAvailableAction),
    Action(0, "Activate Certificate", kAnyone, NotAvailableAction),
    Action(0, "Get Certificate", kAnyone, NotAvailableAction),
    Action(0, "Encode Message", kAnyone, NotAvailableAction),
    Action(0, "Decode Message", kAnyone, NotAvailableAction),
    Action(0, "Dump Message", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kEftMenu[] = {
    Title(0, ""),
    Nested(0, "Import Key...", kAnyone, BuildEftImportKeyMenu, titles::kEftImportKey),
    Nested(0, "Export Key...", kAnyone, BuildEftExportKeyMenu, titles::kEftExportKey),
    Action(0, "EMV CSR", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kEftImportKeyMenu[] = {
    Title(0, ""),
    Action(0, "With KEK DES/3DES", kAnyone, NotAvailableAction),
    Action(0, "Key Components", kAnyone, ImportKeyComponentsAction),
};

constexpr MenuEntry kEftExportKeyMenu[] = {
    Title(0, ""),
    Action(0, "With KEK DES/3DES", kAnyone, NotAvailableAction),
    Action(0, "Key Components", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kSafeKeepingMenu[] = {
    Title(0, ""),
    Action(0, "Info", kAnyone, NotAvailableAction),
    Action(0, "New", kAnyone, NotAvailableAction),
    Action(0, "Split", kAnyone, NotAvailableAction),
    Action(0, "Recover", kAnyone, NotAvailableAction),
    Action(0, "Match", kAnyone, NotAvailableAction),
    Action(0, "Remove", kAnyone, NotAvailableAction),
};

// "Create Server Master Key" and "Create Partition Auth Seth" are one action.
constexpr MenuEntry kSmartCardMenu[] = {
    Title(0, ""),
    Action(0, "Inspect", kAnyone, NotAvailableAction),
    Action(0, "Change PIN", kAnyone, NotAvailableAction),
    Action(0, "Create Server Master Key", kAnyone, NotAvailableAction),
    Action(0, "Erase", kAnyone, NotAvailableAction),
    Action(0, "Create Partition Auth Seth", kAnyone, NotAvailableAction),
    Action(0, "Get Label", kAnyone, NotAvailableAction),
    Action(0, "Copy Set", kAnyone, NotAvailableAction),
    Action(0, "Copy Card", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kBlockchainMenu[] = {
    Title(0, ""),
    Action(0, "Sign", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kTestsMenu[] = {
    Title(0, ""),
    Action(0, "Symmetric", kAnyone, NotAvailableAction),
    Action(0, "Asymmetric", kAnyone, NotAvailableAction),
    Action(0, "RNG", kAnyone, NotAvailableAction),
    Action(0, "Hashing", kAnyone, NotAvailableAction),
    Action(0, "XML", kAnyone, NotAvailableAction),
    Action(0, "CVV", kAnyone, NotAvailableAction),
    Action(0, "PKCS#7", kAnyone, NotAvailableAction),
    Action(0, "OATH check", kAnyone, NotAvailableAction),
    Action(0, "SVault", kAnyone, NotAvailableAction),
};
// clang-format on

}  // namespace

int BuildSpbMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kSpb, kSpbMenu);
}

int BuildEftMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kEft, kEftMenu);
}

int BuildEftImportKeyMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kEftImportKey, kEftImportKeyMenu);
}

int BuildEftExportKeyMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kEftExportKey, kEftExportKeyMenu);
}

int BuildSafeKeepingMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kSafeKeeping, kSafeKeepingMenu);
}

int BuildSmartCardMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kSmartCard, kSmartCardMenu);
}

int BuildBlockchainMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kBlockchain, kBlockchainMenu);
}

int BuildTestsMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kTests, kTestsMenu);
}
