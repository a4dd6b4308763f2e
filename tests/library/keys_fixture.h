#pragma once
// Shared set-up of the key and object tests: an operator session and small readers.

#include <string>
#include <vector>

#include "qelvoarc_fixture.h"

class KeysTest : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        session_ = OpenOperator();
    }

    void Generate(const std::string &name, uint32_t algorithm = Q_ALG_AES_128) {
        QKeyHandle key = 0;
        ASSERT_EQ(QGenerateKey(session_, name.c_str(), algorithm, 0, &key), Q_OK) << name;
        ASSERT_EQ(QDestroyKey(key, 0), Q_OK);
    }

    static uint32_t Word(QKeyHandle key, uint32_t param) {
        uint32_t value = 0xFFFFFFFFu;
        uint32_t length = sizeof value;
        EXPECT_EQ(QGetKeyParam(key, param, &value, &length, 0), Q_OK) << "param " << param;
        return value;
    }

    // The names QListObjs delivers, in order.
    static std::vector<std::string> List(QSessionHandle session) {
        std::vector<std::string> names;
        EXPECT_EQ(QListObjs(session, CollectNames, &names), Q_OK);
        return names;
    }

  public:
    static std::string Error(uint32_t status) { return "error " + std::to_string(status); }

  protected:
    static std::string Kcv(QSessionHandle session, const char *name,
                           uint32_t format = Q_KCV_FORMAT_KCV) {
        uint8_t kcv[8] = {};
        uint32_t length = sizeof kcv;
        uint32_t status = QEFTGetKcv(session, name, format, kcv, &length, 0);
        return status == Q_OK ? Hex(kcv, length) : Error(status);
    }

    QSessionHandle session_ = 0;
};
