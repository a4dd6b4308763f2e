// The library's side of the replication figures (replication.sh drives it), against the node
// named by ORVENA_BENCH_HOST and ORVENA_BENCH_PORT:
//   replication_bench generate SECONDS N   AES-256 keys per second from N sessions, and the
//                                          median acknowledgement in milliseconds
//   replication_bench count KEYS N         seconds for N sessions to generate KEYS keys
//   replication_bench rtt                  median milliseconds of a liveness round trip
//   replication_bench node OP ADDRESS      node operation OP (1 test .. 4 delete)
#include <arpa/inet.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "bench_session.h"

namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::time_point since) {
    return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

QSessionHandle Open() {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK) {
        std::fprintf(stderr, "login failed: %u\n", status);
        std::exit(1);
    }
    return session;
}

double Median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// N sessions, once every one is open, generate keys for `seconds` (0: until `budget` keys are
// made). Logging in verifies a password hash, which is meant to be slow: the figures start
// when the last session is open. Returns the seconds from then; the latency of each
// acknowledged generation in *latencies.
double Generate(int sessions, double seconds, long budget, std::vector<double> *latencies,
                size_t *generated) {
    std::vector<std::thread> threads;
    std::vector<std::vector<double>> each(static_cast<size_t>(sessions));
    std::atomic<size_t> made{0}, refused{0};
    std::atomic<bool> stop{false};
    std::atomic<long> left{budget};
    std::latch open(sessions), go(1);
    for (int s = 0; s < sessions; ++s) {
        threads.emplace_back([&, s] {
            QSessionHandle session = Open();
            open.count_down();
            go.wait();
            for (long n = 0; !stop && left-- > 0; ++n) {
                const std::string name = "bench " + std::to_string(s) + " " + std::to_string(n) +
                                         " " +
                                         std::to_string(Clock::now().time_since_epoch().count());
                QKeyHandle key = 0;
                const auto start = Clock::now();
                if (QGenerateKey(session, name.c_str(), Q_ALG_AES_256, 0, &key) != Q_OK) {
                    refused++;
                    continue;
                }
                each[size_t(s)].push_back(Milliseconds(start));
                QDestroyKey(key, 0);
                made++;
            }
            QCloseSession(&session, 0);
        });
    }
    open.wait();
    const auto start = Clock::now();
    go.count_down();
    if (seconds > 0) {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        stop = true;
    }
    for (std::thread &thread : threads)
        thread.join();
    const double elapsed = Milliseconds(start) / 1000;
    // A refusal is not made quickly, and must not pass for that.
    if (refused != 0) std::fprintf(stderr, "%zu generations refused\n", refused.load());
    for (const auto &some : each)
        latencies->insert(latencies->end(), some.begin(), some.end());
    *generated = made;
    return elapsed;
}

}  // namespace

int main(int argc, char **argv) {
    if (QInitialize(0) != Q_OK) return 1;
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "generate" && argc == 4) {
        std::vector<double> latencies;
        size_t made = 0;
        const double elapsed =
            Generate(std::atoi(argv[3]), std::atof(argv[2]), 1L << 40, &latencies, &made);
        std::printf("%.1f %.3f\n", static_cast<double>(made) / elapsed, Median(latencies));
    } else if (command == "count" && argc == 4) {
        std::vector<double> latencies;
        size_t made = 0;
        std::printf("%.3f\n",
                    Generate(std::atoi(argv[3]), 0, std::atol(argv[2]), &latencies, &made));
    } else if (command == "rtt") {
        QSessionHandle session = Open();
        std::vector<double> times;
        for (int n = 0; n < 2000; ++n) {
            const auto start = Clock::now();
            QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
            times.push_back(Milliseconds(start));
        }
        std::printf("%.3f\n", Median(times));
        QCloseSession(&session, 0);
    } else if (command == "node" && argc == 4) {
        QSessionHandle session = Open();
        QReplicationNodeOp op{};
        op.operation = uint8_t(std::atoi(argv[2]));
        inet_pton(AF_INET, argv[3], op.address);
        const uint32_t status = QAdmOperation(session, Q_ADM_REPLICATION_NODE, &op, sizeof op, 0);
        QCloseSession(&session, 0);
        if (status != Q_OK) std::fprintf(stderr, "node operation: %u\n", status);
        QFinalize();
        return status == Q_OK ? 0 : 1;
    } else {
        std::fprintf(stderr, "usage: see the head of replication_bench.cpp\n");
        return 2;
    }
    QFinalize();
    return 0;
}
