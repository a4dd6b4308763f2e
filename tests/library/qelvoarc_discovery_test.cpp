// Finding HSMs and fetching their TLS certificate without a session.

#include "qelvoarc_fixture.h"

namespace {

using DiscoveryTest = LibraryTest;

TEST_F(DiscoveryTest, ProbeFindsTheSimulatorOnceAndItsTlsCertificateIsTheServers) {
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

}  // namespace
