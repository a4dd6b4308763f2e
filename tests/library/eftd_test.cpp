// The EFT daemon: its configuration through QAdmOperation, and the host commands it then
// serves on its own port for the keys of partition eftd0.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "keys_fixture.h"

namespace {

// The double-length key of the published CVV example (check value 08D7B4); also the PIN key.
constexpr uint8_t kCvk[16] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                              0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
// The PVK of a published IBM 3624 example: validation data 1234567890123456, decimalization
// table 0123456789012345, natural PIN 643085; offset 456789 makes the PIN 099764.
constexpr uint8_t kPvk[8] = {0x13, 0x13, 0x13, 0x13, 0x13, 0x13, 0x13, 0x13};
// ISO format 0 blocks for PAN 4123456789012345 under kCvk (made with openssl enc -des-ede3):
// PIN 099764, PIN 099765, and the five digits 09976.
constexpr const char *kBlockOfPin = "4FBD40B32D0C8A26";
constexpr const char *kBlockOfWrongPin = "29B7DC7981FB3628";

// One host's connection to the daemon's port: frames of a 2-byte length.
class HostClient {
  public:
    explicit HostClient(uint16_t port) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        timeval timeout{10, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        EXPECT_EQ(::connect(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    }
    ~HostClient() { ::close(fd_); }

    void SendRaw(const std::string &bytes) {
        ASSERT_EQ(::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    // The answer's bytes, or "closed" when the daemon hung up.
    std::string Ask(const std::string &message) {
        SendRaw(
            std::string{static_cast<char>(message.size() >> 8), static_cast<char>(message.size())} +
            message);
        return Receive();
    }
    std::string Receive() {
        unsigned char prefix[2];
        if (!ReadExact(prefix, 2)) return "closed";
        std::string answer((size_t{prefix[0]} << 8) | prefix[1], '\0');
        return ReadExact(answer.data(), answer.size()) ? answer : "closed";
    }

  private:
    bool ReadExact(void *buffer, size_t length) {
        for (size_t got = 0; got < length;) {
            ssize_t n = ::recv(fd_, static_cast<char *>(buffer) + got, length - got, 0);
            if (n <= 0) return false;
            got += static_cast<size_t>(n);
        }
        return true;
    }

    int fd_;
};

class EftdTest : public KeysTest {
  protected:
    EftdTest() : KeysTest(SimProcess::Options{.extraArgs = {"--eftd-listen", "127.0.0.1:0"}}) {}

    void SetUp() override {
        KeysTest::SetUp();
        AddUser("eftd0", "Passw0rd!x");
        eftd_ = Login("eftd0");
        ASSERT_NE(eftd_, 0u);
        ASSERT_NE(sim_.eftdPort(), 0);
    }
    void TearDown() override {
        if (eftd_ != 0) QCloseSession(&eftd_, 0);
        KeysTest::TearDown();
    }

    static std::string Config(QSessionHandle session) {
        QEftdConfig config{};
        uint32_t status = QAdmOperation(session, Q_ADM_EFTD_GET_CONFIG, &config, sizeof config, 0);
        if (status != Q_OK) return Error(status);
        return std::to_string(config.headerLength) + "/" + std::to_string(config.pinLength) +
               (config.authorized ? "/authorized" : "/unauthorized");
    }
    static uint32_t SetLength(QSessionHandle session, uint32_t operation, uint8_t length) {
        return QAdmOperation(session, operation, &length, sizeof length, 0);
    }

    QSessionHandle eftd_ = 0;
};

TEST_F(EftdTest, OnlyEftd0AuthorizesOnlyOperatorsEditAndEveryChangePersists) {
    EXPECT_EQ(Config(operator_), "4/6/unauthorized");
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_EFTD_AUTHORIZE, nullptr, 0, 0),
              Q_ERR_NOT_EFTD_PARTITION);
    AddUser("eftd01", "Passw0rd!x", "128");
    QSessionHandle lookalike = Login("eftd01");
    EXPECT_EQ(QAdmOperation(lookalike, Q_ADM_EFTD_AUTHORIZE, nullptr, 0, 0),
              Q_ERR_NOT_EFTD_PARTITION);
    QCloseSession(&lookalike, 0);

    ASSERT_EQ(QAdmOperation(eftd_, Q_ADM_EFTD_AUTHORIZE, nullptr, 0, 0), Q_OK);
    EXPECT_EQ(Config(eftd_), "4/6/authorized");
    EXPECT_EQ(SetLength(eftd_, Q_ADM_EFTD_SET_HEADER_LEN, 8), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(SetLength(eftd_, Q_ADM_EFTD_SET_PIN_LEN, 8), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QAdmOperation(eftd_, Q_ADM_EFTD_RESET, nullptr, 0, 0), Q_ERR_ACCESS_DENIED);

    EXPECT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_HEADER_LEN, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_PIN_LEN, 4), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_PIN_LEN, 14), Q_ERR_INVALID_PARAMETER);
    uint16_t wide = 12;
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_EFTD_SET_HEADER_LEN, &wide, sizeof wide, 0),
              Q_ERR_INVALID_LENGTH);
    QEftdConfig small[1];
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_EFTD_GET_CONFIG, small, 2, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_HEADER_LEN, 255), Q_OK);
    EXPECT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_PIN_LEN, 13), Q_OK);

    QCloseSession(&eftd_, 0);
    QCloseSession(&operator_, 0);
    sim_.Restart();
    operator_ = OpenOperator();
    EXPECT_EQ(Config(operator_), "255/13/authorized");
    ASSERT_EQ(QAdmOperation(operator_, Q_ADM_EFTD_RESET, nullptr, 0, 0), Q_OK);
    EXPECT_EQ(Config(operator_), "4/6/unauthorized");

    const std::string log = ExportedLog(sim_.dataDir());
    for (const char *line :
         {"EFTd host commands authorized", "EFTd message header length set to 255",
          "EFTd PIN length set to 13", "EFTd configuration reset"})
        EXPECT_NE(log.find(line), std::string::npos) << line;
}

TEST_F(EftdTest, HostCommandsAnswerOnlyWhileAuthorizedAndSurviveGarbage) {
    Import(eftd_, "cvk", Q_ALG_3DES_112, kCvk, sizeof kCvk);
    Import(eftd_, "pvk", Q_ALG_DES, kPvk, sizeof kPvk);
    Import(operator_, "other", Q_ALG_3DES_112, kCvk, sizeof kCvk);
    HostClient host(sim_.eftdPort());

    // Refused with an error code, and the same connection serves once authorized.
    EXPECT_EQ(host.Ask("0001ECping"), "0001ED10");
    EXPECT_EQ(host.Ask("0002CGcvk;4123456789012345;8701101"), "0002CH10");
    ASSERT_EQ(QAdmOperation(eftd_, Q_ADM_EFTD_AUTHORIZE, nullptr, 0, 0), Q_OK);
    EXPECT_EQ(host.Ask("0003ECping"), "0003ED00ping");

    EXPECT_EQ(host.Ask("0004CGcvk;4123456789012345;8701101"), "0004CH00561");
    EXPECT_EQ(host.Ask("0005CVcvk;4123456789012345;8701101561"), "0005CW00");
    EXPECT_EQ(host.Ask("0006CVcvk;4123456789012345;8701101562"), "0006CW01");
    EXPECT_EQ(host.Ask("0007CGcvk;4123456789012345;8713101"), "0007CH15");
    EXPECT_EQ(host.Ask("0008CGpvk;4123456789012345;8701101"), "0008CH12");
    EXPECT_EQ(host.Ask("0009CGother;4123456789012345;8701101"), "0009CH11");  // not eftd0's
    EXPECT_EQ(host.Ask("0010KCcvk"), "0010KD0008D7B4");
    // A key the connection has used is blocked, then removed: each change counts at once.
    QKeyHandle cvk = 0;
    ASSERT_EQ(QGetUserKey(eftd_, "cvk", 0, &cvk), Q_OK);
    ASSERT_EQ(SetBlocked(cvk, 1), Q_OK);
    EXPECT_EQ(host.Ask("0019CGcvk;4123456789012345;8701101"), "0019CH12");
    ASSERT_EQ(SetBlocked(cvk, 0), Q_OK);
    QDestroyKey(cvk, 0);
    EXPECT_EQ(host.Ask("0020CGcvk;4123456789012345;8701101"), "0020CH00561");
    Import(eftd_, "spare", Q_ALG_3DES_112, kCvk, sizeof kCvk);
    EXPECT_EQ(host.Ask("0021KCspare"), "0021KD0008D7B4");
    ASSERT_EQ(QRemoveObj(eftd_, "spare"), Q_OK);
    EXPECT_EQ(host.Ask("0022KCspare"), "0022KD11");

    const std::string pinFields =
        "cvk;pvk;" + std::string(kBlockOfPin) + "4123456789012345;01234567890123451234567890123456";
    EXPECT_EQ(host.Ask("0011PV" + pinFields + "456789"), "0011PW00");
    EXPECT_EQ(host.Ask("0012PV" + pinFields + "456780"), "0012PW01");
    EXPECT_EQ(host.Ask("0013PVcvk;pvk;" + std::string(kBlockOfWrongPin) +
                       "4123456789012345;01234567890123451234567890123456456789"),
              "0013PW01");
    // Another account number unmasks the block into something that is not a PIN block.
    EXPECT_EQ(host.Ask("0014PVcvk;pvk;" + std::string(kBlockOfPin) +
                       "4123456789099995;01234567890123451234567890123456456789"),
              "0014PW20");
    ASSERT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_PIN_LEN, 5), Q_OK);
    EXPECT_EQ(host.Ask("0015PV" + pinFields + "45678"), "0015PW16");

    // Garbage: short messages, unknown codes and broken fields are answered; a frame too long
    // to read ends only its own connection.
    EXPECT_EQ(host.Ask("00"), "00ZZ31");
    EXPECT_EQ(host.Ask(""), "ZZ31");
    EXPECT_EQ(host.Ask("0016XX"), "0016ZZ30");
    EXPECT_EQ(host.Ask("0017CGcvk4123456789012345"), "0017CH15");
    EXPECT_EQ(host.Ask("0018PVcvk;pvk;ZZZZ"), "0018PW15");
    HostClient flooder(sim_.eftdPort());
    flooder.SendRaw("\xFF\xFF" + std::string(64, 'x'));
    EXPECT_EQ(flooder.Receive(), "closed");
    ASSERT_EQ(SetLength(operator_, Q_ADM_EFTD_SET_HEADER_LEN, 1), Q_OK);
    EXPECT_EQ(host.Ask("AECok"), "AED00ok");
}

}  // namespace
