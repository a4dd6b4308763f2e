// Menus under "Keys/Objects": generation, import, export, permissions and key backup.
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"
#include "keys/key_actions.h"

using namespace menu_table;
namespace titles = menu_titles;

namespace {

// clang-format off
constexpr MenuEntry kGenerateMenu[] = {
    Title(0, "Symmetric keys"),
    Action(0, "DES", kAnyone, GenerateDesAction),
    Action(0, "3DES", kAnyone, GenerateTripleDesAction),
    Action(0, "DESX", kAnyone, GenerateDesxAction),
    Action(0, "AES", kAnyone, GenerateAesAction),
    Action(0, "ARC4", kAnyone, GenerateArc4Action),
    Action(0, "ARC5", kAnyone, GenerateArc5Action),
    Action(0, "HMAC", kAnyone, GenerateHmacAction),
    Title(1, "Asymmetric keys"),
    Action(1, "RSA", kAnyone, GenerateRsaAction),
    Action(1, "ECC", kAnyone, GenerateEccAction),
    Action(1, "ECX", kAnyone, GenerateEcxAction, FirmwareHasEdwardsCurves),
    Title(2, "Objects"),
    Action(2, "MAP", kAnyone, CreateMapAction),
    Action(2, "PKCS11 MAP", kAnyone, CreatePkcs11MapAction, LegacyOptions),
};

constexpr MenuEntry kPermissionsMenu[] = {
    Title(0, ""),
    Action(0, "Add", kAnyone, NotAvailableAction),
    Action(0, "Remove", kAnyone, NotAvailableAction),
    Action(0, "List Trustees", kAnyone, NotAvailableAction),
    Action(0, "List Trusters", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kKeyBackupMenu[] = {
    Title(0, ""),
    Action(0, "Backup", kAnyone, NotAvailableAction),
    Action(0, "Restore", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kImportMenu[] = {
    Title(0, ""),
    Nested(0, "Symmetric Keys", kAnyone, BuildImportSymmetricMenu, titles::kImportSymmetric),
    Nested(0, "Asymmetric Keys", kAnyone, BuildImportAsymmetricMenu, titles::kImportAsymmetric),
    Nested(0, "Others", kAnyone, BuildImportOthersMenu, titles::kImportOthers),
};

// "TR-31" is one action for symmetric and asymmetric keys alike.
constexpr MenuEntry kImportSymmetricMenu[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "Clear Text Key", kAnyone, ImportClearKeyAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kImportAsymmetricMenu[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "PKCS#1", kAnyone, NotAvailableAction),
    Action(0, "PKCS#8", kAnyone, NotAvailableAction),
    Action(0, "PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "Public Key", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kImportOthersMenu[] = {
    Title(0, ""),
    Action(0, "Certificate", kAnyone, NotAvailableAction),
    Action(0, "PKCS#7", kAnyone, NotAvailableAction),
    Action(0, "File", kAnyone, NotAvailableAction),
    Action(0, "PSKC Translate", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kExportMenu[] = {
    Title(0, ""),
    Nested(0, "Symmetric Keys", kAnyone, BuildExportSymmetricMenu, titles::kExportSymmetric),
    Nested(0, "Asymmetric Keys", kAnyone, BuildExportAsymmetricMenu, titles::kExportAsymmetric),
    Action(0, "Certificate / PKCS#7 / File", kAnyone, NotAvailableAction),
    Nested(0, "BYOK", kAnyone, BuildExportByokMenu, titles::kExportByok),
};

// "With KEK" is one action for symmetric and asymmetric keys alike.
constexpr MenuEntry kExportSymmetricMenu[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "Clear Text Key", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kExportAsymmetricMenu[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "PKCS#1", kAnyone, NotAvailableAction),
    Action(0, "PKCS#8", kAnyone, NotAvailableAction),
    Action(0, "PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kExportByokMenu[] = {
    Title(0, ""),
    Action(0, "Azure", kAnyone, NotAvailableAction),
    Action(0, "AWS", kAnyone, NotAvailableAction),
};
// clang-format on

}  // namespace

int BuildGenerateMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kGenerate, kGenerateMenu);
}

int BuildPermissionsMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kPermissions, kPermissionsMenu);
}

int BuildKeyBackupMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kKeyBackup, kKeyBackupMenu);
}

int BuildImportMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kImport, kImportMenu);
}

int BuildImportSymmetricMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kImportSymmetric, kImportSymmetricMenu);
}

int BuildImportAsymmetricMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kImportAsymmetric, kImportAsymmetricMenu);
}

int BuildImportOthersMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kImportOthers, kImportOthersMenu);
}

int BuildExportMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kExport, kExportMenu);
}

int BuildExportSymmetricMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kExportSymmetric, kExportSymmetricMenu);
}

int BuildExportAsymmetricMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kExportAsymmetric, kExportAsymmetricMenu);
}

int BuildExportByokMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kExportByok, kExportByokMenu);
}
