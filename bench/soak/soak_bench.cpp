// Load for bench/soak.sh. Modes:
//   soak SESSIONS MINUTES   SESSIONS sessions over TLS, each running the request mix until
//                           the time is up. Prints one line a minute: the minute, requests
//                           done, errors, and the simulator's RSS (kB) and open descriptors
//                           (of ORVENA_BENCH_SIM_PID). Exits 1 on any error.
//   client SESSIONS         the same mix without end, for a process the script kills with
//                           its requests in flight.
// The mix, in turn: liveness, generation and removal of a key, the partition's list, a
// SHA-256 of 4 KiB, a user's ACL.

#include <dirent.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_session.h"
#include "qelvoarc.h"

namespace {

std::atomic<uint64_t> g_requests{0};
std::atomic<uint64_t> g_errors{0};
std::atomic<bool> g_stop{false};

uint32_t IgnoreName(const char *, void *, int) {
    return 0;
}

void Count(uint32_t status, const char *what) {
    ++g_requests;
    if (status != Q_OK) {
        if (g_errors++ < 10) std::fprintf(stderr, "soak_bench: %s answered %u\n", what, status);
    }
}

void RunMix(int worker) {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK) {
        Count(status, "login");
        return;
    }
    const std::string key = "soak" + std::to_string(worker) + "_" + std::to_string(::getpid());
    uint8_t data[4096] = {};
    for (uint64_t round = 0; !g_stop; ++round) {
        switch (round % 5) {
            case 0:
                Count(QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS),
                      "liveness");
                break;
            case 1: {
                QKeyHandle handle = 0;
                Count(QGenerateKey(session, key.c_str(), Q_ALG_AES_256, 0, &handle), "generate");
                (void)QDestroyKey(handle, 0);
                Count(QRemoveObj(session, key.c_str()), "remove");
                break;
            }
            case 2:
                Count(QListObjs(session, IgnoreName, nullptr), "list");
                break;
            case 3: {
                QHashHandle hash = 0;
                uint32_t status = QCreateHash(session, Q_HASH_SHA256, 0, 0, &hash);
                if (status == Q_OK) status = QHashData(hash, data, sizeof data, 0);
                uint32_t length = sizeof data;
                if (status == Q_OK)
                    status = QGetHashParam(hash, Q_HASH_PARAM_VALUE, data, &length, 0);
                (void)QDestroyHash(hash);
                Count(status, "hash");
                break;
            }
            default: {
                uint32_t acl = 0;
                Count(QGetUserAcl(session, "master", &acl), "user acl");
                break;
            }
        }
    }
    (void)QCloseSession(&session, 0);
}

long RssKb(const std::string &pid) {
    std::ifstream status("/proc/" + pid + "/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
    return -1;
}

int OpenFds(const std::string &pid) {
    DIR *dir = ::opendir(("/proc/" + pid + "/fd").c_str());
    if (dir == nullptr) return -1;
    int count = 0;
    while (dirent *entry = ::readdir(dir))
        if (entry->d_name[0] != '.') ++count;
    ::closedir(dir);
    return count;
}

}  // namespace

int main(int argc, char **argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const int sessions = argc > 2 ? std::atoi(argv[2]) : 0;
    if ((mode != "soak" && mode != "client") || sessions <= 0 || (mode == "soak" && argc < 4)) {
        std::fprintf(stderr, "usage: soak_bench soak SESSIONS MINUTES | client SESSIONS\n");
        return 2;
    }
    if (QInitialize(0) != Q_OK) return 1;
    std::vector<std::thread> workers;
    for (int i = 0; i < sessions; ++i)
        workers.emplace_back(RunMix, i);
    if (mode == "client") {
        for (std::thread &worker : workers)
            worker.join();  // until killed
        return 0;
    }

    const char *simPid = std::getenv("ORVENA_BENCH_SIM_PID");
    const std::string pid = simPid != nullptr ? simPid : "";
    const int minutes = std::atoi(argv[3]);
    std::printf("%6s %12s %8s %10s %6s\n", "minute", "requests", "errors", "sim_rss_kB", "fds");
    uint64_t before = 0;
    for (int minute = 1; minute <= minutes; ++minute) {
        std::this_thread::sleep_for(std::chrono::minutes(1));
        const uint64_t done = g_requests.load();
        std::printf("%6d %12llu %8llu %10ld %6d\n", minute,
                    static_cast<unsigned long long>(done - before),
                    static_cast<unsigned long long>(g_errors.load()), RssKb(pid), OpenFds(pid));
        std::fflush(stdout);
        before = done;
    }
    g_stop = true;
    for (std::thread &worker : workers)
        worker.join();
    (void)QFinalize();
    return g_errors == 0 ? 0 : 1;
}
