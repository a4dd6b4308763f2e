#include "simctl/init_command.h"

#include <openssl/crypto.h>

#include <filesystem>

#include "daemon/daemon_options.h"
#include "daemon/data_directory.h"
#include "simctl/join_copy.h"
#include "simctl/simctl_commands.h"

namespace sim {

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

// The daemon's options that shape a new directory; the others only matter while it runs.
bool ShapesDirectory(const std::string &name) {
    return name == "--init-password" || name == "--model" || name == "--serial";
}

}  // namespace

bool IsInitCommand(const std::vector<std::string> &args) {
    return args.size() >= 3 && args[0] == "--data" && args[2] == "init";
}

int RunInitCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    std::vector<std::string> daemonArgs = {args[0], args[1]};
    std::string joined;
    for (size_t i = 3; i < args.size(); i += 2) {
        if (args[i] == "--join" && i + 1 < args.size()) {
            joined = args[i + 1];
            continue;
        }
        if (!ShapesDirectory(args[i])) {
            err << "orvena-simctl: init: bad option " << args[i] << "\n" << SimctlUsage();
            return kUsage;
        }
        daemonArgs.push_back(args[i]);
        if (i + 1 < args.size()) daemonArgs.push_back(args[i + 1]);
    }
    DaemonOptions options;
    std::string error;
    const ParseOutcome parsed = ParseDaemonOptions(daemonArgs, &options, &error);
    for (std::string &arg : daemonArgs)
        OPENSSL_cleanse(arg.data(), arg.size());
    if (parsed != ParseOutcome::kRun) {
        err << "orvena-simctl: init: " << error << "\n" << SimctlUsage();
        return kUsage;
    }
    if (!joined.empty()) {
        try {
            CopyNodeDirectory(joined, options.dataDir);
        } catch (const std::exception &e) {
            err << "orvena-simctl: init: " << e.what() << "\n";
            return kFailure;
        }
    }
    SystemClock clock;
    DataDirectory data(options.dataDir, clock, options.identity.serial);
    int status = kFailure;
    if (std::filesystem::exists(data.tlsCertPath())) {
        err << "orvena-simctl: " << options.dataDir << " is initialised already\n";
    } else {
        ProvisionDataDirectory(data, options.initPassword, options.identity, out);
        status = 0;
    }
    if (options.initPassword)
        OPENSSL_cleanse(options.initPassword->data(), options.initPassword->size());
    return status;
}

}  // namespace sim
