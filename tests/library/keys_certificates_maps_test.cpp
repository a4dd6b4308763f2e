// Certificates, PKCS#11 maps and map objects through the library: what is a certificate, the
// attributes a map derives from its target, the map a key or certificate belongs to, and the
// slots of a map object.

#include "keys_fixture.h"

namespace {

class CertificatesAndMapsTest : public KeysTest {
  protected:
    // The full details of a new map `map` of `target`, read back.
    QPkcs11MapDetails Details(const std::string &map, const std::string &target,
                              const char *cert = nullptr) {
        QPkcs11MapDetails details{};
        EXPECT_EQ(QGeneratePkcs11Map(operator_, map.c_str(), target.c_str(), cert, "label", 0),
                  Q_OK);
        EXPECT_EQ(QGetPkcs11Map(operator_, map.c_str(), Q_PKCS11_MAP_LEVEL_FULL, 0, &details.info),
                  Q_OK);
        return details;
    }
};

TEST_F(CertificatesAndMapsTest, DetailsDeriveFromTheTarget) {
    const uint32_t kSecret = Q_CKO_SECRET_KEY, kPrivate = Q_CKO_PRIVATE_KEY;
    const struct {
        uint32_t algorithm, mechanism, objectClass;
    } generated[] = {
        {Q_ALG_DES, 0x120, kSecret},       {Q_ALG_3DES_112, 0x130, kSecret},
        {Q_ALG_3DES_168, 0x131, kSecret},  {Q_ALG_AES_128, 0x1080, kSecret},
        {Q_ALG_ARC4, 0x110, kSecret},      {Q_ALG_ARC5, 0x330, kSecret},
        {Q_ALG_DESX, 0x350, kSecret},      {Q_ALG_HMAC_SHA256, 0x350, kSecret},
        {Q_ALG_RSA_512, 0x0, kPrivate},    {30 /* P-256 */, 0x1040, kPrivate},
        {Q_ALG_ED25519, 0x1055, kPrivate}, {Q_ALG_X25519, 0x1056, kPrivate},
    };
    for (const auto &expected : generated) {
        std::string name = "k" + std::to_string(expected.algorithm);
        Generate(operator_, name, expected.algorithm);
        QPkcs11MapDetails details = Details("map-" + name, name);
        // Copies of the fields: the record is packed.
        EXPECT_EQ(uint32_t{details.keyGenMechanism}, expected.mechanism) << name;
        EXPECT_EQ(uint32_t{details.objectClass}, expected.objectClass) << name;
        EXPECT_EQ(uint32_t{details.idLength}, expected.objectClass == kSecret ? 0u : 20u) << name;
        EXPECT_EQ(details.local, 1) << name;
    }

    ImportDes("imported");
    QPkcs11MapDetails imported = Details("map-imported", "imported");
    EXPECT_EQ(imported.local, 0);
    EXPECT_EQ(uint32_t{imported.keyGenMechanism}, Q_CK_UNAVAILABLE);

    ASSERT_EQ(ImportCertificate("cert", cert_.DerText()), Q_OK);
    QPkcs11MapDetails cert = Details("map-cert", "cert");
    EXPECT_EQ(uint32_t{cert.objectClass}, Q_CKO_CERTIFICATE);
    EXPECT_EQ(std::vector<uint8_t>(cert.id, cert.id + cert.idLength), cert_.keyId);
    EXPECT_EQ(cert.local, 0);
    EXPECT_EQ(uint32_t{cert.keyGenMechanism}, Q_CK_UNAVAILABLE);

    QPkcs11MapDetails tied = Details("tied", "k30", "cert");
    EXPECT_STREQ(tied.info.target, "k30");
    EXPECT_STREQ(tied.info.label, "label");
    EXPECT_STREQ(tied.associate, "cert");
    EXPECT_STREQ(tied.application, "");
    EXPECT_EQ(tied.trusted + tied.wrapWithTrusted + tied.certificateCategory +
                  tied.javaMidpSecurityDomain,
              0u);
    QPkcs11MapInfo basic{};
    ASSERT_EQ(QGetPkcs11Map(operator_, "tied", Q_PKCS11_MAP_LEVEL_BASIC, 0, &basic), Q_OK);
    EXPECT_STREQ(basic.target, "k30");
    EXPECT_EQ(QGetPkcs11Map(operator_, "tied", 3, 0, &basic), Q_ERR_INVALID_PARAMETER);
}

TEST_F(CertificatesAndMapsTest, MapsNeedTheirObjects) {
    Generate(operator_, "key");
    ASSERT_EQ(ImportCertificate("cert", cert_.DerText()), Q_OK);
    EXPECT_EQ(QGenerateMapObj(operator_, "slots", "key", 0, "missing", 0), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QGenerateMapObj(operator_, "slots", "key", 1, "key", 0), Q_ERR_INVALID_PARAMETER);
    ASSERT_EQ(QGenerateMapObj(operator_, "slots", "key", 0, "key", 0), Q_OK);
    EXPECT_EQ(QGenerateMapObj(operator_, "map2", "slots", 0, "key", 0), Q_ERR_WRONG_OBJECT_TYPE);

    EXPECT_EQ(QGeneratePkcs11Map(operator_, "p", "missing", nullptr, "l", 0), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QGeneratePkcs11Map(operator_, "p", "key", "missing", "l", 0), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QGeneratePkcs11Map(operator_, "p", "key", "key", "l", 0), Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QGeneratePkcs11Map(operator_, "p", "slots", nullptr, "l", 0),
              Q_ERR_WRONG_OBJECT_TYPE);
    QPkcs11MapDetails details{};
    for (uint32_t level : {Q_PKCS11_MAP_LEVEL_BASIC, Q_PKCS11_MAP_LEVEL_FULL})
        EXPECT_EQ(QGetPkcs11Map(operator_, "slots", level, 0, &details.info),
                  Q_ERR_WRONG_OBJECT_TYPE);
    ASSERT_EQ(QGeneratePkcs11Map(operator_, "p", "key", "cert", "a label of 16 ch", 0), Q_OK);
    ASSERT_EQ(QGetPkcs11Map(operator_, "p", Q_PKCS11_MAP_LEVEL_BASIC, 0, &details.info), Q_OK);
    EXPECT_STREQ(details.info.target, "key");
    EXPECT_STREQ(details.info.label, "a label of 16 ch");
    std::vector<std::string> maps;
    ASSERT_EQ(QListPkcs11Maps(operator_, CollectNames, &maps), Q_OK);
    EXPECT_EQ(maps, std::vector<std::string>{"p"});
    ASSERT_EQ(QRemoveObj(operator_, "key"), Q_OK);
    EXPECT_EQ(QGetPkcs11Map(operator_, "p", Q_PKCS11_MAP_LEVEL_FULL, 0, &details.info),
              Q_ERR_NOT_FOUND)
        << "the target is gone";
}

// Parameters 20 and 12 of every object, read as a console listing does (from the callback),
// or the parameter's failing status.
uint32_t CollectMapAndBlocked(const char *name, void *context, int isFinal) {
    auto *state = static_cast<std::pair<QSessionHandle, std::vector<std::string>> *>(context);
    QKeyHandle key = 0;
    if (isFinal || QGetUserKey(state->first, name, 0, &key) != Q_OK) return 0;
    char map[50] = {};
    uint32_t blocked = 0, mapLength = sizeof map, blockedLength = sizeof blocked;
    uint32_t status = QGetKeyParam(key, Q_KEY_PARAM_PKCS11_MAP, map, &mapLength, 0);
    QGetKeyParam(key, Q_KEY_PARAM_BLOCKED, &blocked, &blockedLength, 0);
    QDestroyKey(key, 0);
    state->second.push_back(std::string(name) + "=" + (status == Q_OK ? map : "n/a") +
                            (blocked ? " blocked" : ""));
    return 0;
}

TEST_F(CertificatesAndMapsTest, ObjectsNameTheirMapAndMapObjectsTheirSlots) {
    Generate(operator_, "key", Q_ALG_AES_128);
    Generate(operator_, "lone", Q_ALG_DES);
    ASSERT_EQ(ImportCertificate("cert", cert_.DerText()), Q_OK);
    ASSERT_EQ(QGeneratePkcs11Map(operator_, "p-b", "key", nullptr, "l", 0), Q_OK);
    ASSERT_EQ(QGeneratePkcs11Map(operator_, "p-a", "key", "cert", "l", 0), Q_OK);
    ASSERT_EQ(QGenerateMapObj(operator_, "slots", "key", 0, "lone", 0), Q_OK);
    QKeyHandle lone = 0, map = 0;
    ASSERT_EQ(QGetUserKey(operator_, "lone", 0, &lone), Q_OK);
    ASSERT_EQ(SetBlocked(lone, 1), Q_OK);
    std::pair<QSessionHandle, std::vector<std::string>> listing{operator_, {}};
    ASSERT_EQ(QListObjs(operator_, CollectMapAndBlocked, &listing), Q_OK);
    EXPECT_EQ(listing.second, (std::vector<std::string>{"cert=p-a", "key=p-a", "lone= blocked",
                                                        "p-a=n/a", "p-b=n/a", "slots=n/a"}))
        << "a key or certificate names its first map by name";
    ASSERT_EQ(QRemoveObj(operator_, "p-a"), Q_OK);
    listing.second.clear();
    ASSERT_EQ(QListObjs(operator_, CollectMapAndBlocked, &listing), Q_OK);
    EXPECT_EQ(listing.second[0], "cert=");
    EXPECT_EQ(listing.second[1], "key=p-b");

    ASSERT_EQ(QGetUserKey(operator_, "slots", 0, &map), Q_OK);
    QMapSlots slots{};
    uint32_t length = sizeof slots - 1;
    EXPECT_EQ(QGetKeyParam(map, Q_KEY_PARAM_MAP_SLOTS, &slots, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    ASSERT_EQ(QGetKeyParam(map, Q_KEY_PARAM_MAP_SLOTS, &slots, &length, 0), Q_OK);
    EXPECT_STREQ(slots.slot1Name, "key");
    EXPECT_STREQ(slots.slot2Name, "lone");
    EXPECT_EQ(slots.slot1Type + slots.slot2Type, 0u);
    EXPECT_EQ(QGetKeyParam(lone, Q_KEY_PARAM_MAP_SLOTS, &slots, &length, 0),
              Q_ERR_WRONG_OBJECT_TYPE);
    char name[10] = {};
    length = sizeof name;
    EXPECT_EQ(QGetKeyParam(lone, Q_KEY_PARAM_PKCS11_MAP, name, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 50u);
}

// What the HSM refuses as a certificate, import in DER and PEM, description, export, and the
// fields read locally.
TEST_F(CertificatesAndMapsTest, OnlyACertificateIsStoredAndItIsAnObjectOfItsOwn) {
    const std::string der = cert_.DerText(), derHex = Hex(cert_.der.data(), cert_.der.size());
    EXPECT_EQ(ImportCertificate("c", "garbage"), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(ImportCertificate("c", der.substr(0, der.size() - 1)), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(ImportCertificate("c", der + '\0'), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(ImportCertificate("c", der, Q_ALG_DES), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(ImportCertificate("c", der, Q_ALG_OBJ_X509_CERT, Q_KEY_EXPORTABLE),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(List(operator_).empty());

    ASSERT_EQ(ImportCertificate("cert-der", der), Q_OK);
    ASSERT_EQ(ImportCertificate("cert-pem", cert_.pem), Q_OK);
    EXPECT_EQ(ImportCertificate("cert-der", cert_.pem), Q_ERR_ALREADY_EXISTS);
    EXPECT_EQ(ExportNamed(operator_, "cert-der", Q_BLOB_X509_CERT), derHex);
    EXPECT_EQ(ExportNamed(operator_, "cert-pem", Q_BLOB_X509_CERT), derHex) << "PEM in, DER out";
    const std::string wrongType = Error(Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(ExportNamed(operator_, "cert-der", Q_BLOB_CLEAR_SYMMETRIC), wrongType);
    Generate(operator_, "aes", Q_ALG_AES_128, Q_KEY_EXPORTABLE);
    EXPECT_EQ(ExportNamed(operator_, "aes", Q_BLOB_X509_CERT), wrongType);
    AddUser("alice", "Alice#12345");
    EXPECT_EQ(ExportNamed(Login("alice", "Alice#12345"), "cert-der", Q_BLOB_X509_CERT),
              Error(Q_ERR_NOT_FOUND));

    QKeyHandle cert = 0;
    ASSERT_EQ(QGetUserKey(operator_, "cert-pem", 0, &cert), Q_OK);
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_ALGORITHM), Q_ALG_OBJ_X509_CERT);
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_EXPORT), 0u) << "public, so it can be read back";
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_ATTRIBUTE), 0u) << "held in clear";
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_LENGTH), der.size());
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_BLOCKED), 0u);
    EXPECT_EQ(SetBlocked(cert, 1), Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QDestroyKey(cert, 0), Q_OK);
    EXPECT_EQ(QRemoveObj(operator_, "cert-pem"), Q_OK);
    EXPECT_EQ(List(operator_), (std::vector<std::string>{"aes", "cert-der"}));

    // The fields the console shows, read locally from the DER the HSM gave back above.
    const uint8_t *bytes = cert_.der.data();
    const auto size = static_cast<uint32_t>(der.size());
    char text[64] = {};
    uint32_t length = 5;
    EXPECT_EQ(QCert2CertInfo(bytes, size, Q_CERT_INFO_SUBJECT, text, &length, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    ASSERT_EQ(length, sizeof "/CN=orvena test");
    ASSERT_EQ(QCert2CertInfo(bytes, size, Q_CERT_INFO_ISSUER, text, &length, 0), Q_OK);
    EXPECT_STREQ(text, "/CN=orvena test");
    length = sizeof text;
    ASSERT_EQ(QCert2CertInfo(bytes, size, Q_CERT_INFO_SERIAL, text, &length, 0), Q_OK);
    EXPECT_STREQ(text, "1234");
    uint64_t notBefore = 0, notAfter = 0;
    length = 8;
    ASSERT_EQ(QCert2CertInfo(bytes, size, Q_CERT_INFO_NOT_BEFORE, &notBefore, &length, 0), Q_OK);
    ASSERT_EQ(QCert2CertInfo(bytes, size, Q_CERT_INFO_NOT_AFTER, &notAfter, &length, 0), Q_OK);
    EXPECT_EQ(notAfter - notBefore, 24u * 3600);
    EXPECT_EQ(QCert2CertInfo(bytes, size, 6, text, &length, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QCert2CertInfo(bytes, 10, Q_CERT_INFO_SERIAL, text, &length, 0),
              Q_ERR_BAD_CERTIFICATE);
}

}  // namespace
