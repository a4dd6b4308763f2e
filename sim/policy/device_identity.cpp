#include "policy/device_identity.h"

#include "upack.h"

namespace sim {

std::string VersionText(const DeviceIdentity &identity) {
    return "Orvena " + identity.model + " Core Crypto Engine " + identity.firmware +
           "-orvena-sim|" + identity.model + " Serial:" + identity.serial + " (simulated)";
}

bool IsFirmwareVersion(const std::string &text) {
    return wire::ParseFirmwareVersion(text).has_value();
}

}  // namespace sim
