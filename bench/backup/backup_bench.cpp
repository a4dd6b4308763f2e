// The library's side of the backup figures (backup.sh drives it):
//   backup_bench backup FILE            seconds of QBackupData creating FILE
//   backup_bench restore FILE           seconds of QBackupData restoring FILE (network kept)
//   backup_bench generate SECONDS N     AES-128 keys per second from N sessions
//   backup_bench during FILE N          keys per second from N sessions while FILE is made,
//                                       then the backup's seconds
// Each line also gives this process's peak resident memory growth during the call, in KiB.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_session.h"

namespace {

constexpr const char *kPassword = "Bench#BackupPass1";

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// A field of /proc/self/status, in KiB.
long StatusKib(const char *field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind(field, 0) == 0) return std::atol(line.c_str() + std::strlen(field));
    return 0;
}

// Resets the peak to the current size, so the next peak is that of what follows.
void ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

QSessionHandle Open() {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK) {
        std::fprintf(stderr, "login failed: %u\n", status);
        std::exit(1);
    }
    return session;
}

// Runs `body` and prints its seconds and the memory it added at its peak.
template <class Body>
void Timed(Body body) {
    QSessionHandle session = Open();
    ResetPeak();
    const long before = StatusKib("VmRSS:");
    const auto start = Clock::now();
    const uint32_t status = body(session);
    const double seconds = Seconds(start);
    if (status != Q_OK) {
        std::fprintf(stderr, "QBackupData failed: %u\n", status);
        std::exit(1);
    }
    std::printf("%.3f %ld\n", seconds, StatusKib("VmHWM:") - before);
    QCloseSession(&session, 0);
}

// Sessions generating keys until `stop`; counts every acknowledged key.
struct Generators {
    std::atomic<bool> stop{false};
    std::atomic<long> keys{0};
    std::vector<std::thread> threads;

    explicit Generators(int sessions) {
        for (int s = 0; s < sessions; ++s)
            threads.emplace_back([this, s] {
                QSessionHandle session = Open();
                char name[64];
                for (long n = 0; !stop; ++n) {
                    std::snprintf(name, sizeof name, "gen-%d-%ld-%ld", s, n,
                                  static_cast<long>(Clock::now().time_since_epoch().count()));
                    QKeyHandle key = 0;
                    if (QGenerateKey(session, name, Q_ALG_AES_128, 0, &key) != Q_OK) continue;
                    QDestroyKey(key, 0);
                    ++keys;
                }
                QCloseSession(&session, 0);
            });
    }
    ~Generators() {
        stop = true;
        for (std::thread &thread : threads)
            thread.join();
    }
};

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3 || QInitialize(0) != Q_OK) {
        std::fprintf(stderr,
                     "usage: backup_bench backup|restore FILE | generate SECONDS N | "
                     "during FILE N\n");
        return 2;
    }
    const std::string command = argv[1];
    if (command == "backup" || command == "restore") {
        const uint32_t flags = command == "backup" ? Q_BACKUP_CREATE : Q_BACKUP_RESTORE_NO_NETWORK;
        Timed([&](QSessionHandle session) {
            return QBackupData(session, argv[2], kPassword, flags);
        });
    } else if (command == "generate" && argc == 4) {
        Generators generators(std::atoi(argv[3]));
        std::this_thread::sleep_for(std::chrono::seconds(1));  // past the logins
        const long before = generators.keys;
        const auto start = Clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(std::atof(argv[2])));
        std::printf("%.1f\n", static_cast<double>(generators.keys - before) / Seconds(start));
    } else if (command == "during" && argc == 4) {
        Generators generators(std::atoi(argv[3]));
        std::this_thread::sleep_for(std::chrono::seconds(1));
        QSessionHandle session = Open();
        const long before = generators.keys;
        const auto start = Clock::now();
        const uint32_t status = QBackupData(session, argv[2], kPassword, Q_BACKUP_CREATE);
        const double seconds = Seconds(start);
        const long made = generators.keys - before;
        QCloseSession(&session, 0);
        if (status != Q_OK) {
            std::fprintf(stderr, "QBackupData failed: %u\n", status);
            return 1;
        }
        std::printf("%.1f %.3f\n", static_cast<double>(made) / seconds, seconds);
    } else {
        return 2;
    }
    return QFinalize() == Q_OK ? 0 : 1;
}
