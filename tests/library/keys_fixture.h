#pragma once
// Shared set-up of the key and object tests: a certificate, and small readers that give a
// failing status back as text, so one comparison checks both.

#include <string>
#include <vector>

#include "qelvoarc_fixture.h"

// A DES key whose check value, D5D44F, is published.
inline constexpr uint8_t kDesKey[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};

class KeysTest : public LibraryTest {
  protected:
    using LibraryTest::LibraryTest;

    // `key` imported in clear into the partition of `session`.
    static void Import(QSessionHandle session, const char *name, uint32_t algorithm,
                       const uint8_t *key, uint32_t length, uint32_t attributes = 0) {
        QKeyHandle handle = 0;
        ASSERT_EQ(QImportKey(session, name, 0, Q_BLOB_CLEAR_SYMMETRIC, algorithm, attributes, key,
                             length, &handle),
                  Q_OK)
            << name;
        QDestroyKey(handle, 0);
    }

    static std::string Error(uint32_t status) { return "error " + std::to_string(status); }

    static uint32_t Word(QKeyHandle key, uint32_t param) {
        uint32_t value = 0xFFFFFFFFu;
        uint32_t length = sizeof value;
        EXPECT_EQ(QGetKeyParam(key, param, &value, &length, 0), Q_OK) << "param " << param;
        return value;
    }

    // The same of the object `name`, read on a handle of its own.
    uint32_t Word(const char *name, uint32_t param) {
        QKeyHandle key = 0;
        EXPECT_EQ(QGetUserKey(operator_, name, 0, &key), Q_OK) << name;
        const uint32_t value = Word(key, param);
        QDestroyKey(key, 0);
        return value;
    }

    // The names QListObjs delivers, in order.
    static std::vector<std::string> List(QSessionHandle session) {
        std::vector<std::string> names;
        EXPECT_EQ(QListObjs(session, CollectNames, &names), Q_OK);
        return names;
    }

    static std::string Kcv(QSessionHandle session, const char *name,
                           uint32_t format = Q_KCV_FORMAT_KCV) {
        uint8_t kcv[8] = {};
        uint32_t length = sizeof kcv;
        uint32_t status = QEFTGetKcv(session, name, format, kcv, &length, 0);
        return status == Q_OK ? Hex(kcv, length) : Error(status);
    }

    static std::string OfflineKcv(uint32_t format, uint32_t algorithm, const uint8_t *key,
                                  uint32_t length) {
        uint8_t kcv[3] = {};
        uint32_t kcvLength = sizeof kcv;
        uint32_t status = QEFTGenKCVOffline(format, algorithm, key, length, 0, kcv, &kcvLength, 0);
        return status == Q_OK ? Hex(kcv, kcvLength) : Error(status);
    }

    // What QExportKey gives for `key`, as hexadecimal.
    static std::string Export(QKeyHandle key, uint32_t blobType = Q_BLOB_CLEAR_SYMMETRIC,
                              QKeyHandle kek = 0) {
        uint8_t *blob = nullptr;
        uint32_t length = 0;
        uint32_t status = QExportKey(key, kek, blobType, &blob, &length, 0);
        if (status != Q_OK) return Error(status);
        std::string hex = Hex(blob, length);
        QFree(blob);
        return hex;
    }

    // The same of the object `name` of `session`, opened on a handle of its own.
    static std::string ExportNamed(QSessionHandle session, const char *name, uint32_t blobType) {
        QKeyHandle key = 0;
        uint32_t status = QGetUserKey(session, name, 0, &key);
        if (status != Q_OK) return Error(status);
        std::string exported = Export(key, blobType);
        QDestroyKey(key, 0);
        return exported;
    }

    // kDesKey imported in clear as `name`: a handle to it.
    QKeyHandle ImportDes(const char *name, uint32_t attributes = 0) {
        QKeyHandle key = 0;
        EXPECT_EQ(QImportKey(operator_, name, 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_DES, attributes,
                             kDesKey, sizeof kDesKey, &key),
                  Q_OK);
        return key;
    }

    uint32_t ImportCertificate(const char *name, const std::string &bytes,
                               uint32_t algorithm = Q_ALG_OBJ_X509_CERT, uint32_t attributes = 0) {
        QKeyHandle cert = 0;
        uint32_t status = QImportKey(operator_, name, 0, Q_BLOB_X509_CERT, algorithm, attributes,
                                     reinterpret_cast<const uint8_t *>(bytes.data()),
                                     static_cast<uint32_t>(bytes.size()), &cert);
        QDestroyKey(cert, 0);
        return status;
    }

    static uint32_t SetBlocked(QKeyHandle key, uint32_t value, uint32_t length = 4) {
        return QSetKeyParam(key, Q_KEY_PARAM_BLOCKED, &value, length, 0);
    }

    const TestCertificate cert_ = MakeTestCertificate("orvena test");
};
