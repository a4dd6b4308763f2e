#include "policy/device_identity.h"

#include <cctype>

namespace sim {

std::string VersionText(const DeviceIdentity &identity) {
    return "Orvena " + identity.model + " Core Crypto Engine " + identity.firmware +
           "-orvena-sim|" + identity.model + " Serial:" + identity.serial + " (simulated)";
}

bool IsFirmwareVersion(const std::string &text) {
    int parts = 0;
    size_t digits = 0;
    for (char c : text) {
        if (std::isdigit(static_cast<unsigned char>(c))) {
            if (++digits > 3) return false;
        } else if (c == '.' && digits > 0) {
            ++parts;
            digits = 0;
        } else {
            return false;
        }
    }
    return parts == 3 && digits > 0;
}

}  // namespace sim
