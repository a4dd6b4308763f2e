// The PKCS#11 map lines of the key information screen.
#include <algorithm>

#include "console/prompts.h"
#include "keys/key_generation.h"
#include "keys/key_info_sections.h"
#include "keys/key_info_text.h"
#include "keys/pkcs11_attribute_text.h"

uint32_t ShowPkcs11MapSection(QSessionHandle session, const char *mapName) {
    QPkcs11MapDetails details{};
    const uint32_t status =
        QGetPkcs11Map(session, mapName, Q_PKCS11_MAP_LEVEL_FULL, 0, &details.info);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    const std::string associate = FieldText(details.associate, sizeof details.associate);
    PrintInfoLine("Target : ", FieldText(details.info.target, sizeof details.info.target));
    PrintInfoLine("Associate : ", associate.empty() ? "none" : associate);
    PrintInfoLine("CKA_CLASS : ", Pkcs11ClassName(details.objectClass));
    PrintInfoLine("CKA_APPLICATION : ", FieldText(details.application, sizeof details.application));
    PrintInfoLine("CKA_LABEL : ", FieldText(details.info.label, sizeof details.info.label));
    PrintInfoLine("CKA_ID : ", Pkcs11IdText(details.id, details.idLength, sizeof details.id));
    PrintInfoLine("CKA_TRUSTED : ", Pkcs11BoolText(details.trusted));
    PrintInfoLine("CKA_WRAP_WITH_TRUSTED : ", Pkcs11BoolText(details.wrapWithTrusted));
    PrintInfoLine("CKA_LOCAL : ", Pkcs11BoolText(details.local));
    PrintInfoLine("CKA_CERTIFICATE_CATEGORY : ",
                  CertificateCategoryName(details.certificateCategory));
    PrintInfoLine("CKA_JAVA_MIDP_SECURITY_DOMAIN : ",
                  SecurityDomainName(details.javaMidpSecurityDomain));
    PrintInfoLine("CKA_KEY_GEN_MECHANISM : ", KeyGenMechanismName(details.keyGenMechanism), true);
    return 0;
}

uint32_t ShowMapOfObject(QSessionHandle session, QKeyHandle key) {
    char mapName[kObjectNameSize] = {};
    uint32_t length = sizeof mapName;
    const uint32_t status = QGetKeyParam(key, Q_KEY_PARAM_PKCS11_MAP, mapName, &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    const std::string name = FieldText(mapName, std::min<size_t>(length, sizeof mapName));
    if (name.empty()) return 0;
    OutPrintf("\n");
    PrintInfoLine("PKCS#11 map : ", name);
    return ShowPkcs11MapSection(session, name.c_str());
}
