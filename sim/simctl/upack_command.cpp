#include "simctl/upack_command.h"

#include <map>

#include "crypto/upack_signature.h"
#include "daemon/data_directory.h"
#include "platform/durable_file.h"
#include "policy/device_identity.h"
#include "simctl/simctl_commands.h"

namespace sim {

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

bool Known(const std::string &name) {
    return name == "--data" || name == "--version" || name == "--description" || name == "--out" ||
           name == "--key";
}

}  // namespace

int RunMakeUpack(const std::vector<std::string> &args, std::ostream &out, std::ostream &err) {
    std::map<std::string, std::string> named;
    bool ok = args.size() % 2 == 1;
    for (size_t i = 1; ok && i + 1 < args.size(); i += 2) {
        ok = Known(args[i]);
        named[args[i]] = args[i + 1];
    }
    std::optional<wire::FirmwareVersion> version =
        ok ? wire::ParseFirmwareVersion(named["--version"]) : std::nullopt;
    const std::string &description = named["--description"];
    if (!version || named["--data"].empty() || named["--out"].empty() || description.empty() ||
        description.size() > wire::kUpackMaxDescription) {
        err << "orvena-simctl: make-upack needs --data, --version A.B.C.D, --description (1 to "
            << wire::kUpackMaxDescription << " bytes) and --out\n"
            << SimctlUsage();
        return kUsage;
    }
    std::string keyPath = named["--key"];
    if (keyPath.empty()) {
        SystemClock clock;
        keyPath = DataDirectory(named["--data"], clock, DeviceIdentity{}.serial).vendorKeyPath();
    }
    try {
        WriteFileDurably(named["--out"], SignUpack(*version, description, keyPath));
    } catch (const std::runtime_error &e) {
        err << "orvena-simctl: " << e.what() << "\n";
        return kFailure;
    }
    out << "package " << wire::FormatFirmwareVersion(*version) << " written to " << named["--out"]
        << "\n";
    return 0;
}

}  // namespace sim
