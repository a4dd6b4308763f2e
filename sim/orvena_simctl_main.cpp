// orvena-simctl: provisions an orvena-sim data directory (users, second factors, access
// tokens, password policy), also while the daemon runs, exports and checks its event log,
// and builds firmware update packages.

#include <sys/stat.h>

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "policy/device_identity.h"
#include "simctl/bind_key_command.h"
#include "simctl/init_command.h"
#include "simctl/log_commands.h"
#include "simctl/simctl_commands.h"
#include "simctl/upack_command.h"

int main(int argc, char **argv) {
    ::umask(077);  // as the daemon: the files it makes are the owner's alone
    std::vector<std::string> args(argv + 1, argv + argc);
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        std::cout << sim::SimctlUsage();
        return 0;
    }
    bool logCommand = !args.empty() && sim::IsLogCommand(args[0]);
    bool upackCommand = !args.empty() && args[0] == sim::kMakeUpackCommand;
    bool bindKeyCommand = !args.empty() && args[0] == sim::kMakeBindKeyCommand;
    if (!logCommand && !upackCommand && !bindKeyCommand &&
        (args.size() < 2 || args[0] != "--data")) {
        std::cerr << sim::SimctlUsage();
        return 2;
    }
    try {
        if (logCommand) return sim::RunLogCommand(args, std::cout, std::cerr);
        if (sim::IsInitCommand(args)) return sim::RunInitCommand(args, std::cout, std::cerr);
        if (upackCommand) return sim::RunMakeUpack(args, std::cout, std::cerr);
        if (bindKeyCommand) return sim::RunMakeBindKey(args, std::cout, std::cerr);
        sim::SystemClock clock;
        // A directory the daemon never opened starts its event log at the default serial.
        sim::DataDirectory data(args[1], clock, sim::DeviceIdentity{}.serial);
        return sim::RunSimctlCommand(data, std::vector<std::string>(args.begin() + 2, args.end()),
                                     std::cout, std::cerr);
    } catch (const std::exception &e) {
        std::cerr << "orvena-simctl: " << e.what() << "\n";
        return 1;
    }
}
