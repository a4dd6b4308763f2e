// Figures for bench/users/users.sh. Each mode prints one number on standard output:
//   create N THREADS   makes N users (bench0000 ...) over THREADS sessions; prints seconds
//   adm N              seconds for N liveness round trips on one session
//   list               seconds for the calls the console's user list makes (QListUsers, and
//                      from its final callback per user the object counts and the ACL, on
//                      the same session), then the number of users listed

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

double Seconds(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void Fail(const char *what, unsigned long code) {
    std::fprintf(stderr, "users_bench: %s failed (%lu)\n", what, code);
    std::exit(1);
}

QSessionHandle Open() {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK) Fail("login", status);
    return session;
}

void Create(int count, int threads) {
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([=] {
            QSessionHandle session = Open();
            for (int i = t; i < count; i += threads) {
                QUserRecord record{};
                std::snprintf(record.userId, sizeof record.userId, "bench%04d", i);
                std::strcpy(record.password, "Bench#Passw0rd1");
                record.acl = Q_ACL_LIST_USERS;
                if (uint32_t status = QCreateUser(session, &record); status != Q_OK)
                    Fail("QCreateUser", status);
            }
            QCloseSession(&session, 0);
        });
    for (std::thread &worker : workers)
        worker.join();
}

struct Listing {
    QSessionHandle session;
    std::vector<std::string> users;
    uint64_t objects = 0;
};

// What the console does at the end of the list: per user the object total, then the ACL.
uint32_t ListCallback(const char *name, void *context, int isFinal) {
    auto *listing = static_cast<Listing *>(context);
    if (!isFinal) {
        listing->users.emplace_back(name);
        return 0;
    }
    for (const std::string &user : listing->users) {
        QObjectCountQuery query{};
        std::strncpy(query.userId, user.c_str(), sizeof query.userId - 1);
        uint32_t length = sizeof query;
        if (QGetUserParam(listing->session, Q_USER_PARAM_OBJECT_COUNT, &query, &length, 0) ==
            Q_OK) {
            for (uint64_t i = 0; i < query.entryCount; ++i)
                listing->objects += query.entries[i].count;
            QFree(query.entries);
        }
        uint32_t acl = 0;
        if (uint32_t status = QGetUserAcl(listing->session, user.c_str(), &acl); status != Q_OK)
            return status;
    }
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) Fail("usage", 0);
    if (QInitialize(0) != Q_OK) Fail("QInitialize", 0);
    std::string mode = argv[1];
    if (mode == "create" && argc == 4) {
        Clock::time_point start = Clock::now();
        Create(std::atoi(argv[2]), std::atoi(argv[3]));
        std::printf("%.3f\n", Seconds(start));
    } else if (mode == "adm" && argc == 3) {
        QSessionHandle session = Open();
        const int count = std::atoi(argv[2]);
        Clock::time_point start = Clock::now();
        for (int i = 0; i < count; ++i)
            if (uint32_t status =
                    QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
                status != Q_OK)
                Fail("QAdmOperation", status);
        std::printf("%.6f\n", Seconds(start));
        QCloseSession(&session, 0);
    } else if (mode == "list") {
        Listing listing{Open(), {}, 0};
        Clock::time_point start = Clock::now();
        if (uint32_t status = QListUsers(listing.session, ListCallback, &listing); status != Q_OK)
            Fail("QListUsers", status);
        std::printf("%.6f %zu\n", Seconds(start), listing.users.size());
        QCloseSession(&listing.session, 0);
    } else {
        Fail("usage", 0);
    }
    QFinalize();
    return 0;
}
