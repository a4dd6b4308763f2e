// orvena-sim: a software HSM serving the device library's protocol.

#include <signal.h>
#include <sys/stat.h>

#include <google/protobuf/stubs/logging.h>
#include <sqlite3.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "crypto/tls_identity.h"
#include "daemon/daemon_options.h"
#include "daemon/data_directory.h"
#include "daemon/hardware_sensors.h"
#include "daemon/telemetry_sender.h"
#include "eftd/host_connection.h"
#include "policy/tamper_latch.h"
#include "replication/replicator.h"
#include "server/discovery.h"
#include "server/server.h"

namespace {

constexpr int kUsageExit = 2;

// SIGTERM and SIGINT are taken by sigwait in main; every thread inherits the mask.
sigset_t BlockStopSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return set;
}

int Run(const sim::DaemonOptions &options) {
    sigset_t stopSignals = BlockStopSignals();
    ::signal(SIGPIPE, SIG_IGN);
    // A file-size limit then fails the write like a full disk instead of killing the HSM.
    ::signal(SIGXFSZ, SIG_IGN);
    // Nothing reads SQLite's memory statistics, and keeping them takes a process-wide mutex
    // on every allocation of every connection. Must precede the first connection.
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);

    sim::SystemClock clock;
    // Only the daemon's start completes a restore: orvena-simctl may open the directory while
    // a daemon that restored it still runs on the old files.
    sim::ApplyPendingRestore(options.dataDir);
    sim::CommitRelay replicationHook;
    sim::DataDirectory data(options.dataDir, clock, options.identity.serial, {}, &replicationHook);
    data.events().Boot();
    sim::DeviceIdentity identity = options.identity;
    identity.firmware =
        sim::FirmwareStore::StartUp(options.dataDir, options.identity.firmware, data.events());
    data.events().RecordHardware("start", "firmware " + identity.firmware);
    for (const auto &[event, detail] : sim::ReadHardwareSensors())
        data.events().RecordHardware(event, detail);
    sim::ProvisionDataDirectory(data, options.initPassword, identity, std::cout);
    sim::TlsServerContext tls(data.tlsKeyPath(), data.tlsCertPath());
    sim::SessionTable sessions(options.maxSessions);
    sim::DiagnosticLog log(stderr);
    sim::ReplicationSettings replicationSettings;
    replicationSettings.self = {options.host, options.port, data.tlsKeyPath(), data.tlsCertPath()};
    replicationSettings.managerSeconds = options.replicationPulseSeconds;
    replicationSettings.recoverySeconds = options.replicationRecoverySeconds;
    replicationSettings.journalChanges = static_cast<uint64_t>(options.replicationJournalChanges);
    sim::Replicator replicator(data.database(), data.masterKey(), replicationSettings, clock, log);
    replicationHook.Set(&replicator);
    // Host connections of the EFT daemon keep keys while the key store's generation holds.
    replicator.OnChangesApplied([&data] { data.keys().CountOutsideChange(); });
    sim::HardwareSettings hardware = options.hardware;
    hardware.dataDir = options.dataDir;
    hardware.tpKey = sim::TlsKeyId(data.tlsCertPath());
    if (options.tampered) sim::SetTamperLatch(options.dataDir, true);
    sim::UpackVerifier vendor(options.vendorCert.empty() ? data.vendorCertPath()
                                                         : options.vendorCert);
    sim::FirmwareStore firmware(options.dataDir, identity.firmware, vendor, data.events());
    sim::IpFilterStore ipFilter(data.database(), data.events());
    sim::HsmContext hsm{data.users(), data.masterKey(), sessions,       clock,         identity,
                        data.keys(),  data.tokens(),    data.policy(),  data.events(), log,
                        hardware,     firmware,         data.backups(), ipFilter,      data.mofn(),
                        data.cloud(), data.eftd(),      &replicator};
    hsm.nodeEndpoint = &replicationSettings.self;

    sim::Server server(
        hsm,
        [&](int fd, sim::ConnectionWatch &watch) {
            sim::ServeConnection(hsm, tls.get(), fd, options.limits, watch);
        },
        options.host, options.port, options.limits);
    // The port is known once bound; the node list tool reaches the others on it.
    replicationSettings.self.port = server.port();
    std::optional<sim::Server> eftd;
    if (options.eftdListen)
        eftd.emplace(
            hsm,
            [&](int fd, sim::ConnectionWatch &watch) {
                sim::ServeHostConnection(hsm, fd, options.limits, watch);
            },
            options.eftdListen->host, options.eftdListen->port, options.limits);
    std::optional<sim::DiscoveryResponder> discovery;
    if (options.discoveryPort != 0) {
        wire::pb::DiscoveryReply reply;
        reply.set_address(options.host);
        reply.set_port(server.port());
        reply.set_model(identity.model);
        reply.set_serial(identity.serial);
        discovery.emplace(options.discoveryPort, reply);
    }
    sim::TelemetrySender telemetry(hsm, options.telemetryIntervalSeconds, options.telemetryCa);
    server.Start();
    if (eftd) eftd->Start();
    replicator.Start(server.port());
    if (discovery) discovery->Start();
    telemetry.Start();

    std::string ready = "orvena-sim ready on " + options.host + ":" + std::to_string(server.port());
    if (discovery) ready += " discovery " + std::to_string(discovery->port());
    if (eftd) ready += " eftd " + std::to_string(eftd->port());
    std::printf("%s\n", ready.c_str());
    std::fflush(stdout);

    int signal = 0;
    while (sigwait(&stopSignals, &signal) != 0) {
    }
    telemetry.Stop();
    if (discovery) discovery->Stop();
    if (eftd) eftd->Stop();
    replicator.Stop();
    server.Stop();
    data.events().RecordHardware("stop", "signal " + std::to_string(signal));
    return 0;
}

// Text that is not UTF-8 is answered with a protocol error; protobuf would also write a
// line for each such frame, which lets one client fill the diagnostics.
void IgnoreProtobufLog(google::protobuf::LogLevel, const char *, int, const std::string &) {}

}  // namespace

int main(int argc, char **argv) {
    google::protobuf::SetLogHandler(IgnoreProtobufLog);
    ::umask(077);  // every file of the HSM, SQLite's own included, is the owner's alone
    sim::DaemonOptions options;
    std::string error;
    switch (sim::ParseDaemonOptions(std::vector<std::string>(argv + 1, argv + argc), &options,
                                    &error)) {
        case sim::ParseOutcome::kHelp:
            std::fputs(sim::DaemonUsage(), stdout);
            return 0;
        case sim::ParseOutcome::kError:
            std::fprintf(stderr, "orvena-sim: %s\n%s", error.c_str(), sim::DaemonUsage());
            return kUsageExit;
        case sim::ParseOutcome::kRun:
            break;
    }
    try {
        return Run(options);
    } catch (const std::exception &e) {
        std::fprintf(stderr, "orvena-sim: %s\n", e.what());
        return 1;
    }
}
