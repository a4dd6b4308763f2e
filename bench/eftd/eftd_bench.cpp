// Figures for bench/eftd/eftd.sh. Modes:
//   setup                  as the session user (partition eftd0): imports the CVV key "cvk"
//                          and authorizes host commands
//   rate PORT N SECONDS    over N connections to the host-command port, echo and CVV
//                          generation sent back to back in alternating rounds of half a
//                          second for SECONDS in all, so that both meet the same load of the
//                          machine; prints the echoes and the CVVs per second

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench_session.h"
#include "qelvoarc.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint8_t kCvk[16] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                              0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
// The daemon's header length after a reset.
constexpr const char *kHeader = "0001";

[[noreturn]] void Fail(const char *what, unsigned long code) {
    std::fprintf(stderr, "eftd_bench: %s failed (%lu)\n", what, code);
    std::exit(1);
}

void Setup() {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK) Fail("login", status);
    QKeyHandle key = 0;
    if (uint32_t status = QImportKey(session, "cvk", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_3DES_112, 0,
                                     kCvk, sizeof kCvk, &key);
        status != Q_OK)
        Fail("QImportKey", status);
    QDestroyKey(key, 0);
    if (uint32_t status = QAdmOperation(session, Q_ADM_EFTD_AUTHORIZE, nullptr, 0, 0);
        status != Q_OK)
        Fail("authorize", status);
    QCloseSession(&session, 0);
}

int Connect(uint16_t port) {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        Fail("connect", static_cast<unsigned long>(errno));
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

bool ReadExact(int fd, char *buffer, size_t length) {
    for (size_t got = 0; got < length;) {
        ssize_t n = ::recv(fd, buffer + got, length - got, 0);
        if (n <= 0) return false;
        got += static_cast<size_t>(n);
    }
    return true;
}

// One host's loop until `stop`; counts the answers that report no error.
void Host(uint16_t port, const std::string &message, const std::atomic<bool> &stop,
          std::atomic<uint64_t> &answered) {
    const int fd = Connect(port);
    std::string frame{static_cast<char>(message.size() >> 8), static_cast<char>(message.size())};
    frame += message;
    const size_t errorAt = std::strlen(kHeader) + 2;
    char answer[512];
    uint64_t count = 0;
    while (!stop.load(std::memory_order_relaxed)) {
        if (::send(fd, frame.data(), frame.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(frame.size()))
            Fail("send", 0);
        unsigned char prefix[2];
        if (!ReadExact(fd, reinterpret_cast<char *>(prefix), 2)) Fail("answer", 0);
        const size_t length = (size_t{prefix[0]} << 8) | prefix[1];
        if (length > sizeof answer || !ReadExact(fd, answer, length)) Fail("answer", length);
        if (length < errorAt + 2 || std::memcmp(answer + errorAt, "00", 2) != 0)
            Fail("host command", 0);
        ++count;
    }
    answered += count;
    ::close(fd);
}

// Answers per second of `message` over `connections` for `seconds`.
double Round(uint16_t port, int connections, double seconds, const std::string &message) {
    std::atomic<bool> stop{false};
    std::atomic<uint64_t> answered{0};
    std::vector<std::thread> hosts;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < connections; ++i)
        hosts.emplace_back(Host, port, std::cref(message), std::cref(stop), std::ref(answered));
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    stop = true;
    for (std::thread &host : hosts)
        host.join();
    return static_cast<double>(answered.load()) /
           std::chrono::duration<double>(Clock::now() - start).count();
}

void Rate(uint16_t port, int connections, double seconds) {
    constexpr double kRoundSeconds = 0.5;
    const std::string echo = std::string(kHeader) + "ECping";
    const std::string cvv = std::string(kHeader) + "CGcvk;4123456789012345;8701101";
    double echoes = 0;
    double cvvs = 0;
    int rounds = 0;
    for (; rounds < seconds / (2 * kRoundSeconds) || rounds == 0; ++rounds) {
        echoes += Round(port, connections, kRoundSeconds, echo);
        cvvs += Round(port, connections, kRoundSeconds, cvv);
    }
    std::printf("%.0f %.0f\n", echoes / rounds, cvvs / rounds);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc == 2 && std::strcmp(argv[1], "setup") == 0) {
        if (QInitialize(0) != Q_OK) Fail("QInitialize", 0);
        Setup();
        QFinalize();
        return 0;
    }
    if (argc == 5 && std::strcmp(argv[1], "rate") == 0) {
        Rate(static_cast<uint16_t>(std::atoi(argv[2])), std::atoi(argv[3]), std::atof(argv[4]));
        return 0;
    }
    std::fprintf(stderr, "usage: eftd_bench setup | rate PORT CONNECTIONS SECONDS\n");
    return 2;
}
