#pragma once
// A reader directory of its own for each test, configured for the library, and orvena-card
// run on it as a custodian would.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "qelvoarc.h"
#include "shell.h"
#include "temp_dir.h"

constexpr const char *kPin = "12345678";

class CardTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(::setenv("QELVOARC_SC_READER", reader_.path().c_str(), 1), 0);
        ASSERT_EQ(QInitialize(0), Q_OK);
    }
    void TearDown() override {
        EXPECT_EQ(QFinalize(), Q_OK);
        ::unsetenv("QELVOARC_SC_READER");
    }

    // orvena-card's exit status; its standard output in *out (standard error is dropped).
    int Card(const std::string &arguments, std::string *out = nullptr) {
        return Shell(std::string(ORVENA_CARD_PATH) + " --reader " + reader_.path() + " " +
                         arguments + " 2>/dev/null",
                     out);
    }

    // A formatted card `name` with the default PIN, in the reader.
    void InsertNewCard(const std::string &name) {
        ASSERT_EQ(Card("new " + name), 0);
        ASSERT_EQ(Card("insert " + name), 0);
    }

    static QSmartCardShadow MakeShadow(uint8_t fill) {
        QSmartCardShadow shadow{};
        shadow.version = 2;
        shadow.position = 1;
        shadow.m = 2;
        shadow.n = 3;
        for (uint8_t &b : shadow.share)
            b = fill;
        return shadow;
    }

    static QSmartCardInfo Info() {
        QSmartCardInfo info{};
        EXPECT_EQ(QSCGetInfo(&info, 0), Q_OK);
        return info;
    }

    TempDir reader_;
};
