// orvena-simctl: provisions an orvena-sim data directory (users, second factors, access
// tokens, password policy), also while the daemon runs.

#include <cstring>
#include <exception>
#include <iostream>

#include "policy/device_identity.h"
#include "simctl/simctl_commands.h"

int main(int argc, char **argv) {
    if (argc < 3 || std::strcmp(argv[1], "--data") != 0) {
        std::cerr << sim::SimctlUsage();
        return 2;
    }
    try {
        sim::SystemClock clock;
        // A directory the daemon never opened starts its event log at the default serial.
        sim::DataDirectory data(argv[2], clock, sim::DeviceIdentity{}.serial);
        return sim::RunSimctlCommand(data, std::vector<std::string>(argv + 3, argv + argc),
                                     std::cout, std::cerr);
    } catch (const std::exception &e) {
        std::cerr << "orvena-simctl: " << e.what() << "\n";
        return 1;
    }
}
