// Menus under "Keys/Objects": generation, import, export, permissions and key backup.
#include "console/menus/menu_table.h"
#include "keys/key_actions.h"

using namespace menu_table;

namespace {

constexpr MenuEntry kGenerateItems[] = {
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

constexpr MenuEntry kPermissionsItems[] = {
    Title(0, ""),
    Action(0, "Add", kAnyone, NotAvailableAction),
    Action(0, "Remove", kAnyone, NotAvailableAction),
    Action(0, "List Trustees", kAnyone, NotAvailableAction),
    Action(0, "List Trusters", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kKeyBackupItems[] = {
    Title(0, ""),
    Action(0, "Backup", kAnyone, BackupObjectAction),
    Action(0, "Restore", kAnyone, RestoreObjectAction),
};

// "TR-31" is one action for symmetric and asymmetric keys alike.
constexpr MenuEntry kImportSymmetricItems[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "Clear Text Key", kAnyone, ImportClearKeyAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kImportSymmetricMenu =
    DefineMenu("Keys/Objects - Import - Symmetric Keys", kImportSymmetricItems);

constexpr MenuEntry kImportAsymmetricItems[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "PKCS#1", kAnyone, NotAvailableAction),
    Action(0, "PKCS#8", kAnyone, NotAvailableAction),
    Action(0, "PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "Public Key", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kImportAsymmetricMenu =
    DefineMenu("Keys/Objects - Import - Asymmetric Keys", kImportAsymmetricItems);

constexpr MenuEntry kImportOthersItems[] = {
    Title(0, ""),
    Action(0, "Certificate", kAnyone, NotAvailableAction),
    Action(0, "PKCS#7", kAnyone, NotAvailableAction),
    Action(0, "File", kAnyone, NotAvailableAction),
    Action(0, "PSKC Translate", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kImportOthersMenu =
    DefineMenu("Keys/Objects - Import - Others", kImportOthersItems);

constexpr MenuEntry kImportItems[] = {
    Title(0, ""),
    Nested(0, "Symmetric Keys", kAnyone, kImportSymmetricMenu),
    Nested(0, "Asymmetric Keys", kAnyone, kImportAsymmetricMenu),
    Nested(0, "Others", kAnyone, kImportOthersMenu),
};

// "With KEK" is one action for symmetric and asymmetric keys alike.
constexpr MenuEntry kExportSymmetricItems[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "Clear Text Key", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kExportSymmetricMenu =
    DefineMenu("Keys/Objects - Export - Symmetric Keys", kExportSymmetricItems);

constexpr MenuEntry kExportAsymmetricItems[] = {
    Title(0, ""),
    Action(0, "With KEK", kAnyone, NotAvailableAction),
    Action(0, "PKCS#1", kAnyone, NotAvailableAction),
    Action(0, "PKCS#8", kAnyone, NotAvailableAction),
    Action(0, "PKCS#12", kAnyone, NotAvailableAction),
    Action(0, "TR-31", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kExportAsymmetricMenu =
    DefineMenu("Keys/Objects - Export - Asymmetric Keys", kExportAsymmetricItems);

constexpr MenuEntry kExportByokItems[] = {
    Title(0, ""),
    Action(0, "Azure", kAnyone, NotAvailableAction),
    Action(0, "AWS", kAnyone, NotAvailableAction),
};
constexpr MenuDefinition kExportByokMenu =
    DefineMenu("Keys/Objects - Export - BYOK", kExportByokItems);

constexpr MenuEntry kExportItems[] = {
    Title(0, ""),
    Nested(0, "Symmetric Keys", kAnyone, kExportSymmetricMenu),
    Nested(0, "Asymmetric Keys", kAnyone, kExportAsymmetricMenu),
    Action(0, "Certificate / PKCS#7 / File", kAnyone, NotAvailableAction),
    Nested(0, "BYOK", kAnyone, kExportByokMenu),
};

}  // namespace

constexpr MenuDefinition kGenerateMenu = DefineMenu("Keys/Objects - Generate", kGenerateItems);
constexpr MenuDefinition kImportMenu = DefineMenu("Keys/Objects - Import", kImportItems);
constexpr MenuDefinition kExportMenu = DefineMenu("Keys/Objects - Export", kExportItems);
constexpr MenuDefinition kPermissionsMenu =
    DefineMenu("Keys/Objects - Permissions", kPermissionsItems);
constexpr MenuDefinition kKeyBackupMenu = DefineMenu("Keys/Objects - Key Backup", kKeyBackupItems);
