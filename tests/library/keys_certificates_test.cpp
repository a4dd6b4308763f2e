// Certificate objects through the library: what the HSM refuses, import in DER and PEM,
// description, export, and the fields read locally.

#include "keys_fixture.h"

namespace {

using CertificatesTest = KeysTest;

TEST_F(CertificatesTest, OnlyACertificateIsStoredAndItIsAnObjectOfItsOwn) {
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
