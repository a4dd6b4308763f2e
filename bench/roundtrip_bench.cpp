// Round trips through the device library to orvena-sim: liveness (QAdmOperation 4) and
// 32 random bytes, over TLS and clear, with one session per benchmark thread.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "bench_session.h"

namespace {

enum class Call { kLiveness, kRandom32 };

void RoundTrips(benchmark::State &state, bool tls, Call call) {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(tls, &session); status != Q_OK) {
        char message[64];
        std::snprintf(message, sizeof message, "QOpenSession failed: %u", status);
        state.SkipWithError(message);
        return;
    }
    unsigned char random[32];
    uint64_t errors = 0;
    for (auto _ : state) {
        uint32_t status = call == Call::kLiveness ? QAdmOperation(session, Q_ADM_LIVENESS, nullptr,
                                                                  0, Q_ADM_LIVENESS_FLAGS)
                                                  : QGetRandom(session, random, sizeof random);
        errors += status != Q_OK;
    }
    QCloseSession(&session, 0);
    state.SetItemsProcessed(state.iterations());
    state.counters["errors"] =
        benchmark::Counter(static_cast<double>(errors), benchmark::Counter::kAvgThreads);
    if (errors != 0) state.SkipWithError("round trips failed");
}

void Register(const char *name, bool tls, Call call) {
    benchmark::RegisterBenchmark(name, RoundTrips, tls, call)
        ->UseRealTime()
        ->Threads(1)
        ->Threads(2)
        ->Threads(8)
        ->Threads(64)
        ->Threads(256);
}

}  // namespace

int main(int argc, char **argv) {
    if (QInitialize(0) != Q_OK) return 1;
    Register("liveness/clear", false, Call::kLiveness);
    Register("liveness/tls", true, Call::kLiveness);
    Register("random32/clear", false, Call::kRandom32);
    Register("random32/tls", true, Call::kRandom32);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    QFinalize();
    return 0;
}
