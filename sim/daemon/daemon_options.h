#pragma once
// The daemon's command line.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "policy/device_identity.h"
#include "policy/hardware_settings.h"
#include "server/connection.h"

namespace sim {

struct EftdListen {
    std::string host;
    uint16_t port = 0;
};

struct DaemonOptions {
    std::string host = "127.0.0.1";
    uint16_t port = 4433;
    std::string dataDir;
    std::optional<std::string> initPassword;
    DeviceIdentity identity;
    uint16_t discoveryPort = 4433;  // 0 = no discovery
    size_t maxSessions = 1024;
    ConnectionLimits limits;
    HardwareSettings hardware;  // its dataDir, tpKey and start are set when the daemon runs
    bool tampered = false;      // set the tamper latch at start
    std::string vendorCert;     // the signer of update packages; "" = the data directory's
    int telemetryIntervalSeconds = 300;     // between status documents while bound
    std::string telemetryCa;                // CA file for the telemetry URL; "" = the system's
    std::optional<EftdListen> eftdListen;   // the host-command port; none = not served
    int replicationPulseSeconds = 2;        // a replication node silent this long blocks commits
    int replicationRecoverySeconds = 2;     // how often nodes that were away are looked for
    int replicationJournalChanges = 10000;  // a node further behind takes a full snapshot
};

enum class ParseOutcome { kRun, kHelp, kError };

// Fills *options from the arguments (without the program name). On kError, *error says
// what was wrong.
ParseOutcome ParseDaemonOptions(const std::vector<std::string> &args, DaemonOptions *options,
                                std::string *error);

const char *DaemonUsage();

}  // namespace sim
