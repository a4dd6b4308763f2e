#pragma once
// Readable texts of the PKCS#11 attribute values that a map shows on the key information
// screen. The values are the standard PKCS#11 constants; one without a name shows in
// hexadecimal ("0x%08X").

#include <cstdint>
#include <string>

// CKA_CLASS: "CKO_SECRET_KEY" and the like.
std::string Pkcs11ClassName(uint32_t objectClass);

// A CK_BBOOL: "CK_FALSE" for 0, "CK_TRUE" for any other value.
const char *Pkcs11BoolText(uint8_t value);

// CKA_ID in hexadecimal, "none" when empty. Reads at most `capacity` bytes whatever
// `length` claims, since the length comes from the HSM.
std::string Pkcs11IdText(const uint8_t *id, uint32_t length, uint32_t capacity);

// CKA_CERTIFICATE_CATEGORY: "CK_CERTIFICATE_CATEGORY_UNSPECIFIED" and the like.
std::string CertificateCategoryName(uint32_t category);

// CKA_JAVA_MIDP_SECURITY_DOMAIN: "CK_SECURITY_DOMAIN_UNSPECIFIED" and the like.
std::string SecurityDomainName(uint32_t domain);

// CKA_KEY_GEN_MECHANISM: "CKM_AES_KEY_GEN" and the like, "unavailable" for an imported key
// (Q_CK_UNAVAILABLE).
std::string KeyGenMechanismName(uint32_t mechanism);
