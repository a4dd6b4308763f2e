#include "simctl/bind_key_command.h"

#include <map>
#include <stdexcept>

#include "crypto/bind_key.h"
#include "simctl/simctl_commands.h"

namespace sim {

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

bool Known(const std::string &name) {
    return name == "--account" || name == "--hsm-id" || name == "--url" || name == "--key";
}

}  // namespace

int RunMakeBindKey(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    std::map<std::string, std::string> named;
    bool ok = args.size() == 9;
    for (size_t i = 1; ok && i + 1 < args.size(); i += 2) {
        ok = Known(args[i]);
        named[args[i]] = args[i + 1];
    }
    if (!ok) {
        err << "orvena-simctl: make-bind-key needs --account, --hsm-id, --url and --key\n"
            << SimctlUsage();
        return kUsage;
    }
    try {
        out << MakeBindKey({named["--account"], named["--hsm-id"], named["--url"]}, named["--key"])
            << "\n";
    } catch (const std::runtime_error &e) {
        err << "orvena-simctl: " << e.what() << "\n";
        return kFailure;
    }
    return 0;
}

}  // namespace sim
