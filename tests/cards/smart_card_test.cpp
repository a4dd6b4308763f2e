// The QSC* functions on the virtual reader, and orvena-card switching the cards they see.

#include <cstring>
#include <filesystem>

#include "card_test_support.h"

namespace {

TEST(SmartCardReader, IsLoadedOnlyWhenTheDirectoryIsConfiguredAndExists) {
    TempDir reader;
    ::unsetenv("QELVOARC_SC_READER");
    EXPECT_EQ(QSCIsLibLoaded(), 0u);
    ASSERT_EQ(QInitialize(0), Q_OK);
    QSmartCardInfo info{};
    EXPECT_EQ(QSCGetInfo(&info, 0), Q_ERR_NO_CARD_READER);
    ::setenv("QELVOARC_SC_READER", reader.Path("missing").c_str(), 1);
    EXPECT_EQ(QSCIsLibLoaded(), 0u);
    ::setenv("QELVOARC_SC_READER", reader.path().c_str(), 1);
    EXPECT_EQ(QSCIsLibLoaded(), 1u);
    EXPECT_EQ(QSCGetInfo(&info, 0), Q_ERR_NO_CARD);
    EXPECT_EQ(QFinalize(), Q_OK);
    EXPECT_EQ(QSCGetInfo(&info, 0), Q_ERR_NOT_INITIALIZED);
    ::unsetenv("QELVOARC_SC_READER");
}

TEST_F(CardTest, AnEmptyReaderAndAnUnformattedCardRefuseEveryPinCall) {
    QSmartCardShadow shadow = MakeShadow(7);
    char label[Q_SC_LABEL_SIZE] = {};
    EXPECT_EQ(QSCReadShadow(kPin, &shadow, 0), Q_ERR_NO_CARD);
    EXPECT_EQ(QSCGetLabel(kPin, label, 0), Q_ERR_NO_CARD);

    ASSERT_EQ(Card("new blank --unformatted"), 0);
    ASSERT_EQ(Card("insert blank"), 0);
    const QSmartCardInfo info = Info();
    EXPECT_EQ(info.formatted, 0u);
    EXPECT_EQ(info.pinCounters, 0u);
    EXPECT_EQ(info.atr[0], 0x3b);
    EXPECT_GT(info.atrLength, 0u);
    EXPECT_EQ(QSCReadShadow(kPin, &shadow, 0), Q_ERR_CARD_UNFORMATTED);
    EXPECT_EQ(QSCWriteShadow(&shadow, kPin, 0, 0), Q_ERR_CARD_UNFORMATTED);
    EXPECT_EQ(QSCSetLabel(kPin, "x", 0), Q_ERR_CARD_UNFORMATTED);
    EXPECT_EQ(QSCChangePIN(kPin, "87654321", 0), Q_ERR_CARD_UNFORMATTED);
    EXPECT_EQ(QSCErase(kPin, 0), Q_ERR_CARD_UNFORMATTED);

    // A factory reset formats it.
    ASSERT_EQ(Card("reset-pin blank"), 0);
    EXPECT_EQ(Info().formatted, 1u);
    EXPECT_EQ(QSCWriteShadow(&shadow, kPin, 0, 0), Q_OK);
}

TEST_F(CardTest, WrongPinsCountDownToALockThatTheRightPinNoLongerOpens) {
    InsertNewCard("alice");
    QSmartCardShadow shadow{};
    // Malformed PINs are refused before the card counts a try.
    EXPECT_EQ(QSCReadShadow(nullptr, &shadow, 0), Q_ERR_PIN_ABSENT);
    EXPECT_EQ(QSCReadShadow("1234567", &shadow, 0), Q_ERR_PIN_LENGTH);
    EXPECT_EQ(QSCReadShadow("123456789", &shadow, 0), Q_ERR_PIN_LENGTH);
    EXPECT_EQ(QSCReadShadow("1234567a", &shadow, 0), Q_ERR_PIN_CHARACTERS);
    EXPECT_EQ(Info().pinCounterScr, 3);

    EXPECT_EQ(QSCSetLabel("11111111", "x", 0), Q_ERR_CARD_PIN_WRONG);
    EXPECT_EQ(QSCSetLabel("22222222", "x", 0), Q_ERR_CARD_PIN_WRONG);
    EXPECT_EQ(Info().pinCounterScr, 1);
    EXPECT_EQ(QSCSetLabel(kPin, "custodian", 0), Q_OK);  // the right PIN restores the tries
    EXPECT_EQ(Info().pinCounterScr, 3);

    EXPECT_EQ(QSCErase("11111111", 0), Q_ERR_CARD_PIN_WRONG);
    EXPECT_EQ(QSCErase("11111111", 0), Q_ERR_CARD_PIN_WRONG);
    EXPECT_EQ(QSCErase("11111111", 0), Q_ERR_PIN_ABSENT);
    EXPECT_EQ(Info().pinCounterScr, 0);
    char label[Q_SC_LABEL_SIZE] = {};
    EXPECT_EQ(QSCGetLabel(kPin, label, 0), Q_ERR_PIN_ABSENT);
    std::string list;
    ASSERT_EQ(Card("list", &list), 0);
    EXPECT_EQ(list, "* alice  locked\n");

    ASSERT_EQ(Card("reset-pin alice --pin 24681357"), 0);
    EXPECT_EQ(QSCGetLabel("24681357", label, 0), Q_OK);
    EXPECT_STREQ(label, "");  // the reset erased the label
}

TEST_F(CardTest, ThePinChangesOnceAndTheShadowFollowsIt) {
    InsertNewCard("alice");
    const QSmartCardShadow written = MakeShadow(0x5a);
    ASSERT_EQ(QSCWriteShadow(&written, kPin, 0, 0), Q_OK);
    EXPECT_EQ(Info().pinLocked, 0u);

    EXPECT_EQ(QSCChangePIN(kPin, "8765432", 0), Q_ERR_PIN_LENGTH);
    EXPECT_EQ(QSCChangePIN(kPin, "87654321", 0), Q_OK);
    const QSmartCardInfo info = Info();
    EXPECT_EQ(info.pinLocked, 1u);
    EXPECT_EQ(info.pinCounterMm, 0);

    QSmartCardShadow read{};
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_CARD_PIN_WRONG);
    ASSERT_EQ(QSCReadShadow("87654321", &read, 0), Q_OK);
    EXPECT_EQ(std::memcmp(&read, &written, sizeof read), 0);
    EXPECT_EQ(QSCChangePIN("87654321", kPin, 0), Q_ERR_CARD_PIN_CHANGES);
    EXPECT_EQ(Info().pinCounterScr, 3);  // refused without costing a try
}

TEST_F(CardTest, OneShadowPerCardUnlessOverwrittenAndEraseTakesItAndTheLabel) {
    InsertNewCard("alice");
    QSmartCardShadow read{};
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_CARD_NO_SHADOW);

    const QSmartCardShadow first = MakeShadow(1);
    const QSmartCardShadow second = MakeShadow(2);
    ASSERT_EQ(QSCWriteShadow(&first, kPin, 0, 0), Q_OK);
    EXPECT_EQ(QSCWriteShadow(&second, kPin, 0, 0), Q_ERR_CARD_HAS_SHADOW);
    ASSERT_EQ(QSCReadShadow(kPin, &read, 0), Q_OK);
    EXPECT_EQ(std::memcmp(&read, &first, sizeof read), 0);
    ASSERT_EQ(QSCWriteShadow(&second, kPin, 1, 0), Q_OK);
    ASSERT_EQ(QSCReadShadow(kPin, &read, 0), Q_OK);
    EXPECT_EQ(std::memcmp(&read, &second, sizeof read), 0);

    const std::string longest(32, 'L');
    EXPECT_EQ(QSCSetLabel(kPin, (longest + "L").c_str(), 0), Q_ERR_INVALID_LENGTH);
    ASSERT_EQ(QSCSetLabel(kPin, longest.c_str(), 0), Q_OK);
    char label[Q_SC_LABEL_SIZE];
    std::memset(label, '#', sizeof label);
    ASSERT_EQ(QSCGetLabel(kPin, label, 0), Q_OK);
    EXPECT_EQ(std::string(label), longest);

    ASSERT_EQ(QSCErase(kPin, 0), Q_OK);
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_CARD_NO_SHADOW);
    ASSERT_EQ(QSCGetLabel(kPin, label, 0), Q_OK);
    EXPECT_STREQ(label, "");
    EXPECT_EQ(QSCWriteShadow(&first, kPin, 0, 0), Q_OK);
}

TEST_F(CardTest, ACopiedCardFileYieldsNothingWithoutItsPin) {
    InsertNewCard("alice");
    const QSmartCardShadow shadow = MakeShadow(0xc3);
    ASSERT_EQ(QSCWriteShadow(&shadow, kPin, 0, 0), Q_OK);

    std::filesystem::copy_file(reader_.Path("alice.card"), reader_.Path("stolen.card"));
    const std::string text = ReadFileBytes(reader_.Path("stolen.card"));
    EXPECT_EQ(text.find("c3c3c3c3"), std::string::npos);
    EXPECT_EQ(text.find(kPin), std::string::npos);

    ASSERT_EQ(Card("insert stolen"), 0);
    QSmartCardShadow read{};
    for (const char *guess : {"00000000", "11111111", "22222222"})
        EXPECT_NE(QSCReadShadow(guess, &read, 0), Q_OK);
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_PIN_ABSENT);  // and now it is locked
    EXPECT_EQ(read.version, 0u);

    // Another card's sealed shadow does not open on this one, even under the same PIN.
    ASSERT_EQ(Card("new bob"), 0);
    ASSERT_EQ(Card("insert bob"), 0);
    ASSERT_EQ(QSCWriteShadow(&shadow, kPin, 0, 0), Q_OK);
    std::string bob = ReadFileBytes(reader_.Path("bob.card"));
    const auto line = [](const std::string &card, const char *key) {
        const size_t at = card.find(std::string("\n") + key + " ") + 1;
        return card.substr(at, card.find('\n', at) - at);
    };
    for (const char *key : {"shadow", "pin-salt", "pin-verifier"})
        bob.replace(bob.find(line(bob, key)), line(bob, key).size(), line(text, key));
    WriteFileBytes(reader_.Path("bob.card"), bob);
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_FILE);
}

TEST_F(CardTest, OrvenaCardMakesListsSwitchesAndResetsTheCardsTheLibrarySees) {
    std::string out;
    EXPECT_EQ(Card("new alice --label first --pin 1234567"), 2);
    EXPECT_EQ(Card("insert nobody"), 1);
    ASSERT_EQ(Card("new alice --label first"), 0);
    EXPECT_EQ(Card("new alice"), 1);
    ASSERT_EQ(Card("new bob --unformatted"), 0);
    EXPECT_EQ(Card("remove"), 1);

    ASSERT_EQ(Card("insert alice"), 0);
    ASSERT_EQ(Card("list", &out), 0);
    EXPECT_EQ(out, "* alice  blank\n  bob  unformatted\n");
    ASSERT_EQ(Card("info alice", &out), 0);
    const QSmartCardInfo info = Info();
    char csn[25];
    for (int i = 0; i < 12; ++i)
        std::snprintf(csn + 2 * i, 3, "%02X", info.csn[i]);
    EXPECT_NE(out.find("CSN         : " + std::string(csn) + "\n"), std::string::npos) << out;
    EXPECT_NE(out.find("Label       : first\n"), std::string::npos) << out;

    ASSERT_EQ(Card("insert bob", &out), 0);
    EXPECT_EQ(out, "Card alice removed.\nCard bob inserted.\n");
    EXPECT_EQ(Info().formatted, 0u);
    ASSERT_EQ(Card("remove"), 0);
    QSmartCardInfo none{};
    EXPECT_EQ(QSCGetInfo(&none, 0), Q_ERR_NO_CARD);
    ASSERT_EQ(Card("list", &out), 0);
    EXPECT_EQ(out, "  alice  blank\n  bob  unformatted\n");

    ASSERT_EQ(Card("insert alice"), 0);
    const QSmartCardShadow shadow = MakeShadow(9);
    ASSERT_EQ(QSCWriteShadow(&shadow, kPin, 0, 0), Q_OK);
    ASSERT_EQ(Card("list", &out), 0);
    EXPECT_EQ(out, "* alice  shadow\n  bob  unformatted\n");
    ASSERT_EQ(Card("reset-pin alice"), 0);
    QSmartCardShadow read{};
    EXPECT_EQ(QSCReadShadow(kPin, &read, 0), Q_ERR_CARD_NO_SHADOW);
    EXPECT_EQ(std::memcmp(Info().csn, info.csn, sizeof info.csn), 0);  // the same card
}

}  // namespace
