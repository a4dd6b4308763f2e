#include "daemon/daemon_options.h"

#include <charconv>
#include <limits>

namespace sim {

namespace {

template <typename T>
bool ParseNumber(const std::string &text, T max, T *out) {
    uint64_t value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || value > uint64_t(max))
        return false;
    *out = static_cast<T>(value);
    return true;
}

bool ParseListen(const std::string &text, std::string *host, uint16_t *port) {
    size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0) return false;
    *host = text.substr(0, colon);
    return ParseNumber<uint16_t>(text.substr(colon + 1), 65535, port);
}

// A day: longer deadlines are a mistake, and the seconds must fit a timeval and nanoseconds.
constexpr int kMaxSeconds = 86400;

bool IsWord(const std::string &text) {
    return !text.empty() && text.find_first_of(" \t\r\n") == std::string::npos;
}

bool ParseBattery(const std::string &text, BatteryState *out) {
    if (text == "ok")
        *out = BatteryState::kOk;
    else if (text == "fault")
        *out = BatteryState::kFault;
    else if (text == "absent")
        *out = BatteryState::kAbsent;
    else
        return false;
    return true;
}

}  // namespace

const char *DaemonUsage() {
    return "Usage: orvena-sim --data DIR [options]\n"
           "  --listen HOST:PORT        address to serve on (default 127.0.0.1:4433; port 0 "
           "picks one)\n"
           "  --eftd-listen HOST:PORT   also serve the EFT daemon's host commands there\n"
           "                            (default: not served; port 0 picks one)\n"
           "  --data DIR                data directory (required; created when missing)\n"
           "  --init-password TEXT      password of operator master on a new data directory\n"
           "                            (default: a random one, printed once)\n"
           "  --firmware A.B.C.D        firmware version to report (default 5.1.0.0) while\n"
           "                            the data directory has never applied an update\n"
           "                            package; afterwards the last applied one's\n"
           "  --vendor-cert FILE        trust update packages signed by this certificate's\n"
           "                            Ed25519 key (PEM or DER) instead of the data\n"
           "                            directory's own vendor key (vendor.crt)\n"
           "  --model TEXT              model to report (default ORV-9000)\n"
           "  --serial TEXT             serial number to report (default OV00000001)\n"
           "  --hsm-mode N              HSM mode to report (default 0)\n"
           "  --discovery-port N        UDP discovery port on 127.0.0.1 (default 4433, 0 = "
           "off)\n"
           "  --max-sessions N          most sessions open at once (default 1024)\n"
           "  --idle-timeout SECONDS    close idle sessions (default 1800, 0 = never)\n"
           "  --login-timeout SECONDS   time from connecting to an open session, TLS\n"
           "                            handshake included (default 20, 0 = none)\n"
           "  --frame-timeout SECONDS   time for the rest of a frame once its header came\n"
           "                            (default 30, 0 = none)\n"
           "  --max-pending-logins N    connections without a session yet (default 512, 0 =\n"
           "                            no limit); more are closed at once\n"
           "  --max-connections-per-address N\n"
           "                            connections from one client address (default 512,\n"
           "                            0 = no limit)\n"
           "  --max-requests-per-second N\n"
           "                            requests one session may make; more wait their turn\n"
           "                            (default 20000, 0 = no limit)\n"
           "  --info-version N          version of the information record to answer, 1-10\n"
           "                            (default 10)\n"
           "  --battery ok|fault|absent battery state to report (default ok)\n"
           "  --tampered                set the tamper latch (it stays set until\n"
           "                            orvena-simctl tamper off)\n"
           "  --snmp-contact TEXT       SNMP sysContact (default empty)\n"
           "  --snmp-location TEXT      SNMP sysLocation (default empty)\n"
           "  --snmp-community TEXT     SNMP community (default empty)\n"
           "  --snmp-trap HOST          an SNMP trap target; repeat for more (default none)\n"
           "  --telemetry-interval SECONDS\n"
           "                            time between status documents sent to the telemetry\n"
           "                            URL while the HSM is bound (default 300, 1-86400)\n"
           "  --telemetry-ca FILE       CA certificates (PEM) that the telemetry server's\n"
           "                            certificate must chain to (default: the system's)\n"
           "  --repl-pulse SECONDS      manager pulsing: a replication node silent this long\n"
           "                            blocks changes until it answers or is notified down\n"
           "                            (default 2)\n"
           "  --repl-recovery SECONDS   recovery pulsing: how often nodes that were away are\n"
           "                            looked for and caught up (default 2)\n"
           "  --repl-journal CHANGES    replication changes kept for nodes that were away; one\n"
           "                            further behind takes a copy of the shared tables\n"
           "                            (default 10000)\n"
           "  --help                    this text\n"
           "Diagnostics go to standard error: the cause of every internal error, with the\n"
           "request's kind and the session user, never a secret or a value a request carried.\n";
}

ParseOutcome ParseDaemonOptions(const std::vector<std::string> &args, DaemonOptions *options,
                                std::string *error) {
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &name = args[i];
        if (name == "--help" || name == "-h") return ParseOutcome::kHelp;
        if (name == "--tampered") {
            options->tampered = true;
            continue;
        }
        if (i + 1 >= args.size()) {
            *error =
                name.rfind("--", 0) == 0 ? "missing value for " + name : "unknown argument " + name;
            return ParseOutcome::kError;
        }
        const std::string &value = args[++i];
        bool ok = true;
        if (name == "--listen") {
            ok = ParseListen(value, &options->host, &options->port);
        } else if (name == "--eftd-listen") {
            std::string host;
            uint16_t port = 0;
            ok = ParseListen(value, &host, &port);
            options->eftdListen = EftdListen{host, port};
        } else if (name == "--data") {
            ok = !value.empty();
            options->dataDir = value;
        } else if (name == "--init-password") {
            ok = !value.empty() && value.size() <= 16;
            options->initPassword = value;
        } else if (name == "--firmware") {
            ok = IsFirmwareVersion(value);
            options->identity.firmware = value;
        } else if (name == "--vendor-cert") {
            ok = !value.empty();
            options->vendorCert = value;
        } else if (name == "--model") {
            ok = IsWord(value);
            options->identity.model = value;
        } else if (name == "--serial") {
            ok = IsWord(value);
            options->identity.serial = value;
        } else if (name == "--hsm-mode") {
            ok = ParseNumber<uint32_t>(value, std::numeric_limits<uint32_t>::max(),
                                       &options->identity.hsmMode);
        } else if (name == "--discovery-port") {
            ok = ParseNumber<uint16_t>(value, 65535, &options->discoveryPort);
        } else if (name == "--max-sessions") {
            ok = ParseNumber<size_t>(value, 1u << 20, &options->maxSessions) &&
                 options->maxSessions > 0;
        } else if (name == "--idle-timeout") {
            ok = ParseNumber<int>(value, kMaxSeconds, &options->limits.idleTimeoutSeconds);
        } else if (name == "--login-timeout") {
            ok = ParseNumber<int>(value, kMaxSeconds, &options->limits.loginSeconds);
        } else if (name == "--frame-timeout") {
            ok = ParseNumber<int>(value, kMaxSeconds, &options->limits.frameSeconds);
        } else if (name == "--max-pending-logins") {
            ok = ParseNumber<size_t>(value, 1u << 20, &options->limits.maxPendingLogins);
        } else if (name == "--max-connections-per-address") {
            ok = ParseNumber<size_t>(value, 1u << 20, &options->limits.maxPerAddress);
        } else if (name == "--max-requests-per-second") {
            ok = ParseNumber<uint32_t>(value, 1u << 30, &options->limits.maxRequestsPerSecond);
        } else if (name == "--info-version") {
            ok = ParseNumber<uint32_t>(value, 10, &options->hardware.infoVersion) &&
                 options->hardware.infoVersion >= 1;
        } else if (name == "--battery") {
            ok = ParseBattery(value, &options->hardware.battery);
        } else if (name == "--snmp-contact") {
            options->hardware.snmp.contact = value;
        } else if (name == "--snmp-location") {
            options->hardware.snmp.location = value;
        } else if (name == "--snmp-community") {
            options->hardware.snmp.community = value;
        } else if (name == "--telemetry-interval") {
            ok = ParseNumber<int>(value, kMaxSeconds, &options->telemetryIntervalSeconds) &&
                 options->telemetryIntervalSeconds > 0;
        } else if (name == "--telemetry-ca") {
            ok = !value.empty();
            options->telemetryCa = value;
        } else if (name == "--snmp-trap") {
            ok = IsWord(value);
            options->hardware.snmp.trapTargets.push_back(value);
        } else if (name == "--repl-pulse") {
            ok = ParseNumber<int>(value, 3600, &options->replicationPulseSeconds) &&
                 options->replicationPulseSeconds > 0;
        } else if (name == "--repl-recovery") {
            ok = ParseNumber<int>(value, 3600, &options->replicationRecoverySeconds) &&
                 options->replicationRecoverySeconds > 0;
        } else if (name == "--repl-journal") {
            ok = ParseNumber<int>(value, 10000000, &options->replicationJournalChanges) &&
                 options->replicationJournalChanges > 0;
        } else {
            *error = "unknown option " + name;
            return ParseOutcome::kError;
        }
        if (!ok) {
            *error = "invalid value for " + name + ": " + value;
            return ParseOutcome::kError;
        }
    }
    if (options->dataDir.empty()) {
        *error = "--data DIR is required";
        return ParseOutcome::kError;
    }
    return ParseOutcome::kRun;
}

}  // namespace sim
