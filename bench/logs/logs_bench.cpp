// Figures for bench/logs/logs.sh, measured through the console's own log routines. Each mode
// prints seconds on standard output:
//   retrieve FILE ARCHIVE UNPACKED   the log downloaded as text into FILE, then zipped into
//                                    ARCHIVE and unpacked into UNPACKED, on one session so
//                                    both see the same log; two figures
//   dates N                          N reads of the first and the last line's dates
//                                    (seconds per pair)

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_session.h"
#include "hsm/log_files.h"
#include "hsm/log_queries.h"
#include "qelvoarc.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void Fail(const char *what, unsigned long code) {
    std::fprintf(stderr, "logs_bench: %s failed (%lu)\n", what, code);
    std::exit(1);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) Fail("usage", 0);
    if (uint32_t rc = QInitialize(0); rc != Q_OK) Fail("QInitialize", rc);
    QSessionHandle session = 0;
    if (uint32_t rc = OpenBenchSession(true, &session); rc != Q_OK) Fail("login", rc);
    const std::string mode = argv[1];
    Clock::time_point start = Clock::now();
    if (mode == "retrieve" && argc == 5) {
        if (uint32_t rc = DownloadHsmLog(session, argv[2], kLogPlainMode, false); rc != Q_OK)
            Fail("download", rc);
        const double plain = Seconds(start);
        start = Clock::now();
        if (uint32_t rc = DownloadHsmLog(session, argv[3], kLogZippedMode, false); rc != Q_OK)
            Fail("download", rc);
        if (!UnzipHsmLog(argv[3], argv[4])) Fail("unzip", 1);
        std::printf("%.6f %.6f\n", plain, Seconds(start));
    } else if (mode == "dates") {
        const long count = std::atol(argv[2]);
        uint32_t size = 0;
        if (uint32_t rc = ReadLogSize(session, &size); rc != Q_OK) Fail("size", rc);
        start = Clock::now();
        for (long i = 0; i < count; ++i) {
            time_t first = 0, last = 0;
            if (uint32_t rc = ReadFirstLogDate(session, &first); rc != Q_OK) Fail("first", rc);
            if (uint32_t rc = ReadLastLogDate(session, size, &last); rc != Q_OK) Fail("last", rc);
        }
        std::printf("%.9f\n", Seconds(start) / static_cast<double>(count));
    } else {
        Fail("usage", 0);
    }
    QCloseSession(&session, 0);
    QFinalize();
    return 0;
}
