#include "bench_session.h"

#include <cstdlib>
#include <cstring>

namespace {
const char *EnvOr(const char *name, const char *fallback) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : fallback;
}
}  // namespace

uint32_t OpenBenchSession(bool tls, QSessionHandle *session) {
    QPasswordLoginRecord record = {};
    std::strncpy(record.address, EnvOr("ORVENA_BENCH_HOST", "127.0.0.1"),
                 sizeof record.address - 1);
    record.port = static_cast<uint32_t>(std::atoi(EnvOr("ORVENA_BENCH_PORT", "4433")));
    std::strncpy(record.userId, EnvOr("ORVENA_BENCH_USER", "master"), sizeof record.userId);
    std::strncpy(record.password, EnvOr("ORVENA_BENCH_PASSWORD", ""), sizeof record.password);
    uint32_t status = QOpenSession(session, Q_LOGIN_PASSWORD, &record, sizeof record,
                                   tls ? Q_SESSION_TLS : Q_SESSION_CLEAR);
    std::memset(record.password, 0, sizeof record.password);
    return status;
}
