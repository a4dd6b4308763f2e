// Certificate objects through the library: import in DER and PEM, description, export, the
// fields read locally, and what the HSM refuses.

#include "keys_fixture.h"
#include "keys_test_certificate.h"

namespace {

class CertificatesTest : public KeysTest {
  protected:
    uint32_t Import(const char *name, const void *data, size_t length,
                    uint32_t algorithm = Q_ALG_OBJ_X509_CERT, uint32_t attributes = 0) {
        QKeyHandle cert = 0;
        uint32_t status =
            QImportKey(session_, name, 0, Q_BLOB_X509_CERT, algorithm, attributes,
                       static_cast<const uint8_t *>(data), static_cast<uint32_t>(length), &cert);
        QDestroyKey(cert, 0);
        return status;
    }

    // The bytes QExportKey gives for an object, or the failing status as text.
    static std::string Export(QSessionHandle session, const char *name, uint32_t blobType) {
        QKeyHandle key = 0;
        uint8_t *blob = nullptr;
        uint32_t length = 0;
        uint32_t status = QGetUserKey(session, name, 0, &key);
        if (status == Q_OK) status = QExportKey(key, 0, blobType, &blob, &length, 0);
        QDestroyKey(key, 0);
        if (status != Q_OK) return Error(status);
        std::string bytes(reinterpret_cast<char *>(blob), length);
        QFree(blob);
        return bytes;
    }

    const TestCertificate cert_ = MakeTestCertificate("orvena test");
    const std::string der_{cert_.der.begin(), cert_.der.end()};
};

TEST_F(CertificatesTest, ImportedCertificateIsAnObjectOfItsOwn) {
    ASSERT_EQ(Import("cert-der", der_.data(), der_.size()), Q_OK);
    ASSERT_EQ(Import("cert-pem", cert_.pem.data(), cert_.pem.size()), Q_OK);
    EXPECT_EQ(Export(session_, "cert-der", Q_BLOB_X509_CERT), der_);
    EXPECT_EQ(Export(session_, "cert-pem", Q_BLOB_X509_CERT), der_) << "PEM in, DER out";

    QKeyHandle cert = 0;
    ASSERT_EQ(QGetUserKey(session_, "cert-pem", 0, &cert), Q_OK);
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_ALGORITHM), Q_ALG_OBJ_X509_CERT);
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_EXPORT), 0u) << "public, so it can be read back";
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_ATTRIBUTE), 0u) << "held in clear";
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_LENGTH), der_.size());
    EXPECT_EQ(Word(cert, Q_KEY_PARAM_BLOCKED), 0u);
    uint32_t blocked = 1;
    EXPECT_EQ(QSetKeyParam(cert, Q_KEY_PARAM_BLOCKED, &blocked, 4, 0), Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QDestroyKey(cert, 0), Q_OK);

    // The fields the console shows, read locally from the exported DER.
    const std::string exported = Export(session_, "cert-der", Q_BLOB_X509_CERT);
    const auto *bytes = reinterpret_cast<const uint8_t *>(exported.data());
    const auto size = static_cast<uint32_t>(exported.size());
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

    EXPECT_EQ(QRemoveObj(session_, "cert-pem"), Q_OK);
    EXPECT_EQ(List(session_), std::vector<std::string>{"cert-der"});
}

TEST_F(CertificatesTest, HsmRefusesWhatIsNotACertificate) {
    const std::string trailing = der_ + '\0';
    EXPECT_EQ(Import("c", "garbage", 7), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(Import("c", der_.data(), der_.size() - 1), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(Import("c", trailing.data(), trailing.size()), Q_ERR_BAD_CERTIFICATE);
    EXPECT_EQ(Import("c", der_.data(), der_.size(), Q_ALG_DES), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(Import("c", der_.data(), der_.size(), Q_ALG_OBJ_X509_CERT, Q_KEY_EXPORTABLE),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(List(session_).empty());

    ASSERT_EQ(Import("c", der_.data(), der_.size()), Q_OK);
    EXPECT_EQ(Import("c", cert_.pem.data(), cert_.pem.size()), Q_ERR_ALREADY_EXISTS);
    QKeyHandle key = 0;
    ASSERT_EQ(QGenerateKey(session_, "aes", Q_ALG_AES_128, Q_KEY_EXPORTABLE, &key), Q_OK);
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    const std::string wrongType = Error(Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(Export(session_, "c", Q_BLOB_CLEAR_SYMMETRIC), wrongType);
    EXPECT_EQ(Export(session_, "aes", Q_BLOB_X509_CERT), wrongType);

    AddUser("alice", "Alice#12345");
    EXPECT_EQ(Export(Login("alice", "Alice#12345"), "c", Q_BLOB_X509_CERT), Error(Q_ERR_NOT_FOUND));
}

}  // namespace
