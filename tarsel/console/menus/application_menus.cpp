// Menus under "HSM" for its applications: SPB, EFT, safe keeping, smart cards, blockchain
// and tests.
#include "apps/cvv.h"
#include "apps/eftd_config.h"
#include "apps/emv_csr.h"
#include "apps/export_key_components.h"
#include "apps/import_key_components.h"
#include "apps/kek_key_exchange.h"
#include "apps/safe_keeping.h"
#include "apps/smart_card_actions.h"
#include "apps/test_actions.h"
#include "console/menus/menu_table.h"

using namespace menu_table;

namespace {

constexpr MenuEntry kSpbItems[] = {
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

constexpr MenuEntry kEftImportKeyItems[] = {
    Title(0, ""),
    Action(0, "With KEK DES/3DES", kAnyone, ImportKeyWithKekAction),
    Action(0, "Key Components", kAnyone, ImportKeyComponentsAction),
};
constexpr MenuDefinition kEftImportKeyMenu =
    DefineMenu("HSM - EFT - Import Key", kEftImportKeyItems);

constexpr MenuEntry kEftExportKeyItems[] = {
    Title(0, ""),
    Action(0, "With KEK DES/3DES", kAnyone, ExportKeyWithKekAction),
    Action(0, "Key Components", kAnyone, ExportKeyComponentsAction),
};
constexpr MenuDefinition kEftExportKeyMenu =
    DefineMenu("HSM - EFT - Export Key", kEftExportKeyItems);

constexpr MenuEntry kEftItems[] = {
    Title(0, ""),
    Nested(0, "Import Key...", kAnyone, kEftImportKeyMenu),
    Nested(0, "Export Key...", kAnyone, kEftExportKeyMenu),
    Action(0, "EMV CSR", kAnyone, EmvCsrAction),
    Action(0, "EFTd Config", kAnyone, EftdConfigScreen, FirmwareHasEftDaemon),
};

constexpr MenuEntry kSafeKeepingItems[] = {
    Title(0, ""),
    Action(0, "Info", kAnyone, SecretInfoAction),
    Action(0, "New", kAnyone, NewSecret),
    Action(0, "Split", kAnyone, SplitSecret),
    Action(0, "Recover", kAnyone, RecoverSecret),
    Action(0, "Match", kAnyone, MatchSecret),
    Action(0, "Remove", kAnyone, RemoveSecret),
};

// "Create Server Master Key" and "Create Partition Auth Seth" are one action.
constexpr MenuEntry kSmartCardItems[] = {
    Title(0, ""),
    Action(0, "Inspect", kAnyone, InspectCard),
    Action(0, "Change PIN", kAnyone, ChangeCardPin),
    Action(0, "Create Server Master Key", kAnyone, CreateCardSet),
    Action(0, "Erase", kAnyone, EraseCard),
    Action(0, "Create Partition Auth Seth", kAnyone, CreateCardSet),
    Action(0, "Get Label", kAnyone, GetCardLabel),
    Action(0, "Copy Set", kAnyone, CopyCardSet),
    Action(0, "Copy Card", kAnyone, CopyCard),
};

constexpr MenuEntry kBlockchainItems[] = {
    Title(0, ""),
    Action(0, "Sign", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kTestsItems[] = {
    Title(0, ""),
    Action(0, "Symmetric", kAnyone, NotAvailableAction),
    Action(0, "Asymmetric", kAnyone, NotAvailableAction),
    Action(0, "RNG", kAnyone, GetRandomBytes),
    Action(0, "Hashing", kAnyone, NotAvailableAction),
    Action(0, "XML", kAnyone, NotAvailableAction),
    Action(0, "CVV", kAnyone, CvvAction),
    Action(0, "PKCS#7", kAnyone, NotAvailableAction),
    Action(0, "OATH check", kAnyone, NotAvailableAction),
    Action(0, "SVault", kAnyone, NotAvailableAction),
};

}  // namespace

constexpr MenuDefinition kSpbMenu = DefineMenu("HSM - SPB", kSpbItems);
constexpr MenuDefinition kEftMenu = DefineMenu("HSM - EFT", kEftItems);
constexpr MenuDefinition kSafeKeepingMenu = DefineMenu("HSM - Safe Keeping", kSafeKeepingItems);
constexpr MenuDefinition kSmartCardMenu = DefineMenu("HSM - Smart-card", kSmartCardItems);
constexpr MenuDefinition kBlockchainMenu = DefineMenu("HSM - Blockchain", kBlockchainItems);
constexpr MenuDefinition kTestsMenu = DefineMenu("HSM - Tests", kTestsItems);
