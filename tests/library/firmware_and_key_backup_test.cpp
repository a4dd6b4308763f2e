// Firmware update packages (described locally, judged by the HSM, applied at its next start)
// and the backup of one object under the master key.

#include <fstream>

#include "keys_fixture.h"
#include "temp_dir.h"

namespace {

const uint8_t *Data(const std::string &bytes) {
    return reinterpret_cast<const uint8_t *>(bytes.data());
}

uint32_t Size(const std::string &bytes) {
    return static_cast<uint32_t>(bytes.size());
}

class FirmwareTest : public LibraryTest {
  protected:
    // A package built by orvena-simctl with the vendor key of the data directory of `sim`
    // (ours when null), or with `keyPem`.
    std::string MakePackage(const std::string &version, const std::string &keyPem = {},
                            const SimProcess *sim = nullptr) {
        if (sim == nullptr) sim = &sim_;
        const std::string out = files_.Path(version + ".upk");
        std::vector<std::string> args = {
            "make-upack",         "--version", version, "--description",
            "Release " + version, "--out",     out};
        if (!keyPem.empty()) {
            const std::string keyPath = out + ".key";
            std::ofstream(keyPath) << keyPem;
            args.insert(args.end(), {"--key", keyPath});
        }
        EXPECT_EQ(sim->Simctl(args), 0);
        std::string package = ReadFileBytes(out);
        std::remove(out.c_str());
        return package;
    }

    uint32_t Push(const std::string &package, QSessionHandle session = 0) {
        return QUPackPush(session != 0 ? session : operator_, Size(package), Data(package));
    }

    std::string PendingUpdate() {
        QHsmInfoRecord record{};
        uint32_t flagWord = 0, length = sizeof record;
        EXPECT_EQ(QGetHsmInfo(operator_, &flagWord, Q_INFO_STATUS, &record, &length, 0), Q_OK);
        return record.pendingUpdate;
    }

    std::string VersionLine() {
        char text[512] = {};
        uint32_t flagWord = 1, length = sizeof text;
        EXPECT_EQ(QGetHsmInfo(operator_, &flagWord, Q_INFO_VERSION, text, &length, 0), Q_OK);
        return text;
    }

    TempDir files_;  // packages and keys, apart from other tests running beside this one
};

TEST_F(FirmwareTest, PackagesAreDescribedLocallyAndOnlyAGoodNewerOneIsKept) {
    const std::string good = MakePackage("5.2.0.0");
    char *description = nullptr;
    char *version = nullptr;
    ASSERT_EQ(QUPackInfo(Size(good), Data(good), &description, &version, 0), Q_OK);
    EXPECT_STREQ(description, "Release 5.2.0.0");
    EXPECT_STREQ(version, "5.2.0.0");
    QFree(description);
    QFree(version);

    const std::string garbage = "not a package at all";
    EXPECT_EQ(QUPackInfo(Size(garbage), Data(garbage), &description, nullptr, 0),
              Q_ERR_UPACK_MALFORMED);
    EXPECT_EQ(QUPackInfo(Size(good) - 1, Data(good), &description, nullptr, 0),
              Q_ERR_UPACK_MALFORMED);
    EXPECT_EQ(Push(garbage), Q_ERR_UPACK_MALFORMED);

    // The description is signed: its header still reads, the HSM refuses it.
    std::string altered = good;
    altered[50] ^= 1;
    EXPECT_EQ(QUPackInfo(Size(altered), Data(altered), &description, nullptr, 0), Q_OK);
    QFree(description);
    EXPECT_EQ(Push(altered), Q_ERR_UPACK_BAD_SIGNATURE);

    std::shared_ptr<EVP_PKEY> stranger(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"),
                                       &EVP_PKEY_free);
    const std::string strangerPem = MemoryText([&](BIO *bio) {
        PEM_write_bio_PrivateKey(bio, stranger.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
    EXPECT_EQ(Push(MakePackage("5.3.0.0", strangerPem)), Q_ERR_UPACK_UNKNOWN_SIGNER);
    EXPECT_EQ(Push(MakePackage("5.0.99.0")), Q_ERR_UPACK_ROLLBACK);

    AddUser("clerk", "Passw0rd!x");
    QSessionHandle clerk = Login("clerk");
    EXPECT_EQ(Push(good, clerk), Q_ERR_ACCESS_DENIED);
    QCloseSession(&clerk, 0);
    EXPECT_EQ(PendingUpdate(), "");

    AddUser("updater", "Passw0rd!x", "0x220");
    QSessionHandle updater = Login("updater");
    EXPECT_EQ(Push(good, updater), Q_OK);
    QCloseSession(&updater, 0);
    EXPECT_EQ(PendingUpdate(), "Release 5.2.0.0");

    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("Firmware update package refused"), std::string::npos);
    EXPECT_NE(log.find("bad signature"), std::string::npos);
    EXPECT_NE(log.find("Firmware update package accepted: 5.2.0.0"), std::string::npos);
}

// The applied version is the data directory's from then on, whatever --firmware (here its
// default, 5.1.0.0) says.
TEST_F(FirmwareTest, ThePackageIsAppliedAtTheNextStartAndOutranksFirmwareOption) {
    ASSERT_EQ(Push(MakePackage("5.2.0.0")), Q_OK);
    EXPECT_NE(VersionLine().find("Engine 5.1.0.0-"), std::string::npos);

    QCloseSession(&operator_, 0);
    sim_.Restart();
    operator_ = OpenOperator();
    EXPECT_NE(VersionLine().find("Engine 5.2.0.0-"), std::string::npos) << VersionLine();
    EXPECT_EQ(PendingUpdate(), "");
    EXPECT_EQ(Push(MakePackage("5.1.0.0")), Q_ERR_UPACK_ROLLBACK);
    EXPECT_NE(ExportedLog(sim_.dataDir()).find("Firmware updated from 5.1.0.0 to 5.2.0.0"),
              std::string::npos);
}

// With --vendor-cert the HSM trusts that certificate's signer instead of its own vendor key.
TEST_F(FirmwareTest, AGivenVendorCertificateReplacesTheDirectorysOwn) {
    SimProcess trusting({.extraArgs = {"--vendor-cert", sim_.dataDir() + "/vendor.crt"}});
    QSessionHandle session = 0;
    ASSERT_EQ(Open(PasswordRecord(trusting.port(), "master", trusting.initPassword()), &session),
              Q_OK);
    EXPECT_EQ(Push(MakePackage("5.2.0.0", {}, &trusting), session), Q_ERR_UPACK_UNKNOWN_SIGNER);
    EXPECT_EQ(Push(MakePackage("5.2.0.0"), session), Q_OK);
    QCloseSession(&session, 0);
}

using KeyBackupTest = KeysTest;

TEST_F(KeyBackupTest, AnObjectComesBackOnlyOnTheSameHsmUnderAFreeName) {
    Generate(operator_, "k1", Q_ALG_AES_256);
    uint8_t *blob = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(QBackupObject(operator_, "k1", Q_BACKUP_OBJECT_EXPORT, &blob, &length, 0), Q_OK);
    const std::string saved(reinterpret_cast<char *>(blob), length);
    QFree(blob);

    auto restore = [](QSessionHandle session, const char *name, std::string bytes) {
        auto *data = reinterpret_cast<uint8_t *>(bytes.data());
        uint32_t size = Size(bytes);
        return QBackupObject(session, name, Q_BACKUP_OBJECT_IMPORT, &data, &size, 0);
    };
    EXPECT_EQ(restore(operator_, "k1", saved), Q_ERR_ALREADY_EXISTS);
    std::string tampered = saved;
    tampered[tampered.size() / 2] ^= 1;
    EXPECT_EQ(restore(operator_, "k2", tampered), Q_ERR_BLOB_DAMAGED);
    EXPECT_EQ(restore(operator_, "k2", "QOBK"), Q_ERR_BLOB_DAMAGED);
    ASSERT_EQ(restore(operator_, "k2", saved), Q_OK);
    EXPECT_EQ(Kcv(operator_, "k2"), Kcv(operator_, "k1"));
    EXPECT_EQ(Word("k2", Q_KEY_PARAM_ALGORITHM), Q_ALG_AES_256);

    AddUser("clerk", "Passw0rd!x");
    QSessionHandle clerk = Login("clerk");
    EXPECT_EQ(restore(clerk, "k1", saved), Q_ERR_ACCESS_DENIED);
    QCloseSession(&clerk, 0);

    SimProcess other;
    QSessionHandle foreign = 0;
    ASSERT_EQ(Open(PasswordRecord(other.port(), "master", other.initPassword()), &foreign), Q_OK);
    EXPECT_EQ(restore(foreign, "k1", saved), Q_ERR_BLOB_FOREIGN_HSM);
    QCloseSession(&foreign, 0);

    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("Object backed up: k1"), std::string::npos);
    EXPECT_NE(log.find("Object restored from backup: k2"), std::string::npos);
}

}  // namespace
