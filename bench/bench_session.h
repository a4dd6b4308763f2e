#pragma once
// Opening benchmark sessions on the simulator named by the environment:
// ORVENA_BENCH_HOST (default 127.0.0.1), ORVENA_BENCH_PORT, ORVENA_BENCH_USER (default
// master) and ORVENA_BENCH_PASSWORD.

#include <cstdint>

#include "qelvoarc.h"

// Opens one password session, TLS or clear. Returns the library's status.
uint32_t OpenBenchSession(bool tls, QSessionHandle *session);
