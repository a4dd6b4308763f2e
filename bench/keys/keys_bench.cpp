// Figures for bench/keys/keys.sh. Each mode prints one number on standard output:
//   adm N                     seconds for N liveness round trips on one session
//   list                      seconds for the console's listing of the partition (the calls
//                             the console makes per object), then the object count
//   generate ALG N THREADS    durable keys per second through the library (N keys over
//                             THREADS sessions)
//   openssl ALG N THREADS     the same key pairs per second generated directly with OpenSSL
//   softhsm N THREADS         AES-256 token keys per second through SoftHSMv2's PKCS#11
//                             (SOFTHSM2_CONF set, token initialised, ORVENA_BENCH_PIN)
// ALG is the library's identifier: 6 RSA-2048, 30 P-256, 9 AES-256.

#include <dlfcn.h>
#include <openssl/evp.h>
#include <p11-kit/pkcs11.h>

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

double Seconds(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

[[noreturn]] void Fail(const char *what, unsigned long code) {
    std::fprintf(stderr, "keys_bench: %s failed (%lu)\n", what, code);
    std::exit(1);
}

QSessionHandle Open() {
    QSessionHandle session = 0;
    if (uint32_t status = OpenBenchSession(true, &session); status != Q_OK)
        Fail("QOpenSession", status);
    return session;
}

// Runs `body(thread, index)` for n items spread over `threads` threads; returns items/s.
template <class Body>
double Throughput(unsigned n, unsigned threads, Body body) {
    std::atomic<unsigned> next{0};
    std::vector<std::thread> workers;
    auto start = Clock::now();
    for (unsigned t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
            for (unsigned i; (i = next.fetch_add(1)) < n;)
                body(t, i);
        });
    for (std::thread &w : workers)
        w.join();
    return n / Seconds(start);
}

int Adm(unsigned n) {
    QSessionHandle session = Open();
    auto start = Clock::now();
    for (unsigned i = 0; i < n; ++i)
        if (uint32_t s = QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
            s != Q_OK)
            Fail("QAdmOperation", s);
    std::printf("%.3f\n", Seconds(start));
    QCloseSession(&session, 0);
    return 0;
}

struct Listing {
    QSessionHandle session;
    std::vector<std::string> names;
    unsigned printed = 0;
};

// The console's object list: names first, then per object the key, its parameters and its
// metadata label, each handle released.
uint32_t ListCallback(const char *name, void *context, int isFinal) {
    auto *listing = static_cast<Listing *>(context);
    if (!isFinal) {
        listing->names.push_back(name);
        return 0;
    }
    for (const std::string &entry : listing->names) {
        QKeyHandle key = 0;
        if (QGetUserKey(listing->session, entry.c_str(), 0, &key) != Q_OK) continue;
        for (uint32_t param : {Q_KEY_PARAM_ALGORITHM, Q_KEY_PARAM_LENGTH, Q_KEY_PARAM_EXPORT,
                               Q_KEY_PARAM_ATTRIBUTE, Q_KEY_PARAM_TEMPORARY}) {
            uint32_t value = 0, length = sizeof value;
            QGetKeyParam(key, param, &value, &length, 0);
        }
        QObjMetadataHandle metadata = 0;
        if (QManageObjMetadata(listing->session, Q_METADATA_OPEN, entry.c_str(), &metadata, 0) ==
            Q_OK) {
            char label[1024];
            uint32_t length = sizeof label;
            QGetObjMetadata(metadata, Q_METADATA_LABEL, label, &length, 0);
            QDestroyObjMetadata(metadata, 0);
        }
        QDestroyKey(key, 0);
        ++listing->printed;
    }
    return 0;
}

int List() {
    Listing listing{Open(), {}, 0};
    auto start = Clock::now();
    if (uint32_t s = QListObjs(listing.session, ListCallback, &listing); s != Q_OK)
        Fail("QListObjs", s);
    std::printf("%.3f %u\n", Seconds(start), listing.printed);
    QCloseSession(&listing.session, 0);
    return 0;
}

int Generate(uint32_t algorithm, unsigned n, unsigned threads) {
    std::vector<QSessionHandle> sessions(threads);
    for (QSessionHandle &s : sessions)
        s = Open();
    std::string prefix = "bench" + std::to_string(algorithm) + "-" +
                         std::to_string(Clock::now().time_since_epoch().count()) + "-";
    double rate = Throughput(n, threads, [&](unsigned t, unsigned i) {
        QKeyHandle key = 0;
        std::string name = prefix + std::to_string(i);
        if (uint32_t s = QGenerateKey(sessions[t], name.c_str(), algorithm, 0, &key); s != Q_OK)
            Fail("QGenerateKey", s);
        QDestroyKey(key, 0);
    });
    std::printf("%.1f\n", rate);
    for (QSessionHandle &s : sessions)
        QCloseSession(&s, 0);
    return 0;
}

int OpenSsl(uint32_t algorithm, unsigned n, unsigned threads) {
    double rate = Throughput(n, threads, [&](unsigned, unsigned) {
        EVP_PKEY *key = algorithm == Q_ALG_RSA_2048
                            ? EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048})
                            : EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256");
        if (key == nullptr) Fail("EVP_PKEY_Q_keygen", algorithm);
        EVP_PKEY_free(key);
    });
    std::printf("%.1f\n", rate);
    return 0;
}

int SoftHsm(unsigned n, unsigned threads) {
    void *module = dlopen("/usr/lib/softhsm/libsofthsm2.so", RTLD_NOW);
    if (module == nullptr) Fail("dlopen libsofthsm2.so", 0);
    auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(module, "C_GetFunctionList"));
    CK_FUNCTION_LIST_PTR p11 = nullptr;
    if (getList == nullptr || getList(&p11) != CKR_OK) Fail("C_GetFunctionList", 0);
    CK_C_INITIALIZE_ARGS init{};
    init.flags = CKF_OS_LOCKING_OK;  // sessions are used from several threads
    if (CK_RV rv = p11->C_Initialize(&init); rv != CKR_OK) Fail("C_Initialize", rv);
    CK_SLOT_ID slots[8];
    CK_ULONG count = 8;
    if (CK_RV rv = p11->C_GetSlotList(CK_TRUE, slots, &count); rv != CKR_OK || count == 0)
        Fail("C_GetSlotList", rv);
    const char *pin = std::getenv("ORVENA_BENCH_PIN");
    std::vector<CK_SESSION_HANDLE> sessions(threads);
    for (CK_SESSION_HANDLE &s : sessions) {
        if (CK_RV rv = p11->C_OpenSession(slots[0], CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr,
                                          nullptr, &s);
            rv != CKR_OK)
            Fail("C_OpenSession", rv);
    }
    CK_RV rv = p11->C_Login(sessions[0], CKU_USER, (CK_UTF8CHAR_PTR)pin, std::strlen(pin));
    if (rv != CKR_OK) Fail("C_Login", rv);
    double rate = Throughput(n, threads, [&](unsigned t, unsigned i) {
        CK_MECHANISM mechanism{CKM_AES_KEY_GEN, nullptr, 0};
        CK_ULONG length = 32;
        CK_BBOOL yes = CK_TRUE, no = CK_FALSE;
        std::string label = "bench" + std::to_string(i);
        CK_ATTRIBUTE attributes[] = {
            {CKA_VALUE_LEN, &length, sizeof length}, {CKA_TOKEN, &yes, sizeof yes},
            {CKA_PRIVATE, &yes, sizeof yes},         {CKA_EXTRACTABLE, &no, sizeof no},
            {CKA_LABEL, label.data(), label.size()},
        };
        CK_OBJECT_HANDLE key = 0;
        if (CK_RV r = p11->C_GenerateKey(sessions[t], &mechanism, attributes, 5, &key); r != CKR_OK)
            Fail("C_GenerateKey", r);
    });
    std::printf("%.1f\n", rate);
    p11->C_Finalize(nullptr);
    return 0;
}

unsigned Arg(char **argv, int i) {
    return static_cast<unsigned>(std::strtoul(argv[i], nullptr, 10));
}

}  // namespace

int main(int argc, char **argv) {
    std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "softhsm" && argc == 4) return SoftHsm(Arg(argv, 2), Arg(argv, 3));
    if (mode == "openssl" && argc == 5) return OpenSsl(Arg(argv, 2), Arg(argv, 3), Arg(argv, 4));
    if (QInitialize(0) != Q_OK) Fail("QInitialize", 0);
    int rc = 2;
    if (mode == "adm" && argc == 3) rc = Adm(Arg(argv, 2));
    if (mode == "list" && argc == 2) rc = List();
    if (mode == "generate" && argc == 5) rc = Generate(Arg(argv, 2), Arg(argv, 3), Arg(argv, 4));
    if (rc == 2) std::fprintf(stderr, "usage: see the head of keys_bench.cpp\n");
    QFinalize();
    return rc;
}
