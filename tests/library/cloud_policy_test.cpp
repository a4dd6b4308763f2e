// Cloud binding, telemetry and the security policy: bind keys of the trusted cloud
// certificate for this HSM only, status documents delivered to a loopback HTTPS receiver while
// bound, and the policy word that persists and only operators touch.

#include <chrono>
#include <fstream>
#include <thread>

#include "https_receiver.h"
#include "qelvoarc_fixture.h"

namespace {

constexpr char kSerial[] = "OV00000001";

std::string Attribute(QSessionHandle session, uint32_t attribute) {
    QP11InfoHandle info = 0;
    char text[2048] = {};
    uint32_t length = sizeof text;
    EXPECT_EQ(QGetHSMP11Info(session, &info, 0), Q_OK);
    EXPECT_EQ(QGetHSMP11InfoAttr(info, attribute, text, &length, 0), Q_OK);
    QDestroyHSMP11Info(info, 0);
    return text;
}

uint64_t BindStatus(QSessionHandle session) {
    QP11InfoHandle info = 0;
    uint64_t bound = 99;
    uint32_t length = sizeof bound;
    EXPECT_EQ(QGetHSMP11Info(session, &info, 0), Q_OK);
    EXPECT_EQ(QGetHSMP11InfoAttr(info, Q_P11_ATTR_CLOUD_STATUS, &bound, &length, 0), Q_OK);
    QDestroyHSMP11Info(info, 0);
    return bound;
}

uint32_t Policy(QSessionHandle session, uint32_t *word) {
    return QAdmOperation(session, Q_ADM_GET_POLICY, word, sizeof *word, 0);
}

uint32_t SetPolicy(QSessionHandle session, uint32_t word) {
    return QAdmOperation(session, Q_ADM_SET_POLICY, &word, sizeof word, 0);
}

class CloudTest : public LibraryTest {
  protected:
    // The cloud's key pair; the HSM of `sim` trusts its certificate.
    void TrustCloud(const SimProcess &sim) {
        std::ofstream(sim.dataDir() + "/cloud.crt") << cloud_.pem;
    }

    // A bind key signed by `signer` for `hsmId`; "" when orvena-simctl refused.
    std::string BindKey(const TestCertificate &signer, const std::string &hsmId = kSerial,
                        const std::string &url = "https://127.0.0.1:9/status") {
        const std::string keyPath = sim_.dataDir() + "/signer.pem";
        std::ofstream(keyPath) << signer.KeyPem();
        std::string key;
        if (sim_.Simctl({"make-bind-key", "--account", "acme-bank", "--hsm-id", hsmId, "--url", url,
                         "--key", keyPath},
                        &key) != 0)
            return "";
        return key.substr(0, key.find('\n'));
    }

    TestCertificate cloud_ = MakeTestCertificate("Orvena Super Cloud");
};

TEST_F(CloudTest, BindingIsShownInTheInformationUntilUnbound) {
    TrustCloud(sim_);
    EXPECT_EQ(BindStatus(operator_), 0u);
    EXPECT_EQ(Attribute(operator_, Q_P11_ATTR_CLOUD_ACCOUNT), "");
    const std::string key = BindKey(cloud_);
    ASSERT_FALSE(key.empty());
    EXPECT_LE(key.size(), 1023u);

    AddUser("clerk", "Passw0rd!x", "0x20");  // sees the screens, is no operator
    QSessionHandle clerk = Login("clerk");
    EXPECT_EQ(QOSBindHSM(clerk, key.c_str(), 0), Q_ERR_ACCESS_DENIED);

    ASSERT_EQ(QOSBindHSM(operator_, key.c_str(), 0), Q_OK);
    EXPECT_EQ(BindStatus(clerk), 1u);
    EXPECT_EQ(Attribute(clerk, Q_P11_ATTR_CLOUD_ACCOUNT), "acme-bank");
    EXPECT_EQ(Attribute(clerk, Q_P11_ATTR_TELEMETRY_URL), "https://127.0.0.1:9/status");
    EXPECT_EQ(Attribute(clerk, Q_P11_ATTR_HSM_ID), kSerial);
    EXPECT_EQ(QOSBindHSM(operator_, key.c_str(), 0), Q_ERR_ALREADY_BOUND);
    EXPECT_EQ(QOSUnbindHSM(clerk, 0), Q_ERR_ACCESS_DENIED);

    sim_.Restart();
    QCloseSession(&clerk, 0);
    QCloseSession(&operator_, 0);
    operator_ = OpenOperator();
    EXPECT_EQ(BindStatus(operator_), 1u);
    EXPECT_EQ(QOSUnbindHSM(operator_, 0), Q_OK);
    EXPECT_EQ(BindStatus(operator_), 0u);
    EXPECT_EQ(Attribute(operator_, Q_P11_ATTR_TELEMETRY_URL), "");
    EXPECT_EQ(QOSUnbindHSM(operator_, 0), Q_ERR_NOT_BOUND);
}

TEST_F(CloudTest, ForeignForgedOrUntrustedBindKeysAreRefused) {
    const std::string key = BindKey(cloud_);
    EXPECT_EQ(QOSBindHSM(operator_, key.c_str(), 0), Q_ERR_NO_CLOUD_CERT);
    TrustCloud(sim_);
    EXPECT_EQ(QOSBindHSM(operator_, BindKey(cloud_, "OV99999999").c_str(), 0),
              Q_ERR_BIND_KEY_FOREIGN);
    const TestCertificate stranger = MakeTestCertificate("Not the cloud");
    EXPECT_EQ(QOSBindHSM(operator_, BindKey(stranger).c_str(), 0), Q_ERR_BIND_KEY_INVALID);
    std::string forged = key;
    forged[4] = forged[4] == 'A' ? 'B' : 'A';
    EXPECT_EQ(QOSBindHSM(operator_, forged.c_str(), 0), Q_ERR_BIND_KEY_INVALID);
    EXPECT_EQ(QOSBindHSM(operator_, "not a bind key", 0), Q_ERR_BIND_KEY_INVALID);
    EXPECT_EQ(BindKey(cloud_, kSerial, "http://127.0.0.1/status"), "");
    EXPECT_EQ(BindStatus(operator_), 0u);
}

TEST_F(CloudTest, SecurityPolicyStartsOnlinePersistsAndIsTheOperatorsAlone) {
    uint32_t word = 0;
    ASSERT_EQ(Policy(operator_, &word), Q_OK);
    EXPECT_EQ(word, Q_POLICY_AUTHORIZED_ONLINE);
    EXPECT_EQ(SetPolicy(operator_, Q_POLICY_TFA_HTTPS_CERT), Q_OK);
    EXPECT_EQ(SetPolicy(operator_, 0x4), Q_ERR_INVALID_PARAMETER);
    uint16_t shortWord = 0;
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_GET_POLICY, &shortWord, sizeof shortWord, 0),
              Q_ERR_BUFFER_TOO_SMALL);

    AddUser("clerk", "Passw0rd!x", "0x20");  // sees the screens, is no operator
    QSessionHandle clerk = Login("clerk");
    EXPECT_EQ(Policy(clerk, &word), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(SetPolicy(clerk, Q_POLICY_AUTHORIZED_ONLINE), Q_ERR_ACCESS_DENIED);
    QCloseSession(&clerk, 0);

    sim_.Restart();
    QCloseSession(&operator_, 0);
    operator_ = OpenOperator();
    ASSERT_EQ(Policy(operator_, &word), Q_OK);
    EXPECT_EQ(word, Q_POLICY_TFA_HTTPS_CERT);
    EXPECT_NE(ExportedLog(sim_.dataDir()).find("Security policy set: 0x1"), std::string::npos);
}

TEST_F(CloudTest, TelemetryFlowsToTheReceiverWhileBoundAndStopsOnUnbind) {
    const TestCertificate server =
        MakeTestCertificate("127.0.0.1", {.subjectAltName = "IP:127.0.0.1"});
    HttpsReceiver receiver(server);
    ASSERT_NE(receiver.port(), 0);
    const std::string ca = sim_.dataDir() + "/receiver-ca.pem";
    std::ofstream(ca) << server.pem;
    SimProcess sender({.extraArgs = {"--telemetry-interval", "1", "--telemetry-ca", ca}});
    TrustCloud(sender);
    QSessionHandle session = 0;
    ASSERT_EQ(Open(PasswordRecord(sender.port(), "master", sender.initPassword()), &session), Q_OK);
    ASSERT_EQ(QOSBindHSM(session, BindKey(cloud_, kSerial, receiver.Url()).c_str(), 0), Q_OK);

    ASSERT_TRUE(receiver.WaitForBodies(2, 20));
    const std::string document = receiver.Bodies()[0];
    for (const char *field :
         {"\"serial\":\"OV00000001\"", "\"firmware\":\"", "\"sessions\":1", "\"cpu_percent\":",
          "\"memory_kib\":{\"total\":", "\"storage_bytes\":{\"total\":", "\"log_bytes\":"})
        EXPECT_NE(document.find(field), std::string::npos) << field << " in " << document;

    const size_t beforeUnbind = receiver.Bodies().size();
    ASSERT_EQ(QOSUnbindHSM(session, 0), Q_OK);
    // A document already on its way may still land, however late; none is sent after it,
    // where a sender that kept going would have posted about once a second.
    for (int check = 0; check < 2; ++check) {
        std::this_thread::sleep_for(std::chrono::seconds(3));
        EXPECT_LE(receiver.Bodies().size(), beforeUnbind + 1);
    }
    QCloseSession(&session, 0);
}

TEST_F(CloudTest, FailedTelemetryIsLoggedAndRetried) {
    const std::string diagnostics = sim_.dataDir() + "/sender.err";
    SimProcess sender({.stderrPath = diagnostics, .extraArgs = {"--telemetry-interval", "1"}});
    TrustCloud(sender);
    QSessionHandle session = 0;
    ASSERT_EQ(Open(PasswordRecord(sender.port(), "master", sender.initPassword()), &session), Q_OK);
    // Port 9 on loopback: nothing listens, every send fails.
    ASSERT_EQ(QOSBindHSM(session, BindKey(cloud_).c_str(), 0), Q_OK);
    const std::string failure = "telemetry to https://127.0.0.1:9/status failed";
    auto failures = [&] {
        const std::string text = ReadFileBytes(diagnostics);
        size_t count = 0;
        for (size_t at = text.find(failure); at != std::string::npos;
             at = text.find(failure, at + 1))
            ++count;
        return count;
    };
    for (int i = 0; i < 150 && failures() < 2; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_GE(failures(), 2u);
    QCloseSession(&session, 0);
}

}  // namespace
