#pragma once
// How the simulated hardware is set up at start: what it reports of its battery, its
// information record and its SNMP agent, and where its data lives.

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

enum class BatteryState { kOk, kFault, kAbsent };

struct SnmpSettings {
    std::string contact;
    std::string location;
    std::string community;
    std::vector<std::string> trapTargets;
};

struct HardwareSettings {
    // The version of the information record answered (1 to 10): an older one leaves out the
    // fields its version did not have, as an HSM with older firmware does.
    uint32_t infoVersion = 10;
    BatteryState battery = BatteryState::kOk;
    SnmpSettings snmp;
    // The data directory: its file system is the HSM's storage, and it holds the tamper
    // latch and the database.
    std::string dataDir;
    // The id of the TLS key, in hexadecimal.
    std::string tpKey;
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
};

}  // namespace sim
