// Texts of the key information screen: PKCS#11 attribute names and certificate dates.
#include <gtest/gtest.h>

#include <cstdint>

#include "keys/key_info_text.h"
#include "keys/pkcs11_attribute_text.h"
#include "qelvoarc.h"

namespace {

TEST(KeysInfoText, Pkcs11ValuesShowByTheirStandardNames) {
    EXPECT_EQ(Pkcs11ClassName(Q_CKO_CERTIFICATE), "CKO_CERTIFICATE");
    EXPECT_EQ(Pkcs11ClassName(Q_CKO_PUBLIC_KEY), "CKO_PUBLIC_KEY");
    EXPECT_EQ(Pkcs11ClassName(Q_CKO_PRIVATE_KEY), "CKO_PRIVATE_KEY");
    EXPECT_EQ(Pkcs11ClassName(0x80000001u), "0x80000001");

    EXPECT_STREQ(Pkcs11BoolText(0), "CK_FALSE");
    EXPECT_STREQ(Pkcs11BoolText(1), "CK_TRUE");
    EXPECT_STREQ(Pkcs11BoolText(0xFF), "CK_TRUE");

    EXPECT_EQ(CertificateCategoryName(0), "CK_CERTIFICATE_CATEGORY_UNSPECIFIED");
    EXPECT_EQ(CertificateCategoryName(3), "CK_CERTIFICATE_CATEGORY_OTHER_ENTITY");
    EXPECT_EQ(CertificateCategoryName(4), "0x00000004");
    EXPECT_EQ(SecurityDomainName(0), "CK_SECURITY_DOMAIN_UNSPECIFIED");
    EXPECT_EQ(SecurityDomainName(3), "CK_SECURITY_DOMAIN_THIRD_PARTY");

    // RSA's mechanism is 0, which must not read as "no mechanism".
    EXPECT_EQ(KeyGenMechanismName(0), "CKM_RSA_PKCS_KEY_PAIR_GEN");
    EXPECT_EQ(KeyGenMechanismName(0x131), "CKM_DES3_KEY_GEN");
    EXPECT_EQ(KeyGenMechanismName(0x1056), "CKM_EC_MONTGOMERY_KEY_PAIR_GEN");
    EXPECT_EQ(KeyGenMechanismName(Q_CK_UNAVAILABLE), "unavailable");
    EXPECT_EQ(KeyGenMechanismName(0x80001234u), "0x80001234");
}

TEST(KeysInfoText, IdIsHexadecimalAndBoundedByItsField) {
    const uint8_t id[4] = {0x01, 0xAB, 0x00, 0xFF};
    EXPECT_EQ(Pkcs11IdText(id, 0, sizeof id), "none");
    EXPECT_EQ(Pkcs11IdText(id, 2, sizeof id), "01AB");
    // A length beyond the field is the HSM's error, not a reason to read past the record.
    EXPECT_EQ(Pkcs11IdText(id, 1000, sizeof id), "01AB00FF");
}

TEST(KeysInfoText, FieldsAndDates) {
    const char full[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(FieldText(full, sizeof full), "abcd");
    EXPECT_EQ(FieldText("ab\0cd", 5), "ab");

    EXPECT_EQ(CertificateDate(0), "1970-Jan-01 00:00:00 UTC +0000");
    // Past 2038, as long-lived certificates are.
    EXPECT_EQ(CertificateDate(4102444799), "2099-Dec-31 23:59:59 UTC +0000");
}

}  // namespace
