// Every request the simulator serves, through its dispatch table and policy step, on a
// session that is already logged in, over real stores kept in memory.
//
// Input: one byte that picks the session (operator, user with every non-operator right,
// anonymous, expired password), then requests as frames (4-byte big-endian length, then a
// serialised wire::pb::Request), dispatched in order on one connection.
#include <sqlite3.h>
#include <stdlib.h>

#include <google/protobuf/stubs/logging.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "crypto/password_hash.h"
#include "daemon/data_directory.h"
#include "input_frames.h"
#include "server/dispatcher.h"
#include "server/service_table.h"

namespace {

constexpr const char *kUser = "clerk";
constexpr uint32_t kUserAcl = wire::pb::ACL_CREATE_USERS | wire::pb::ACL_REMOTE_INFO |
                              wire::pb::ACL_LIST_USERS | wire::pb::ACL_BACKUP |
                              wire::pb::ACL_LOCAL_CRYPTO | wire::pb::ACL_CHANGE_PASSWORD;
// Stores are rebuilt from scratch this often, so what inputs create cannot pile up.
constexpr int kInputsPerHsm = 20'000;

// Keeps a database of SQLite's memory VFS alive: it is freed with its last connection, and
// the schema is made on one the stores do not keep.
struct MemoryDatabase {
    explicit MemoryDatabase(const std::string &path) {
        if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            "memdb") != SQLITE_OK)
            std::abort();
    }
    ~MemoryDatabase() { sqlite3_close(db); }
    sqlite3 *db = nullptr;
};

// One HSM over a database in memory; the master key file is the only thing on disk.
struct Hsm {
    explicit Hsm(const std::string &dir)
        : memory(dir + "/hsm.db"),
          data(dir, clock, identity.serial, "memdb"),
          vendor(data.vendorCertPath()),
          firmware(dir, identity.firmware, vendor, data.events()),
          ipFilter(data.database(), data.events()),
          hsm{data.users(), data.masterKey(), sessions,       clock,         identity,
              data.keys(),  data.tokens(),    data.policy(),  data.events(), log,
              hardware,     firmware,         data.backups(), ipFilter,      data.mofn(),
              data.cloud(), data.eftd()} {
        hardware.dataDir = dir;
        (void)CreateMasterUser(data, std::string("Operator#12345"));
        (void)data.users().AddUser(sim::Actor::Daemon(), kUser, sim::HashPassword("Clerk#12345"),
                                   kUserAcl);
    }
    ~Hsm() { std::fclose(logFile); }

    MemoryDatabase memory;
    sim::SystemClock clock;
    sim::DeviceIdentity identity;
    sim::DataDirectory data;
    sim::SessionTable sessions{8};
    std::FILE *logFile = std::fopen("/dev/null", "w");
    sim::DiagnosticLog log{logFile};
    sim::HardwareSettings hardware;
    sim::UpackVerifier vendor;
    sim::FirmwareStore firmware;
    sim::IpFilterStore ipFilter;
    sim::HsmContext hsm;
};

// The directory of the master key file, removed at exit.
struct ScratchDir {
    ScratchDir() {
        path = (std::filesystem::temp_directory_path() / "dispatch-fuzz-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) std::abort();
    }
    ~ScratchDir() { std::filesystem::remove_all(path); }
    std::string path;
};

}  // namespace

// Text fields that are not UTF-8 make protobuf log a line per parse; inputs are full of them.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    google::protobuf::SetLogHandler(nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static ScratchDir dir;  // outlives the HSM
    static std::unique_ptr<Hsm> hsm;
    static int inputs = 0;
    if (size == 0) return 0;
    if (hsm == nullptr || ++inputs % kInputsPerHsm == 0) {
        hsm.reset();  // its database goes before a new one of the same name is made
        hsm = std::make_unique<Hsm>(dir.path);
    }

    static constexpr struct {
        const char *user;
        sim::SessionKind kind;
    } kSessions[] = {{sim::kMasterUser, sim::SessionKind::kUser},
                     {kUser, sim::SessionKind::kUser},
                     {kUser, sim::SessionKind::kAnonymous},
                     {kUser, sim::SessionKind::kPasswordChange}};
    const auto &opened = kSessions[data[0] % std::size(kSessions)];
    sim::ConnectionState conn;
    conn.session = hsm->sessions.Open(opened.user, opened.kind, false);

    for (std::string_view frame : SplitFrames(data + 1, size - 1)) {
        wire::pb::Request request;
        // A network tool would send real packets to whatever address the input names.
        if (request.ParseFromArray(frame.data(), static_cast<int>(frame.size())) &&
            !request.has_run_network_tool())
            (void)sim::Dispatch(sim::ServiceTable(), hsm->hsm, conn, request);
        // A logout ends the session; a handler may end the connection.
        if (conn.session == nullptr || conn.closeAfterReply) break;
    }
    if (conn.session != nullptr) hsm->sessions.Close(conn.session->id);
    return 0;
}
