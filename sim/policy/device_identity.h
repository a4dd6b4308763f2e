#pragma once
// What the simulated HSM says about itself.

#include <cstdint>
#include <string>

namespace sim {

struct DeviceIdentity {
    std::string firmware = "5.1.0.0";
    std::string model = "ORV-9000";
    std::string serial = "OV00000001";
    uint32_t hsmMode = 0;
};

// The version text of information kind 8. The console takes the firmware from the word
// after "Core Crypto Engine ", cut at the first "-", so that suffix must stay.
std::string VersionText(const DeviceIdentity &identity);

// True for a dotted version of four decimal parts ("5.1.0.0").
bool IsFirmwareVersion(const std::string &text);

}  // namespace sim
