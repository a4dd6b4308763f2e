// Sessions, handles and discovery of the device library against a live simulator.

#include <atomic>
#include <thread>
#include <vector>

#include "qelvoarc_fixture.h"

namespace {

using SessionTest = LibraryTest;

TEST_F(SessionTest, ClearAndTlsSessionsReportTheirProtocolAndFlagsChooseOneTransport) {
    for (uint32_t flags : {Q_SESSION_TLS | 0x28u, Q_SESSION_CLEAR | 0x18u}) {
        QSessionHandle session = OpenOperator(flags);
        uint32_t protocol = Q_PROTOCOL_UNKNOWN;
        uint32_t length = sizeof protocol;
        ASSERT_EQ(QGetSessionParam(session, Q_SESSION_PARAM_PROTOCOL, &protocol, &length, 0), Q_OK);
        EXPECT_EQ(length, sizeof protocol);
        char text[128];
        length = sizeof text;
        ASSERT_EQ(QGetSessionParam(session, Q_SESSION_PARAM_CIPHER, text, &length, 0), Q_OK);
        if (flags & Q_SESSION_TLS) {
            EXPECT_TRUE(protocol == Q_PROTOCOL_TLS1_2 || protocol == Q_PROTOCOL_TLS1_3) << protocol;
            EXPECT_STRNE(text, "");
        } else {
            EXPECT_EQ(protocol, Q_PROTOCOL_CLEAR);
            EXPECT_STREQ(text, "");
        }
        length = 2;
        EXPECT_EQ(QGetSessionParam(session, Q_SESSION_PARAM_PROTOCOL, &protocol, &length, 0),
                  Q_ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS), Q_OK);
        EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    }
    QSessionHandle session = 0;
    auto record = PasswordRecord(sim_.port(), "master", sim_.initPassword());
    EXPECT_EQ(Open(record, &session, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Open(record, &session, Q_SESSION_TLS | Q_SESSION_CLEAR), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Open(record, &session, Q_SESSION_TLS | 0x100), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session, 0u);
}

TEST_F(SessionTest, RandomBytesAndAclComeFromTheHsmAndHandlesAreCheckedForLivenessAndKind) {
    QSessionHandle session = OpenOperator();
    uint8_t one[32] = {}, two[32] = {};
    ASSERT_EQ(QGetRandom(session, one, sizeof one), Q_OK);
    ASSERT_EQ(QGetRandom(session, two, sizeof two), Q_OK);
    EXPECT_NE(std::memcmp(one, two, sizeof one), 0);
    EXPECT_EQ(QGetRandom(session, one, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGetRandom(session, nullptr, 4), Q_ERR_INVALID_PARAMETER);
    uint32_t acl = 0;
    ASSERT_EQ(QGetUserAcl(session, "master", &acl), Q_OK);
    EXPECT_NE(acl & Q_ACL_OPERATOR, 0u);
    EXPECT_NE(QGetUserAcl(session, "nobody", &acl), Q_OK);

    // A hash handle is not a session and a session is not a hash.
    QHashHandle hash = 0;
    ASSERT_EQ(QCreateHash(session, Q_HASH_SHA256, 0, 0, &hash), Q_OK);
    uint8_t random[8];
    EXPECT_EQ(QGetRandom(hash, random, sizeof random), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QHashData(session, random, sizeof random, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetRandom(0, random, sizeof random), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetRandom(session + 1000, random, sizeof random), Q_ERR_INVALID_HANDLE);

    // Released handles stay dead, also when a new object of the same kind is created.
    ASSERT_EQ(QDestroyHash(hash), Q_OK);
    EXPECT_EQ(QDestroyHash(hash), Q_ERR_INVALID_HANDLE);
    QHashHandle second = 0;
    ASSERT_EQ(QCreateHash(session, Q_HASH_SHA256, 0, 0, &second), Q_OK);
    EXPECT_NE(second, hash);
    EXPECT_EQ(QHashData(hash, random, sizeof random, 0), Q_ERR_INVALID_HANDLE);

    QSessionHandle copy = session;
    ASSERT_EQ(QCloseSession(&session, 0), Q_OK);
    EXPECT_EQ(session, 0u);
    EXPECT_EQ(QCloseSession(&copy, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetRandom(copy, random, sizeof random), Q_ERR_INVALID_HANDLE);
    // A hash outliving its session fails cleanly and can still be released.
    EXPECT_EQ(QHashData(second, random, sizeof random, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QDestroyHash(second), Q_OK);
}

TEST_F(SessionTest, InformationOfTheHsmAndALostConnectionGivesAnErrorNotAHang) {
    QSessionHandle session = OpenOperator();
    char version[512];
    uint32_t flagWord = 1;
    uint32_t length = sizeof version;
    ASSERT_EQ(QGetHsmInfo(session, &flagWord, Q_INFO_VERSION, version, &length, 0), Q_OK);
    EXPECT_EQ(flagWord, 1u);
    EXPECT_EQ(std::strlen(version), length);
    EXPECT_GT(length, 0u);

    uint32_t mode = 0xFFFFFFFF;
    length = sizeof mode;
    ASSERT_EQ(QGetHsmInfo(session, &flagWord, Q_INFO_MODE, &mode, &length, 0), Q_OK);
    EXPECT_EQ(length, 4u);
    EXPECT_NE(mode, 0xFFFFFFFFu);

    length = 3;
    EXPECT_EQ(QGetHsmInfo(session, &flagWord, Q_INFO_VERSION, version, &length, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_GT(length, 3u);

    sim_.Kill();
    uint8_t random[4];
    EXPECT_EQ(QGetRandom(session, random, sizeof random), Q_ERR_CONNECTION_LOST);
    EXPECT_EQ(QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS),
              Q_ERR_CONNECTION_LOST);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    QSessionHandle again = 0;
    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "master", sim_.initPassword()), &again),
              Q_ERR_CONNECT);
}

TEST_F(SessionTest, OneThreadPerSessionRunsConcurrently) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 50;
    std::vector<QSessionHandle> sessions;
    for (int i = 0; i < kThreads; ++i)
        sessions.push_back(OpenOperator(i % 2 ? Q_SESSION_TLS : Q_SESSION_CLEAR));
    std::atomic<int> failures{0};
    // Runs `work` on a thread of its own for each session and waits for them all.
    auto onThreads = [](const std::vector<QSessionHandle> &each, auto work) {
        std::vector<std::thread> threads;
        for (QSessionHandle session : each)
            threads.emplace_back(work, session);
        for (auto &thread : threads)
            thread.join();
    };
    onThreads(sessions, [&failures](QSessionHandle session) {
        for (int i = 0; i < kCalls; ++i) {
            QHashHandle hash = 0;
            uint8_t digest[32];
            uint32_t length = sizeof digest;
            if (QCreateHash(session, Q_HASH_SHA256, 0, 0, &hash) != Q_OK ||
                QHashData(hash, digest, 8, 0) != Q_OK ||
                QGetHashParam(hash, Q_HASH_PARAM_VALUE, digest, &length, 0) != Q_OK ||
                QDestroyHash(hash) != Q_OK)
                ++failures;
        }
    });
    EXPECT_EQ(failures, 0);
    // Two threads sharing one session are serialised rather than interleaved on the wire.
    onThreads({sessions[0], sessions[0]}, [&failures](QSessionHandle shared) {
        uint8_t random[16];
        for (int i = 0; i < kCalls; ++i)
            if (QGetRandom(shared, random, sizeof random) != Q_OK) ++failures;
    });
    EXPECT_EQ(failures, 0);
}

// Finding HSMs and fetching their TLS certificate need no session.
TEST_F(SessionTest, ProbeFindsTheSimulatorOnceAndItsTlsCertificateIsTheServers) {
    ASSERT_EQ(setenv("QELVOARC_DISCOVERY_PORT", std::to_string(sim_.discoveryPort()).c_str(), 1),
              0);
    QHsmDiscoveryEntry *list = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(QFindHSM(Q_FIND_HSM_UDP, Q_FIND_HSM_DEFAULT_WAIT, &list, &count, 0), Q_OK);
    ASSERT_EQ(count, 1u);
    EXPECT_STREQ(list[0].address, "127.0.0.1");
    EXPECT_EQ(list[0].port, sim_.port());
    QFree(list);
    EXPECT_EQ(QFindHSM(1, Q_FIND_HSM_DEFAULT_WAIT, &list, &count, 0), Q_ERR_INVALID_PARAMETER);

    const std::string expected = ServerCertificate();
    ASSERT_FALSE(expected.empty());
    uint8_t *pem = nullptr, *der = nullptr;
    uint32_t pemLength = 0, derLength = 0;
    ASSERT_EQ(QGetHSMTLSCert("127.0.0.1", sim_.port(), Q_CERT_FORMAT_PEM, &pem, &pemLength, 0),
              Q_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(pem), pemLength), expected);
    QFree(pem);
    ASSERT_EQ(QGetHSMTLSCert("127.0.0.1", sim_.port(), Q_CERT_FORMAT_DER, &der, &derLength, 0),
              Q_OK);
    EXPECT_EQ(der[0], 0x30);  // a DER SEQUENCE
    EXPECT_LT(derLength, pemLength);
    QFree(der);
    EXPECT_EQ(QGetHSMTLSCert("127.0.0.1", sim_.port(), 3, &der, &derLength, 0),
              Q_ERR_INVALID_PARAMETER);

    // Once the HSM is gone: an empty list, and no certificate.
    sim_.Stop();
    list = reinterpret_cast<QHsmDiscoveryEntry *>(1);
    count = 99;
    ASSERT_EQ(QFindHSM(Q_FIND_HSM_UDP, 100, &list, &count, 0), Q_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(QGetHSMTLSCert("127.0.0.1", sim_.port(), Q_CERT_FORMAT_PEM, &der, &derLength, 0),
              Q_ERR_CONNECT);
}

TEST(SessionWithoutLibrary, CallsBeforeInitialisationAreRefused) {
    QSessionHandle session = 0;
    QPasswordLoginRecord record = PasswordRecord(4433, "master", "x");
    EXPECT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS),
              Q_ERR_NOT_INITIALIZED);
    EXPECT_EQ(QFinalize(), Q_ERR_NOT_INITIALIZED);
    // Initialisation is counted.
    ASSERT_EQ(QInitialize(Q_INIT_INTERACTIVE), Q_OK);
    ASSERT_EQ(QInitialize(0), Q_OK);
    EXPECT_EQ(QFinalize(), Q_OK);
    EXPECT_EQ(QFinalize(), Q_OK);
    EXPECT_EQ(QFinalize(), Q_ERR_NOT_INITIALIZED);
}

}  // namespace
