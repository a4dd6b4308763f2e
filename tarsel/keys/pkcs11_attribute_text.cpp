#include "keys/pkcs11_attribute_text.h"

#include <algorithm>
#include <cstdio>

#include "keys/key_info_text.h"
#include "qelvoarc.h"

namespace {

struct NamedValue {
    uint32_t value;
    const char *name;
};

// Values of PKCS#11 v3.0 (pkcs11t.h).
constexpr NamedValue kClasses[] = {
    {0x0, "CKO_DATA"},
    {0x1, "CKO_CERTIFICATE"},
    {0x2, "CKO_PUBLIC_KEY"},
    {0x3, "CKO_PRIVATE_KEY"},
    {0x4, "CKO_SECRET_KEY"},
    {0x5, "CKO_HW_FEATURE"},
    {0x6, "CKO_DOMAIN_PARAMETERS"},
    {0x7, "CKO_MECHANISM"},
    {0x8, "CKO_OTP_KEY"},
};

constexpr NamedValue kCertificateCategories[] = {
    {0, "CK_CERTIFICATE_CATEGORY_UNSPECIFIED"},
    {1, "CK_CERTIFICATE_CATEGORY_TOKEN_USER"},
    {2, "CK_CERTIFICATE_CATEGORY_AUTHORITY"},
    {3, "CK_CERTIFICATE_CATEGORY_OTHER_ENTITY"},
};

constexpr NamedValue kSecurityDomains[] = {
    {0, "CK_SECURITY_DOMAIN_UNSPECIFIED"},
    {1, "CK_SECURITY_DOMAIN_MANUFACTURER"},
    {2, "CK_SECURITY_DOMAIN_OPERATOR"},
    {3, "CK_SECURITY_DOMAIN_THIRD_PARTY"},
};

// The key generation mechanisms: what CKA_KEY_GEN_MECHANISM can hold.
constexpr NamedValue kKeyGenMechanisms[] = {
    {0x0000, "CKM_RSA_PKCS_KEY_PAIR_GEN"},
    {0x000A, "CKM_RSA_X9_31_KEY_PAIR_GEN"},
    {0x0010, "CKM_DSA_KEY_PAIR_GEN"},
    {0x0020, "CKM_DH_PKCS_KEY_PAIR_GEN"},
    {0x0030, "CKM_X9_42_DH_KEY_PAIR_GEN"},
    {0x0100, "CKM_RC2_KEY_GEN"},
    {0x0110, "CKM_RC4_KEY_GEN"},
    {0x0120, "CKM_DES_KEY_GEN"},
    {0x0130, "CKM_DES2_KEY_GEN"},
    {0x0131, "CKM_DES3_KEY_GEN"},
    {0x0330, "CKM_RC5_KEY_GEN"},
    {0x0350, "CKM_GENERIC_SECRET_KEY_GEN"},
    {0x1040, "CKM_EC_KEY_PAIR_GEN"},
    {0x1055, "CKM_EC_EDWARDS_KEY_PAIR_GEN"},
    {0x1056, "CKM_EC_MONTGOMERY_KEY_PAIR_GEN"},
    {0x1080, "CKM_AES_KEY_GEN"},
};

template <size_t N>
std::string NameOrHex(const NamedValue (&table)[N], uint32_t value) {
    const auto *row = std::find_if(std::begin(table), std::end(table),
                                   [value](const NamedValue &r) { return r.value == value; });
    if (row != std::end(table)) return row->name;
    char hex[16];
    snprintf(hex, sizeof hex, "0x%08X", value);
    return hex;
}

}  // namespace

std::string Pkcs11ClassName(uint32_t objectClass) {
    return NameOrHex(kClasses, objectClass);
}

const char *Pkcs11BoolText(uint8_t value) {
    return value != 0 ? "CK_TRUE" : "CK_FALSE";
}

std::string Pkcs11IdText(const uint8_t *id, uint32_t length, uint32_t capacity) {
    const uint32_t used = std::min(length, capacity);
    return used == 0 ? "none" : HexText(id, used);
}

std::string CertificateCategoryName(uint32_t category) {
    return NameOrHex(kCertificateCategories, category);
}

std::string SecurityDomainName(uint32_t domain) {
    return NameOrHex(kSecurityDomains, domain);
}

std::string KeyGenMechanismName(uint32_t mechanism) {
    if (mechanism == Q_CK_UNAVAILABLE) return "unavailable";
    return NameOrHex(kKeyGenMechanisms, mechanism);
}
